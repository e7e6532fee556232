/// @file
/// One at a time.
#pragma once

#include "velmora_capture/internal/item_list.h"

#include "velmora/platform/mutex.h"

namespace velmora::capture {

/// Sees to it that one piece of work of a single-thread work object is queued at a time, over all
/// images of a Capture. Pieces that have to wait wait here, not on a thread of the pool.
///
/// @threadsafety any thread
class Turn {
 public:
  /// @return whether it is the item's turn; otherwise it waits, and `Leave` returns it some time
  bool Enter(CaptureWorkItem& item) noexcept;
  /// Ends a turn.
  /// @return the item whose turn it is now; empty if none waits
  NxRef<CaptureWorkItem> Leave() noexcept;

 private:
  Mutex mutex_;
  bool isTaken_ VELMORA_GUARDED_BY(mutex_) = false;
  ItemList waiting_ VELMORA_GUARDED_BY(mutex_);
};

}  // namespace velmora::capture
