// Threads meet here before they race, so that a stress test really overlaps.
#pragma once

#include <atomic>
#include <cstddef>
#include <functional>
#include <thread>
#include <vector>

namespace velmora::testing {

// Has the threads of a race begin each round of it at the same instant: they collide even in a
// round that is far shorter than the start of a thread. Relaxed, a round orders nothing: what
// threads do in different rounds still races.
class Lockstep {
 public:
  explicit Lockstep(int threads, std::memory_order order = std::memory_order_seq_cst)
      : threads_(threads), order_(order) {}

  // Returns when all threads have come to this round, which each counts from 0.
  void Enter(int round) {
    arrivals_.fetch_add(1, order_);
    for (int spins = 1; arrivals_.load(order_) < (round + 1) * threads_; ++spins) {
      if (spins % 1000 == 0) std::this_thread::yield();
    }
  }

 private:
  const int threads_;
  const std::memory_order order_;
  std::atomic<int> arrivals_{0};
};

// Runs body(threadIndex) on `count` threads that start together, and joins them.
template <typename Body>
void RunTogether(int count, Body body) {
  Lockstep lockstep(count);
  std::vector<std::thread> threads;
  for (int i = 0; i < count; ++i) {
    threads.emplace_back([&lockstep, &body, i] {
      lockstep.Enter(0);
      body(i);
    });
  }
  for (std::thread& thread : threads) thread.join();
}

// Calls operations that share an object, each often and on a thread of its own: a thread that takes
// no lock is ordered with no other, so that the thread sanitizer sees the lock that is missing
// however the threads happen to run. They meet every ten calls, so that none comes to its end
// before the others have given it work.
constexpr int kCallsTogether = 300;
inline void CallTogether(const std::vector<std::function<void()>>& operations) {
  const int count = static_cast<int>(operations.size());
  Lockstep lockstep(count, std::memory_order_relaxed);
  RunTogether(count, [&](int thread) {
    for (int i = 0; i < kCallsTogether; ++i) {
      if (i % 10 == 0) lockstep.Enter(i / 10);
      operations[static_cast<std::size_t>(thread)]();
    }
  });
}

}  // namespace velmora::testing
