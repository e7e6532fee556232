#include "velmora/engine/active_work_unit_manager.h"

#include <algorithm>
#include <mutex>

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

void ActiveWorkUnitManager::Shard::Load(ExecutableWorkItem* item) {
  const MutexLock lock(mutex);
  ExecutableWorkItem** freePlace = nullptr;
  for (ExecutableWorkItem*& place : places) {
    if (place == item) return;
    if (place == nullptr) freePlace = &place;
  }
  if (!others.empty() && Contains(others, item)) return;
  if (freePlace != nullptr) {
    *freePlace = item;
  } else {
    others.push_back(item);
  }
}

void ActiveWorkUnitManager::Shard::Unload(ExecutableWorkItem* item) {
  const MutexLock lock(mutex);
  for (ExecutableWorkItem*& place : places) {
    if (place != item) continue;
    place = nullptr;
    return;
  }
  const auto other = std::find(others.begin(), others.end(), item);
  if (other == others.end()) return;
  *other = others.back();
  others.pop_back();
}

void ActiveWorkUnitManager::Shard::CollectImages(std::vector<NxSourceImageObject*>& images) const {
  const auto addImage = [&images](const ExecutableWorkItem* item) {
    const NxRegionObject* const region = item->GetOutput()->GetRegion().get();
    NxSourceImageObject* const image =
        region != nullptr ? region->GetSourceImageObject().get() : nullptr;
    if (image != nullptr && !Contains(images, image)) images.push_back(image);
  };
  for (const ExecutableWorkItem* item : places) {
    if (item != nullptr) addImage(item);
  }
  for (const ExecutableWorkItem* item : others) addImage(item);
}

// By the address alone, so that an item is found again whichever thread asks. The heap of glibc
// gives each thread memory from blocks of its own, of 64 MiB: the number of the block tells the
// items of two threads apart. Elsewhere the line within the block spreads them.
ActiveWorkUnitManager::Shard& ActiveWorkUnitManager::ShardOf(const ExecutableWorkItem* item) {
  const auto address = reinterpret_cast<std::uintptr_t>(item);
  return shards_[((address >> 26U) + (address >> 6U)) % kShardCount];
}

void ActiveWorkUnitManager::LoadActiveWorkUnit(ExecutableWorkItem* item) {
  ShardOf(item).Load(item);
}

void ActiveWorkUnitManager::UnloadActiveWorkUnit(ExecutableWorkItem* item) {
  ShardOf(item).Unload(item);
}

// All shards at once: an image whose items come and go meanwhile is charged once, and none is gone
// before it is charged. The analysis does not follow locks through a loop.
void ActiveWorkUnitManager::AddTimeCheckCountForActiveWorkUnit(std::int64_t ms) {
  std::array<std::unique_lock<std::mutex>, kShardCount> locks;  // plain: as many as shards
  std::vector<NxSourceImageObject*> images;
  for (std::size_t i = 0; i < kShardCount; ++i) {
    // plain: moved into the array
    locks[i] = std::unique_lock<std::mutex>(shards_[i].mutex);
    shards_[i].CollectImages(images);
  }
  const auto low = static_cast<std::int32_t>(static_cast<std::uint32_t>(ms));
  for (NxSourceImageObject* image : images) image->AddTimeDuration(low);
}

}  // namespace velmora
