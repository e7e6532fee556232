/// @file
/// How far each work mode has come on one region.
#pragma once

#include <cstdint>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "velmora/foundation/object_base.h"
#include "velmora/platform/export.h"
#include "velmora/platform/mutex.h"

namespace velmora {

/// How far a work mode has come. Two states are final and count as completed alike; the task
/// modules tell them apart.
enum WorkModesState : std::int32_t {
  WMS_NotStarted = 0,
  WMS_InProgress = 1,
  WMS_Finished = 2,
  WMS_FinishedOtherwise = 3,
};

/// The state of each work mode of one region, in the order in which the work modes run.
///
/// @threadsafety any thread. Every operation takes the mutex, but for `GetStates`; the mutex is
///               not recursive, so call none of them while holding it through `GetMutex`.
class VELMORA_EXPORT WorkModesStateObject : public NxObjectBase {
 public:
  using StateList = std::vector<std::pair<std::string, WorkModesState>>;

  /// Every work mode starts as not started; a name that comes twice is kept twice.
  /// @param number  kept for the caller; the task engine passes 0
  WorkModesStateObject(std::int32_t number, const std::vector<std::string>& workModes);
  ~WorkModesStateObject() override;
  WorkModesStateObject(const WorkModesStateObject&) = delete;
  WorkModesStateObject& operator=(const WorkModesStateObject&) = delete;

  /// Sets the state of every entry of that name.
  void SetState(const std::string& workMode, WorkModesState state);

  /// True if no entry is in progress.
  bool IsNoneInProgress() const;

  /// True if every entry before the first one named @p workMode is completed; if there is none of
  /// that name, if all entries are.
  bool IsCompletedBefore(const std::string& workMode) const;

  std::int32_t GetNumber() const { return number_; }

  /// The entries themselves. Hold the mutex while other threads may set states.
  const StateList& GetStates() const { return states_; }
  StateList& GetStates() { return states_; }

  /// Guards the entries; for steps larger than one operation.
  std::mutex& GetMutex() const { return mutex_; }

 private:
  std::int32_t number_;
  mutable Mutex mutex_;  // guards states_, which callers read under GetMutex() too
  StateList states_;
};

}  // namespace velmora
