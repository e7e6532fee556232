// What results do when memory runs out. This program's allocation can be told to fail.
#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <new>

#include "examples/module_author/spot_item.h"
#include "velmora/results/result_imp_base.h"

namespace {
int allocationsLeft = INT_MAX;
}  // namespace

// Not inlined: g++ would take free() for a mismatch with new.
[[gnu::noinline]] void* operator new(std::size_t size) {
  if (allocationsLeft-- <= 0) throw std::bad_alloc();
  return std::malloc(size);
}
[[gnu::noinline]] void operator delete(void* memory) noexcept {
  std::free(memory);
}
[[gnu::noinline]] void operator delete(void* memory, std::size_t /*size*/) noexcept {
  std::free(memory);
}

namespace velmora {
namespace {

template <typename Action>
bool RunsOutOfMemory(int allocations, Action action) {
  allocationsLeft = allocations;
  bool ranOut = false;
  try {
    action();
  } catch (const std::bad_alloc&) {
    ranOut = true;
  }
  allocationsLeft = INT_MAX;
  return ranOut;
}

TEST(OutOfMemory, LeavesResultsAsTheyWere) {
  basic_structures::ResultImpBase child(nullptr, nullptr), parent(nullptr, nullptr);
  child.SetCaptureResultPointer(&parent);
  const NxRef<spots::SpotItem> item = new spots::SpotItem({});
  for (const int allocations : {0, 1}) {  // none for the child, one for it and none for the parent
    const auto add = [&] { child.AddResultItemExternal(item.get()); };
    EXPECT_TRUE(RunsOutOfMemory(allocations, add));
    EXPECT_TRUE(child.GetResultItems().empty() && parent.GetResultItems().empty());
  }
  child.AddResultItemExternal(item.get());
  EXPECT_FALSE(RunsOutOfMemory(0, [&] { child.RemoveResultItem(item.get()); }));
  EXPECT_EQ(item->GetReferenceCount(), 1);
  EXPECT_TRUE(RunsOutOfMemory(0, [&] { child.SetErrorCode(-10026); }));
  EXPECT_EQ(child.GetErrorCode(), 0);
}

}  // namespace
}  // namespace velmora
