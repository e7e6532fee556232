#include "velmora/foundation/semaphore.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <climits>
#include <thread>

#include "tests/support/barrier.h"

namespace velmora {
namespace {

using std::chrono::milliseconds;

template <typename Action>
milliseconds Duration(Action action) {
  const auto start = std::chrono::steady_clock::now();
  action();
  return std::chrono::duration_cast<milliseconds>(std::chrono::steady_clock::now() - start);
}

// Far above what a wake-up costs on a loaded machine, far below the sleeps it is compared with.
constexpr milliseconds kSoon{20'000};
constexpr int kLongSleepMs = INT_MAX;  // 24 days, waited for in rounds of one

TEST(Semaphore, CountsUnits) {
  NxSemaphore semaphore(2);
  semaphore.Consume();
  EXPECT_FALSE(semaphore.IsEmpty());
  semaphore.Consume();
  EXPECT_TRUE(semaphore.IsEmpty());
  semaphore.Produce();
  EXPECT_EQ(semaphore.GetValue(), 1);
  semaphore.WakeUpIfSleep();
  EXPECT_EQ(semaphore.GetValue(), 1);
  semaphore.Reset(INT_MAX);
  semaphore.Produce();
  EXPECT_EQ(semaphore.GetValue(), INT_MIN) << "32 bits wrap";
  EXPECT_TRUE(semaphore.IsEmpty());
}

TEST(Semaphore, SleepsOnlyWhileEmptyAndNoLongerThanToldTo) {
  struct Row {
    const char* name;
    long value;
    int ms, wantMs;
  };
  for (const Row& row : {Row{"no time", 0, 0, 0}, Row{"negative time", 0, -1, 0},
                         Row{"a unit is there", 1, kLongSleepMs, 0}, Row{"empty", 0, 50, 50}}) {
    SCOPED_TRACE(row.name);
    NxSemaphore semaphore(row.value);
    // A spurious wake-up may end one sleep early; it does not end three in a row.
    milliseconds longest{0};
    for (int i = 0; i < 3; ++i)
      longest = std::max(longest, Duration([&] { semaphore.SleepIfEmpty(row.ms); }));
    EXPECT_GE(longest, milliseconds(row.wantMs));
    EXPECT_LT(longest, kSoon);
    EXPECT_EQ(semaphore.GetValue(), row.value);
  }
}

TEST(Semaphore, AWakeUpEndsTheSleepWhateverTheValue) {
  struct Row {
    const char* name;
    void (NxSemaphore::*wake)();
    long valueAfterwards;
  };
  for (const Row& row : {Row{"Produce", &NxSemaphore::Produce, 1},
                         Row{"WakeUpIfSleep", &NxSemaphore::WakeUpIfSleep, 0}}) {
    SCOPED_TRACE(row.name);
    NxSemaphore semaphore(0);
    std::atomic<bool> awake{false};
    std::thread sleeper([&] {
      semaphore.SleepIfEmpty(kLongSleepMs);
      awake = true;
    });
    (semaphore.*row.wake)();
    // The sleeper may fall asleep after the first wake-up: WakeUpIfSleep is said again until it
    // hears it. A produced unit is found even by a late sleeper.
    const auto start = std::chrono::steady_clock::now();
    while (!awake && std::chrono::steady_clock::now() - start < kSoon) {
      semaphore.WakeUpIfSleep();
      std::this_thread::yield();
    }
    EXPECT_TRUE(awake);
    sleeper.join();
    EXPECT_EQ(semaphore.GetValue(), row.valueAfterwards);
  }
}

TEST(Semaphore, AWakeUpBringsAConsumerNoUnit) {
  NxSemaphore semaphore(0);
  std::atomic<bool> consumed{false};
  std::thread consumer([&] {
    semaphore.Consume();
    consumed = true;
  });
  for (int i = 0; i < 200; ++i) {
    semaphore.WakeUpIfSleep();
    std::this_thread::yield();
  }
  EXPECT_FALSE(consumed);
  semaphore.Produce();
  consumer.join();
  EXPECT_EQ(semaphore.GetValue(), 0);
}

TEST(Semaphore, OnlyProducedUnitsAreConsumed) {
  NxSemaphore semaphore(0);
  std::atomic<int> produced{0}, consumed{0};
  testing::RunTogether(8, [&](int index) {
    for (int i = 0; i < 1'000; ++i) {
      if (index % 2 == 0) {
        semaphore.Consume();
        EXPECT_LE(++consumed, produced);
      } else {
        ++produced;
        semaphore.Produce();
      }
    }
  });
  EXPECT_EQ(semaphore.GetValue(), 0);
}

}  // namespace
}  // namespace velmora
