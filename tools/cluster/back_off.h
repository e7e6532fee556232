/// @file
/// How long to wait before something is tried once more.
#pragma once

#include <algorithm>
#include <random>

namespace velmora::cluster {

/// Waits that double up to a limit. Each is drawn from the upper half of what it may be, so that
/// programs that lost the same broker do not come back at the same moment.
///
/// @threadsafety one thread
class BackOff {
 public:
  explicit BackOff(unsigned seed = std::random_device()(), int leastMs = 100, int mostMs = 20'000)
      : leastMs_(leastMs), mostMs_(mostMs), nextMs_(leastMs), random_(seed) {}

  /// The next wait, in milliseconds.
  int Next() {
    const int limit = nextMs_;
    nextMs_ = std::min(mostMs_, nextMs_ * 2);
    return std::uniform_int_distribution<int>(limit / 2, limit)(random_);
  }
  /// It worked: the next wait is a short one.
  void Reset() { nextMs_ = leastMs_; }

 private:
  const int leastMs_;
  const int mostMs_;
  int nextMs_;
  std::mt19937 random_;
};

}  // namespace velmora::cluster
