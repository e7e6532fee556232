/// @file
/// Which work is running right now, so that its images can be charged for the time.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "velmora/platform/export.h"
#include "velmora/platform/mutex.h"

namespace velmora {

class ExecutableWorkItem;
class NxSourceImageObject;

/// The executable work items that are running.
///
/// `ExecutableWorkItem::Process` registers its item around the work. The items are not owned: a
/// registered item, its output and that output's region stay alive until the item is taken out.
///
/// @threadsafety any thread; every operation is one step: the items are spread over several
///               mutexes, of which the charge holds all
class VELMORA_EXPORT ActiveWorkUnitManager {
 public:
  /// Registers @p item; an item that is registered already stays registered once.
  void LoadActiveWorkUnit(ExecutableWorkItem* item);

  /// Takes @p item out; does nothing if it is not registered.
  void UnloadActiveWorkUnit(ExecutableWorkItem* item);

  /// Charges elapsed time to every image that has work in flight, once per image however many of
  /// its items are running. The counters of the images are atomic, so this takes no other lock.
  /// @param ms milliseconds; the counters are 32-bit, so only the low 32 bits count
  void AddTimeCheckCountForActiveWorkUnit(std::int64_t ms) VELMORA_UNCHECKED_LOCKING;

 private:
  // Each thread passes here twice per item. On 64-bit Linux the lock and the first places of a
  // shard fill one cache line; threads that use different shards pass none on to each other.
  struct alignas(64) Shard {
    void Load(ExecutableWorkItem* item);
    void Unload(ExecutableWorkItem* item);
    // Adds the images of the items that `images` lacks.
    void CollectImages(std::vector<NxSourceImageObject*>& images) const VELMORA_REQUIRES(mutex);

    Mutex mutex;
    std::array<ExecutableWorkItem*, 3> places VELMORA_GUARDED_BY(mutex) = {};  // null: free
    // What finds no place. Keeps its capacity, so that items on their way allocate nothing.
    std::vector<ExecutableWorkItem*> others VELMORA_GUARDED_BY(mutex);
  };
  static constexpr std::size_t kShardCount = 8;

  Shard& ShardOf(const ExecutableWorkItem* item);

  std::array<Shard, kShardCount> shards_;
};

}  // namespace velmora
