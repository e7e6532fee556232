/// @file
/// Which work is running right now, so that its images can be charged for the time.
#pragma once

#include <array>
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
/// @threadsafety any thread; one mutex, held for each whole operation
class VELMORA_EXPORT ActiveWorkUnitManager {
 public:
  /// Registers @p item; an item that is registered already stays registered once.
  void LoadActiveWorkUnit(ExecutableWorkItem* item);

  /// Takes @p item out; does nothing if it is not registered.
  void UnloadActiveWorkUnit(ExecutableWorkItem* item);

  /// Charges elapsed time to every image that has work in flight, once per image however many of
  /// its items are running. The counters of the images are atomic, so this takes no other lock.
  /// @param ms milliseconds; the counters are 32-bit, so only the low 32 bits count
  void AddTimeCheckCountForActiveWorkUnit(std::int64_t ms);

 private:
  // Each thread passes here twice per item. On 64-bit Linux the lock and the first places fill one
  // cache line, the only one that few threads pass on to each other.
  alignas(64) Mutex mutex_;
  std::array<ExecutableWorkItem*, 3> places_ VELMORA_GUARDED_BY(mutex_) = {};  // null: free
  // What finds no place. Keeps its capacity, so that items on their way allocate nothing.
  std::vector<ExecutableWorkItem*> others_ VELMORA_GUARDED_BY(mutex_);
  // Scratch space of the charge.
  std::vector<NxSourceImageObject*> images_ VELMORA_GUARDED_BY(mutex_);
};

}  // namespace velmora
