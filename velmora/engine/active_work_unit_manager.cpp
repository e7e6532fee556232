#include "velmora/engine/active_work_unit_manager.h"

#include <algorithm>
#include <functional>

#include "velmora/engine/output_base.h"
#include "velmora/engine/work_item.h"
#include "velmora/region/region_object.h"
#include "velmora/region/source_image_object.h"

namespace velmora {
namespace {

// Addresses of unrelated objects have an order in std::less only.
template <typename T>
auto LowerBound(std::vector<T*>& pointers, T* pointer) {
  return std::lower_bound(pointers.begin(), pointers.end(), pointer, std::less<T*>());
}

template <typename T>
void InsertOnce(std::vector<T*>& pointers, T* pointer) {
  const auto position = LowerBound(pointers, pointer);
  if (position == pointers.end() || *position != pointer) pointers.insert(position, pointer);
}

}  // namespace

void ActiveWorkUnitManager::LoadActiveWorkUnit(ExecutableWorkItem* item) {
  const MutexLock lock(mutex_);
  InsertOnce(items_, item);
}

void ActiveWorkUnitManager::UnloadActiveWorkUnit(ExecutableWorkItem* item) {
  const MutexLock lock(mutex_);
  const auto position = LowerBound(items_, item);
  if (position != items_.end() && *position == item) items_.erase(position);
}

void ActiveWorkUnitManager::AddTimeCheckCountForActiveWorkUnit(std::int64_t ms) {
  const MutexLock lock(mutex_);
  images_.clear();
  for (const ExecutableWorkItem* item : items_) {
    const NxRegionObject* const region = item->GetOutput()->GetRegion().get();
    if (region == nullptr || !region->GetSourceImageObject()) continue;
    InsertOnce(images_, region->GetSourceImageObject().get());
  }
  const auto low = static_cast<std::int32_t>(static_cast<std::uint32_t>(ms));
  for (NxSourceImageObject* image : images_) image->AddTimeDuration(low);
}

}  // namespace velmora
