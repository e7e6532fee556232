// A pool with a fixed number of threads and one queue.
#pragma once

#include "tests/support/test.h"

namespace velmora::testing {

class FixedThreadPool final : public ThreadPoolBase {
 public:
  explicit FixedThreadPool(int threadCount) {
    for (int i = 0; i < threadCount; ++i) {
      threads_.emplace_back([this] { Serve(); });
    }
  }
  ~FixedThreadPool() { Stop(); }
  FixedThreadPool(const FixedThreadPool&) = delete;
  FixedThreadPool& operator=(const FixedThreadPool&) = delete;

  void AppendWorkItem(RtrThreadWorkItemBase* item) override {
    if (item != nullptr) item->LogPush();
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      queue_.push(item);
    }
    queued_.Produce();
  }

  int GetThreadCount() const override { return static_cast<int>(threads_.size()); }

  void Stop() override {
    // One empty item a thread, behind everything that is queued.
    for (std::size_t i = 0; i < threads_.size(); ++i) AppendWorkItem(nullptr);
    for (std::thread& thread : threads_) thread.join();
    threads_.clear();
  }

 private:
  NxRef<RtrThreadWorkItemBase> Take() {
    queued_.Consume();
    const std::lock_guard<std::mutex> lock(mutex_);
    NxRef<RtrThreadWorkItemBase> item = queue_.front();
    queue_.pop();
    return item;
  }

  void Serve() {
    while (const NxRef<RtrThreadWorkItemBase> item = Take()) {
      item->LogPop();
      item->Process(this);
      item->FinishWork();
    }
  }

  std::mutex mutex_;  // guards queue_
  TaskUnitQueue queue_;
  NxSemaphore queued_{0};
  std::vector<std::thread> threads_;
};

}  // namespace velmora::testing
