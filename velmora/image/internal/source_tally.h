// What an image source counts.
#pragma once

#include <atomic>
#include <cstdint>
#include <thread>

namespace velmora::internal {

struct SourceCounts {
  std::uint64_t delivered = 0;
  std::uint64_t dropped = 0;
  std::uint64_t refused = 0;
  std::uint64_t buffered = 0;
};

// Publishes counts that belong together. Writers hold the lock of whatever is counted; readers take
// none and repeat until they have read between two publications, so that a monitor that polls never
// holds up a writer. A writer pays six plain stores.
class SourceTally {
 public:
  void Publish(const SourceCounts& counts) noexcept {
    const std::uint32_t version = version_.load(std::memory_order_relaxed);
    version_.store(version + 1, std::memory_order_relaxed);  // odd: do not trust the counts
    // Release: whoever reads one of these counts finds the odd version, or a later one.
    delivered_.store(counts.delivered, std::memory_order_release);
    dropped_.store(counts.dropped, std::memory_order_release);
    refused_.store(counts.refused, std::memory_order_release);
    buffered_.store(counts.buffered, std::memory_order_release);
    // Release: whoever reads this version finds all the counts.
    version_.store(version + 2, std::memory_order_release);
  }

  SourceCounts Read() const noexcept {
    for (;;) {
      const std::uint32_t before = version_.load(std::memory_order_acquire);
      SourceCounts counts;
      counts.delivered = delivered_.load(std::memory_order_acquire);
      counts.dropped = dropped_.load(std::memory_order_acquire);
      counts.refused = refused_.load(std::memory_order_acquire);
      counts.buffered = buffered_.load(std::memory_order_acquire);
      const bool isWhole = before % 2 == 0 && version_.load(std::memory_order_relaxed) == before;
      if (isWhole) return counts;
      std::this_thread::yield();
    }
  }

  std::uint64_t GetBuffered() const noexcept { return buffered_.load(std::memory_order_relaxed); }

 private:
  std::atomic<std::uint32_t> version_{0};
  std::atomic<std::uint64_t> delivered_{0};
  std::atomic<std::uint64_t> dropped_{0};
  std::atomic<std::uint64_t> refused_{0};
  std::atomic<std::uint64_t> buffered_{0};
};

}  // namespace velmora::internal
