#include "velmora/engine/dependency_finish_flag.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>

#include "tests/engine/engine_objects.h"
#include "tests/support/barrier.h"

namespace velmora {
namespace {

using testing::MakeRegion;

char places[8];       // stand for outputs by their addresses; the flag never follows them
std::string visited;  // the places that the flag called back for

NxTaskOutput* Place(int index) {
  return reinterpret_cast<NxTaskOutput*>(&places[index]);
}

void Visit(NxTaskOutput* output, TargetROIDefEvent* /*event*/) {
  visited += std::to_string(reinterpret_cast<char*>(output) - places);
}

TEST(DependencyFinishFlag, FilesChildrenByTaskFullName) {
  NxDependencyFinishFlag flag("{page}[read]");
  const NxRef<NxDependencyFinishFlag> child = new NxDependencyFinishFlag("{code}[check]");
  flag.AddChildFlag(child);
  flag.AddChildFlag(child);
  EXPECT_EQ(flag.GetChildFlags("{code}[check]").size(), 2U);
  EXPECT_EQ(child->GetReferenceCount(), 3);
  const auto& absent = flag.GetChildFlags("{page}[read]");
  EXPECT_TRUE(absent.empty());
  flag.AddChildFlag(new NxDependencyFinishFlag("{page}[read]"));
  EXPECT_EQ(absent.size(), 1U) << "asking made the entry";
}

TEST(DependencyFinishFlag, CallsBackForEachRelatedOutputOnceInAddressOrder) {
  NxDependencyFinishFlag flag("{page}[read]");
  flag.LoopAllRelatedOutputTasks(Visit, nullptr);
  for (const int index : {5, 1, 7, 1, 5}) flag.AddRelatedOutputTask(Place(index));
  flag.LoopAllRelatedOutputTasks(Visit, nullptr);
  flag.RemoveAllRelatedOutputTasks(Place(3));  // never added: all go all the same
  flag.LoopAllRelatedOutputTasks(Visit, nullptr);
  EXPECT_EQ(visited, "157");
}

// Outputs register and leave while another thread goes through them: whoever is called is there.
TEST(DependencyFinishFlag, NeverCallsBackForAnOutputThatWasRemoved) {
  static std::atomic<int> deadCalls{0};
  static std::atomic<int> calls{0};
  const auto callback = [](NxTaskOutput* output, TargetROIDefEvent* /*event*/) {
    ++calls;
    std::this_thread::yield();  // lets the other thread remove it, if it could
    if (output->GetResultStatus() == TOS_FINISHED) ++deadCalls;
  };
  const NxRef<NxRegionObject> region = MakeRegion("page");
  NxDependencyFinishFlag flag("{page}[read]");
  std::atomic<bool> running{true};
  testing::RunTogether(2, [&](int thread) {
    while (thread == 1 && running) flag.LoopAllRelatedOutputTasks(callback, nullptr);
    for (int i = 0; thread == 0 && i < 500; ++i) {
      const NxRef<NxTaskOutput> output =
          new NxTaskOutput(region, region, "read", TT_ATOMIC_0, false, 1);
      flag.AddRelatedOutputTask(output.get());
      while (calls <= i) flag.LoopAllRelatedOutputTasks(callback, nullptr);
      flag.RemoveAllRelatedOutputTasks(output.get());
      output->SetResultStatus(TOS_FINISHED);
    }
    running = false;
  });
  EXPECT_EQ(deadCalls, 0);
}

}  // namespace
}  // namespace velmora
