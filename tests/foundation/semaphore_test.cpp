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
  EXPECT_FALSE(semaphore.IsEmpty());
  semaphore.Consume();
  semaphore.Consume();
  EXPECT_TRUE(semaphore.IsEmpty());
  semaphore.Produce();
  EXPECT_EQ(semaphore.GetValue(), 1);
  semaphore.Reset(5);
  EXPECT_EQ(semaphore.GetValue(), 5);
  semaphore.Reset(INT_MAX);
  semaphore.Produce();
  EXPECT_EQ(semaphore.GetValue(), INT_MIN) << "32 bits wrap";
  EXPECT_TRUE(semaphore.IsEmpty());
}

TEST(Semaphore, SleepReturnsAtOnceWhenThereIsNothingToWaitFor) {
  struct Row {
    const char* name;
    long value;
    int ms;
  };
  for (const Row& row : {Row{"no time", 0, 0}, Row{"negative time", 0, -1},
                         Row{"a unit is there", 1, kLongSleepMs}}) {
    SCOPED_TRACE(row.name);
    NxSemaphore semaphore(row.value);
    EXPECT_LT(Duration([&] { semaphore.SleepIfEmpty(row.ms); }), kSoon);
    EXPECT_EQ(semaphore.GetValue(), row.value);
  }
}

TEST(Semaphore, SleepLastsItsTimeIfNobodyProduces) {
  NxSemaphore semaphore(0);
  // A spurious wake-up may end one sleep early; it does not end three in a row.
  milliseconds longest{0};
  for (int i = 0; i < 3; ++i) {
    longest = std::max(longest, Duration([&] { semaphore.SleepIfEmpty(50); }));
  }
  EXPECT_GE(longest, milliseconds(50));
  EXPECT_LT(longest, kSoon);
  EXPECT_EQ(semaphore.GetValue(), 0);
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

TEST(Semaphore, WakeUpIfSleepIsSilentWhileUnitsAreThere) {
  NxSemaphore semaphore(2);
  semaphore.WakeUpIfSleep();
  EXPECT_EQ(semaphore.GetValue(), 2);
}

TEST(Semaphore, EveryUnitIsConsumedOnce) {
  for (const int pairs : {1, 4}) {
    SCOPED_TRACE(pairs);
    NxSemaphore semaphore(0);
    testing::RunTogether(2 * pairs, [&](int index) {
      for (int i = 0; i < 1'000; ++i) index % 2 == 0 ? semaphore.Produce() : semaphore.Consume();
    });
    EXPECT_EQ(semaphore.GetValue(), 0);
  }
}

}  // namespace
}  // namespace velmora
