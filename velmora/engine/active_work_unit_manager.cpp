#include "velmora/engine/active_work_unit_manager.h"

#include <algorithm>

#include "velmora/engine/output_base.h"
#include "velmora/engine/work_item.h"
#include "velmora/region/region_object.h"
#include "velmora/region/source_image_object.h"

namespace velmora {
namespace {

template <typename Pointers, typename T>
bool Contains(const Pointers& pointers, T* pointer) {
  return std::find(pointers.begin(), pointers.end(), pointer) != pointers.end();
}

}  // namespace

void ActiveWorkUnitManager::LoadActiveWorkUnit(ExecutableWorkItem* item) {
  const MutexLock lock(mutex_);
  ExecutableWorkItem** freePlace = nullptr;
  for (ExecutableWorkItem*& place : places_) {
    if (place == item) return;
    if (place == nullptr) freePlace = &place;
  }
  if (!others_.empty() && Contains(others_, item)) return;
  if (freePlace != nullptr) {
    *freePlace = item;
  } else {
    others_.push_back(item);
  }
}

void ActiveWorkUnitManager::UnloadActiveWorkUnit(ExecutableWorkItem* item) {
  const MutexLock lock(mutex_);
  for (ExecutableWorkItem*& place : places_) {
    if (place != item) continue;
    place = nullptr;
    return;
  }
  const auto other = std::find(others_.begin(), others_.end(), item);
  if (other == others_.end()) return;
  *other = others_.back();
  others_.pop_back();
}

void ActiveWorkUnitManager::AddTimeCheckCountForActiveWorkUnit(std::int64_t ms) {
  const MutexLock lock(mutex_);
  images_.clear();
  const auto addImage = [this](const ExecutableWorkItem* item) VELMORA_REQUIRES(mutex_) {
    const NxRegionObject* const region = item->GetOutput()->GetRegion().get();
    NxSourceImageObject* const image =
        region != nullptr ? region->GetSourceImageObject().get() : nullptr;
    if (image != nullptr && !Contains(images_, image)) images_.push_back(image);
  };
  for (const ExecutableWorkItem* item : places_) {
    if (item != nullptr) addImage(item);
  }
  for (const ExecutableWorkItem* item : others_) addImage(item);
  const auto low = static_cast<std::int32_t>(static_cast<std::uint32_t>(ms));
  for (NxSourceImageObject* image : images_) image->AddTimeDuration(low);
}

}  // namespace velmora
