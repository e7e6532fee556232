#include "velmora_capture/internal/clock_thread.h"

#include <chrono>
#include <new>

namespace velmora::capture {

namespace {
using Clock = std::chrono::steady_clock;
constexpr std::chrono::milliseconds kTick(2);
}  // namespace

ClockThread::ClockThread(NxDataManagerPool& managers)
    : managers_(managers), thread_([this] { Run(); }) {}

ClockThread::~ClockThread() {
  {
    const MutexLock lock(mutex_);
    isStopping_ = true;
  }
  wakeUp_.notify_one();
  thread_.join();
}

void ClockThread::SetBusy(bool isBusy) {
  const MutexLock lock(mutex_);
  isBusy_ = isBusy;
  // Between two images that follow each other closely it need not be woken: it ticks anyway.
  if (isBusy && isAsleep_) wakeUp_.notify_one();
}

void ClockThread::Run() {
  Clock::time_point charged = Clock::now();
  WaitingLock lock(mutex_);
  for (;;) {
    if (!isBusy_) {
      isAsleep_ = true;
      wakeUp_.wait(lock.Native(),
                   [this]() VELMORA_REQUIRES(mutex_) { return isStopping_ || isBusy_; });
      isAsleep_ = false;
      charged = Clock::now();
    }
    if (wakeUp_.wait_for(lock.Native(), kTick,
                         [this]() VELMORA_REQUIRES(mutex_) { return isStopping_; })) {
      return;
    }
    // Whole milliseconds; what is left over counts with the next tick.
    const auto elapsed =
        std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - charged);
    charged += elapsed;
    try {
      managers_.GetActiveWorkUnitManager()->AddTimeCheckCountForActiveWorkUnit(elapsed.count());
    } catch (const std::bad_alloc&) {
      charged -= elapsed;  // with the next tick
    }
  }
}

}  // namespace velmora::capture
