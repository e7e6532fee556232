#include "velmora/foundation/sync_object.h"

#include <gtest/gtest.h>

#include <mutex>
#include <thread>

#include "tests/support/barrier.h"

namespace velmora {
namespace {

TEST(SyncObject, ExcludesOtherThreadsAndLetsItsOwnerIn) {
  const SyncObject lock;
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
