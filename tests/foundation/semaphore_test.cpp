#include "tests/support/test.h"

namespace velmora {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

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
  semaphore.Reset(INT_MAX);
  semaphore.Produce();
  EXPECT_EQ(semaphore.GetValue(), INT_MIN) << "32 bits wrap";
}

TEST(Semaphore, SleepsOnlyWhileEmptyAndNoLongerThanToldTo) {
  struct Row {
    long value;
    int ms, wantMs;
  };
  for (const Row& row : {Row{0, 0, 0}, Row{0, -1, 0}, Row{1, kLongSleepMs, 0}, Row{0, 50, 50}}) {
    SCOPED_TRACE(row.ms);
    NxSemaphore semaphore(row.value);
    // A spurious wake-up may end one sleep early; it does not end three in a row.
    Clock::duration longest{0};
    for (int i = 0; i < 3; ++i) {
      const auto start = Clock::now();
      semaphore.SleepIfEmpty(row.ms);
      longest = std::max(longest, Clock::now() - start);
    }
    EXPECT_GE(longest, milliseconds(row.wantMs));
    EXPECT_LT(longest, kSoon);
    EXPECT_EQ(semaphore.GetValue(), row.value);
  }
}

TEST(Semaphore, AWakeUpEndsTheSleep) {
  NxSemaphore semaphore(0);
  std::atomic<bool> awake{false};
  std::thread sleeper([&] {
    semaphore.SleepIfEmpty(kLongSleepMs);
    awake = true;
  });
  // The sleeper may fall asleep after a wake-up: it is said again until it is heard.
  while (!awake) {
    semaphore.WakeUpIfSleep();
    std::this_thread::yield();
  }
  sleeper.join();
  EXPECT_EQ(semaphore.GetValue(), 0);
}

TEST(Semaphore, OnlyProducedUnitsAreConsumed) {
  NxSemaphore semaphore(0);
  std::atomic<int> produced{0}, consumed{0};
  testing::RunTogether(8, [&](int index) {
    const bool consumes = index % 2 == 0;
    for (int i = 0; i < 200 && !consumes; ++i) {
      semaphore.WakeUpIfSleep();  // brings a consumer no unit
      std::this_thread::yield();
    }
    for (int i = 0; i < 1'000; ++i) {
      if (consumes) {
        semaphore.Consume();
        EXPECT_LE(++consumed, produced);
      } else {
        ++produced;
        semaphore.Produce();
        semaphore.IsEmpty();
      }
    }
  });
  EXPECT_EQ(semaphore.GetValue(), 0);
}

TEST(SyncObject, ExcludesOtherThreadsAndLetsItsOwnerIn) {
  SyncObject lock;
  lock = SyncObject();
  int counter = 0;  // guarded by lock
  testing::RunTogether(4, [&](int) {
    for (int i = 0; i < 500; ++i) {
      const std::lock_guard<const SyncObject> outer(lock);
      const std::lock_guard<const SyncObject> inner(lock);
      const int before = counter;
      std::this_thread::yield();
      counter = before + 1;
    }
  });
  EXPECT_EQ(counter, 2'000);
}

}  // namespace
}  // namespace velmora
