#include "velmora/foundation/semaphore.h"

#include <chrono>
#include <limits>

#include "velmora/foundation/internal/arithmetic.h"

namespace velmora {
namespace {

using SteadyClock = std::chrono::steady_clock;
using Nanoseconds = std::chrono::duration<std::int64_t, std::nano>;

constexpr std::int64_t kNanosecondsPerMillisecond = 1'000'000;
constexpr std::int64_t kNanosecondsPerDay = 86'400'000'000'000;

std::int64_t SteadyNow() {
  return std::chrono::duration_cast<Nanoseconds>(SteadyClock::now().time_since_epoch()).count();
}

// now + ms milliseconds, clamped to the largest 64-bit value. `ms` is positive.
std::int64_t DeadlineAfter(std::int64_t now, int ms) {
  const std::int64_t wait = std::int64_t{ms} * kNanosecondsPerMillisecond;
  constexpr std::int64_t kLatest = std::numeric_limits<std::int64_t>::max();
  return now > kLatest - wait ? kLatest : now + wait;
}

// What one round of waiting lasts: whole milliseconds, rounded up, a day at most.
std::chrono::milliseconds RoundLength(std::int64_t nanosecondsLeft) {
  if (nanosecondsLeft >= kNanosecondsPerDay) nanosecondsLeft = kNanosecondsPerDay;
  return std::chrono::milliseconds((nanosecondsLeft + kNanosecondsPerMillisecond - 1) /
                                   kNanosecondsPerMillisecond);
}

}  // namespace

NxSemaphore::NxSemaphore(long initial) : value_(static_cast<std::int32_t>(initial)) {}

void NxSemaphore::Produce() {
  const MutexLock lock(mutex_);
  value_ = internal::WrapAdd(value_, 1);
  wakeUp_.notify_one();
}

void NxSemaphore::Consume() {
  WaitingLock lock(mutex_);
  while (value_ < 1) wakeUp_.wait(lock.Native());
  --value_;
}

long NxSemaphore::GetValue() const {
  const MutexLock lock(mutex_);
  return value_;
}

bool NxSemaphore::IsEmpty() const {
  return GetValue() < 1;
}

void NxSemaphore::SleepIfEmpty(int ms) {
  WaitingLock lock(mutex_);
  if (value_ >= 1 || ms <= 0) return;
  const std::int64_t deadline = DeadlineAfter(SteadyNow(), ms);
  for (std::int64_t now = SteadyNow(); now < deadline; now = SteadyNow()) {
    if (wakeUp_.wait_for(lock.Native(), RoundLength(deadline - now)) ==
        std::cv_status::no_timeout) {
      return;
    }
  }
}

void NxSemaphore::Reset(long value) {
  value_ = static_cast<std::int32_t>(value);
}

void NxSemaphore::WakeUpIfSleep() {
  const MutexLock lock(mutex_);
  if (value_ < 1) wakeUp_.notify_one();
}

}  // namespace velmora
