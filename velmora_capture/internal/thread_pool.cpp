#include "velmora_capture/internal/thread_pool.h"

#include <string>

#include "velmora/engine/work_item.h"

namespace velmora::capture {

namespace {

// The pool whose thread this is, while that thread is about to come back for an item.
thread_local const CaptureThreadPool* comesBackTo = nullptr;

}  // namespace

CaptureThreadPool::CaptureThreadPool(int threads, Trace& trace) : trace_(trace) {
  for (int i = 1; i <= threads; ++i) threads_.emplace_back([this, i] { RunThread(i); });
}

void CaptureThreadPool::AppendWorkItem(RtrThreadWorkItemBase* item) {
  item->LogPush();
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    queue_.push(item);
  }
  // A thread that ends an item takes the next one itself: waking another for it costs more than most
  // of what the engine does for an item. From the second one on there is work for others.
  if (comesBackTo == this) {
    comesBackTo = nullptr;
  } else {
    wakeUp_.notify_one();
  }
}

void CaptureThreadPool::Stop() {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    isStopping_ = true;
  }
  wakeUp_.notify_all();
  for (std::thread& thread : threads_) thread.join();
  threads_.clear();
}

NxRef<RtrThreadWorkItemBase> CaptureThreadPool::TakeItem() {
  std::unique_lock<std::mutex> lock(mutex_);
  wakeUp_.wait(lock, [this] { return isStopping_ || !queue_.empty(); });
  if (queue_.empty()) return nullptr;
  NxRef<RtrThreadWorkItemBase> item = queue_.front();
  queue_.pop();
  return item;
}

void CaptureThreadPool::RunThread(int number) {
  trace_.AddLane("pool " + std::to_string(number));
  while (const NxRef<RtrThreadWorkItemBase> item = TakeItem()) {
    const TraceScope span(SpanKind::kItem, "work item", -1);
    item->LogPop();
    item->Process(this);
    comesBackTo = this;
    item->FinishWork();
    comesBackTo = nullptr;
  }
}

}  // namespace velmora::capture
