#include "velmora_capture/internal/thread_pool.h"

#include <string>

#include "velmora/engine/work_item.h"

namespace velmora::capture {

namespace {

// What a pool knows about the thread that is running.
struct ThreadState {
  CaptureThreadPool* pool = nullptr;
  bool comesBack = false;   // it is about to come back for an item
  bool leftAnItem = false;  // one was queued for it, and nobody was woken
};

thread_local ThreadState self;

}  // namespace

CaptureThreadPool::CaptureThreadPool(int threads, const Observers& observers)
    : observers_(observers), threadCount_(threads) {
  try {
    for (int i = 1; i <= threads; ++i) threads_.emplace_back([this, i] { RunThread(i); });
  } catch (...) {
    Stop();  // those that there are
    throw;
  }
}

void CaptureThreadPool::AppendWorkItem(RtrThreadWorkItemBase* item) {
  const NxRef<RtrThreadWorkItemBase> kept = item;  // what is dropped is destroyed without the lock
  item->LogPush();
  {
    const MutexLock lock(mutex_);
    if (isStopping_) return;
    queues_[item->GetPriority()].push(kept);
    ++queued_;
  }
  // A thread that ends an item takes the next one itself: waking another for it costs more than
  // most of what the engine does for an item. From the second one on there is work for others.
  if (self.pool == this && self.comesBack) {
    self.comesBack = false;
    self.leftAnItem = true;
  } else {
    wakeUp_.notify_one();
  }
}

void CaptureThreadPool::Stop() {
  {
    const MutexLock lock(mutex_);
    isStopping_ = true;
  }
  wakeUp_.notify_all();
  for (std::thread& thread : threads_) thread.join();
  threads_.clear();
}

bool CaptureThreadPool::IsOwnThread() const {
  return self.pool == this;
}

void CaptureThreadPool::LetOthersWork() {
  self.comesBack = false;
  if (self.leftAnItem) self.pool->wakeUp_.notify_one();
  self.leftAnItem = false;
}

NxRef<RtrThreadWorkItemBase> CaptureThreadPool::TakeItem() {
  WaitingLock lock(mutex_);
  wakeUp_.wait(lock.Native(),
               [this]() VELMORA_REQUIRES(mutex_) { return isStopping_ || queued_ > 0; });
  for (auto& [priority, queue] : queues_) {
    if (queue.empty()) continue;
    NxRef<RtrThreadWorkItemBase> item = queue.front();
    queue.pop();
    --queued_;
    return item;
  }
  return nullptr;
}

void CaptureThreadPool::RunThread(int number) {
  self.pool = this;
  observers_.ThreadStarted(("pool " + std::to_string(number)).c_str());
  while (const NxRef<RtrThreadWorkItemBase> item = TakeItem()) {
    const SpanScope span(observers_, RunStage::kItem, "work item", -1);
    item->LogPop();
    item->Process(this);
    self.comesBack = true;
    item->FinishWork();
    self.comesBack = false;
    self.leftAnItem = false;
  }
}

}  // namespace velmora::capture
