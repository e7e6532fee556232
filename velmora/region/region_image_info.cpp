#include "velmora/region/region_image_info.h"

#include <algorithm>

#include "velmora/image/nx_image_data.h"

namespace velmora {

NxRegionImageInfo::NxRegionImageInfo(NxImageData* image, const double* originalToLocal)
    : image_(image), originalToLocal_{1, 0, 0, 0, 1, 0, 0, 0, 1} {
  if (originalToLocal != nullptr) {
    std::copy_n(originalToLocal, originalToLocal_.size(), originalToLocal_.begin());
  }
}

NxRegionImageInfo::~NxRegionImageInfo() = default;

NxRef<NxImageData> NxRegionImageInfo::GetImage() const {
  return image_;
}

void NxRegionImageInfo::AddTipsData(const std::string& key,
                                    const std::vector<NxRef<NxObjectBase>>& items) {
  const MutexLock lock(mutex_);
  std::vector<NxRef<NxObjectBase>>& tips = tips_[key];
  tips.insert(tips.end(), items.begin(), items.end());
}

std::vector<NxRef<NxObjectBase>> NxRegionImageInfo::GetTipsData(const std::string& key) const {
  const MutexLock lock(mutex_);
  const auto found = tips_.find(key);
  return found != tips_.end() ? found->second : std::vector<NxRef<NxObjectBase>>();
}

// A tip may be any object, and its destructor may come back here: it runs after the lock.

void NxRegionImageInfo::ClearTipsData(const std::string& key) {
  decltype(tips_)::node_type cleared;
  const MutexLock lock(mutex_);
  cleared = tips_.extract(key);
}

void NxRegionImageInfo::ClearAllTipsData() {
  decltype(tips_) cleared;
  const MutexLock lock(mutex_);
  cleared.swap(tips_);
}

}  // namespace velmora
