/// @file
/// The threads that run work items.
#pragma once

#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

#include "velmora/engine/task_unit_queue.h"
#include "velmora/foundation/thread_pool_base.h"
#include "velmora_capture/internal/trace.h"

namespace velmora::capture {

/// A fixed number of threads that take items off one queue, first in first out.
///
/// @threadsafety AppendWorkItem from any thread; Stop from the thread that made the pool
class CaptureThreadPool final : public ThreadPoolBase {
 public:
  CaptureThreadPool(int threads, Trace& trace);
  ~CaptureThreadPool() { Stop(); }
  CaptureThreadPool(const CaptureThreadPool&) = delete;
  CaptureThreadPool& operator=(const CaptureThreadPool&) = delete;

  void AppendWorkItem(RtrThreadWorkItemBase* item) override;
  int GetThreadCount() const override { return static_cast<int>(threads_.size()); }
  void Stop() override;

 private:
  void RunThread(int number);
  // Waits for an item; empty once the pool has stopped and nothing is left.
  NxRef<RtrThreadWorkItemBase> TakeItem();

  Trace& trace_;
  std::mutex mutex_;                // guards what follows
  std::condition_variable wakeUp_;  // an item was queued, or the pool stops
  TaskUnitQueue queue_;
  bool isStopping_ = false;
  std::vector<std::thread> threads_;  // the maker's alone
};

}  // namespace velmora::capture
