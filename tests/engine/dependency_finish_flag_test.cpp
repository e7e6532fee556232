#include "velmora/engine/dependency_finish_flag.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "tests/support/barrier.h"

namespace velmora {
namespace {

TEST(DependencyFinishFlag, FilesChildrenByTaskFullName) {
  NxDependencyFinishFlag flag("{page}[read]");
  const auto& absent = flag.GetChildFlags("{page}[read]");
  const NxRef<NxDependencyFinishFlag> child = new NxDependencyFinishFlag("{code}[check]");
  for (int i = 0; i < 2; ++i) flag.AddChildFlag(child);
  EXPECT_EQ(flag.GetChildFlags("{code}[check]").size(), 2U);
  flag.AddChildFlag(new NxDependencyFinishFlag("{page}[read]"));
  EXPECT_EQ(absent.size(), 1U) << "asking made the entry";
}

TEST(DependencyFinishFlag, CallsBackForEachRelatedOutputOnceInAddressOrder) {
  static char places[8];       // stand for outputs by their addresses; the flag never follows them
  static std::string visited;  // the places that the flag called back for
  const auto place = [](int index) { return reinterpret_cast<NxTaskOutput*>(&places[index]); };
  const auto visit = [](NxTaskOutput* output, TargetROIDefEvent* /*event*/) {
    visited += std::to_string(reinterpret_cast<char*>(output) - places);
  };
  NxDependencyFinishFlag flag("{page}[read]");
  for (const int index : {5, 1, 7, 1, 5}) flag.AddRelatedOutputTask(place(index));
  flag.LoopAllRelatedOutputTasks(visit, nullptr);
  flag.RemoveAllRelatedOutputTasks(place(3));  // never added: all go all the same
  flag.LoopAllRelatedOutputTasks(visit, nullptr);
  EXPECT_EQ(visited, "157");
}

// The callback runs under the lock: it counts without one.
TEST(DependencyFinishFlag, Locks) {
  NxDependencyFinishFlag flag("{page}[read]");
  static int calls = 0;
  const auto count = [](NxTaskOutput*, TargetROIDefEvent*) { ++calls; };
  const std::function<void()> loop = [&] { flag.LoopAllRelatedOutputTasks(count, nullptr); };
  const std::function<void()> add = [&] { flag.AddRelatedOutputTask(nullptr); };
  add();
  testing::CallTogether({loop, loop, add});
  EXPECT_EQ(calls, 2 * testing::kCallsTogether);
  testing::CallTogether({loop, add, [&] { flag.RemoveAllRelatedOutputTasks(nullptr); }});
  testing::CallTogether({[&] { flag.SetFinished(); }, [&] { flag.IsFinished(); }});
}

}  // namespace
}  // namespace velmora
