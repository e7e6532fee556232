#include "velmora/region/region_object_manager.h"

#include <utility>

namespace velmora {

NxRegionObjectManager::NxRegionObjectManager() = default;
NxRegionObjectManager::~NxRegionObjectManager() = default;

void NxRegionObjectManager::AddRegionObject(NxRegionObject* region, const char* name1,
                                            const char* name2, const char* name3, int key) {
  if (region == nullptr || name1 == nullptr || name2 == nullptr || name3 == nullptr) return;
  if (key < 0) key = region->GetRegionType();
  RegionObjectRecord record{region, {name1, name2, name3}};
  const MutexLock lock(mutex_);
  records_[key].push_back(std::move(record));
}

std::vector<RegionObjectRecord> NxRegionObjectManager::GetRegionObjects(int key) const {
  const MutexLock lock(mutex_);
  const auto found = records_.find(key);
  return found != records_.end() ? found->second : std::vector<RegionObjectRecord>();
}

}  // namespace velmora
