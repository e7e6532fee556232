// Threads meet here before they race, so that a stress test really overlaps.
#pragma once

#include <atomic>
#include <cstddef>
#include <functional>
#include <thread>
#include <vector>

namespace velmora::testing {

// Has the threads of a race begin each round of it at the same instant: they collide even in a round
// that is far shorter than the start of a thread.
class Lockstep {
 public:
  explicit Lockstep(int threads) : threads_(threads) {}

  // Returns when all threads have come to this round, which each counts from 0.
  void Enter(int round) {
    ++arrivals_;
    for (int spins = 1; arrivals_ < (round + 1) * threads_; ++spins)
      if (spins % 1000 == 0) std::this_thread::yield();
  }

 private:
  const int threads_;
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
// however the threads happen to run.
constexpr int kCallsTogether = 300;
inline void CallTogether(const std::vector<std::function<void()>>& operations) {
  RunTogether(static_cast<int>(operations.size()), [&](int thread) {
    for (int i = 0; i < kCallsTogether; ++i) operations[static_cast<std::size_t>(thread)]();
  });
}

}  // namespace velmora::testing
