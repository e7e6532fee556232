#include "velmora/foundation/sync_object.h"

#include <gtest/gtest.h>

#include <mutex>

#include "tests/support/barrier.h"

namespace velmora {
namespace {

TEST(SyncObject, ExcludesOtherThreadsAndLetsItsOwnerIn) {
  const SyncObject lock;
  int counter = 0;  // guarded by lock
  testing::RunTogether(4, [&](int) {
    for (int i = 0; i < 2'000; ++i) {
      const std::lock_guard<const SyncObject> outer(lock);
      const std::lock_guard<const SyncObject> inner(lock);
      ++counter;
    }
  });
  EXPECT_EQ(counter, 8'000);
}

TEST(SyncObject, WorksAfterAssignment) {
  const SyncObject source;
  SyncObject target;
  target = source;
  const std::lock_guard<const SyncObject> lock(target);
}

}  // namespace
}  // namespace velmora
