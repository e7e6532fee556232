// Threads meet here before they race, so that a stress test really overlaps.
#pragma once

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace velmora::testing {

class Barrier {
 public:
  explicit Barrier(int count) : missing_(count) {}

  void ArriveAndWait() {
    std::unique_lock<std::mutex> lock(mutex_);
    if (--missing_ == 0) allHere_.notify_all();
    allHere_.wait(lock, [this] { return missing_ <= 0; });
  }

 private:
  std::mutex mutex_;  // guards missing_
  std::condition_variable allHere_;
  int missing_;
};

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
  Barrier barrier(count);
  std::vector<std::thread> threads;
  threads.reserve(static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i) {
    threads.emplace_back([&barrier, &body, i] {
      barrier.ArriveAndWait();
      body(i);
    });
  }
  for (std::thread& thread : threads) thread.join();
}

}  // namespace velmora::testing
