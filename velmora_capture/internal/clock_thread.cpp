#include "velmora_capture/internal/clock_thread.h"

#include <chrono>
#include <utility>

namespace velmora::capture {

namespace {
using Clock = std::chrono::steady_clock;
constexpr std::chrono::milliseconds kTick(2);
}  // namespace

ClockThread::ClockThread(NxDataManagerPool& managers, std::function<bool()> isCancelled)
    : managers_(managers), isCancelled_(std::move(isCancelled)), thread_([this] { Run(); }) {}

ClockThread::~ClockThread() {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    isStopping_ = true;
  }
  wakeUp_.notify_one();
  thread_.join();
}

void ClockThread::Run() {
  Clock::time_point charged = Clock::now();
  std::unique_lock<std::mutex> lock(mutex_);
  while (!wakeUp_.wait_for(lock, kTick, [this] { return isStopping_; })) {
    // Whole milliseconds; what is left over counts with the next tick.
    const auto elapsed =
        std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - charged);
    charged += elapsed;
    managers_.GetActiveWorkUnitManager()->AddTimeCheckCountForActiveWorkUnit(elapsed.count());
    if (isCancelled_()) managers_.GetTaskEffectTimeManager()->SetTimePointToTaskEffect(1);
  }
}

}  // namespace velmora::capture
