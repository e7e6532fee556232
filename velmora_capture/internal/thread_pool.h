/// @file
/// The threads that run work items.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <map>
#include <thread>
#include <vector>

#include "velmora/engine/task_unit_queue.h"
#include "velmora/foundation/thread_pool_base.h"
#include "velmora/platform/mutex.h"
#include "velmora_capture/internal/observers.h"

namespace velmora::capture {

/// A fixed number of threads. They take the item with the lowest priority number first, and those
/// of one priority in the order in which they came.
///
/// @threadsafety Stop from the thread that made the pool; the rest from any thread
class CaptureThreadPool final : public ThreadPoolBase {
 public:
  /// @param observers  outlive the pool
  CaptureThreadPool(int threads, const Observers& observers);
  ~CaptureThreadPool() { Stop(); }
  CaptureThreadPool(const CaptureThreadPool&) = delete;
  CaptureThreadPool& operator=(const CaptureThreadPool&) = delete;

  /// Once the pool stops, the item is dropped.
  /// @throws std::bad_alloc; the item was not taken then
  void AppendWorkItem(RtrThreadWorkItemBase* item) override;
  int GetThreadCount() const override { return threadCount_; }
  void Stop() override;

  /// Whether the calling thread is one of this pool's.
  bool IsOwnThread() const;

  /// To be called before code of unknown length runs: if the calling thread belongs to a pool and
  /// an item was left for it to take next, another thread is woken for that.
  static void LetOthersWork();

 private:
  void RunThread(int number);
  // Waits for an item; empty once the pool has stopped and nothing is left.
  NxRef<RtrThreadWorkItemBase> TakeItem();

  const Observers& observers_;
  const int threadCount_;
  Mutex mutex_;
  std::condition_variable wakeUp_;  // an item was queued, or the pool stops
  std::map<std::uint64_t, TaskUnitQueue> queues_
      VELMORA_GUARDED_BY(mutex_);              // by priority; empty ones stay
  int queued_ VELMORA_GUARDED_BY(mutex_) = 0;  // items in all queues
  bool isStopping_ VELMORA_GUARDED_BY(mutex_) = false;
  std::vector<std::thread> threads_;  // the maker's alone
};

}  // namespace velmora::capture
