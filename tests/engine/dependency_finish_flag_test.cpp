#include "velmora/engine/dependency_finish_flag.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <vector>

#include "tests/engine/engine_objects.h"
#include "tests/support/barrier.h"

namespace velmora {
namespace {

using testing::MakeRegion;

// Addresses that stand for outputs; the flag never follows them.
NxTaskOutput* Address(std::vector<char>& bytes, std::size_t index) {
  return reinterpret_cast<NxTaskOutput*>(&bytes[index]);
}

std::vector<NxTaskOutput*>* visited = nullptr;

void Visit(NxTaskOutput* output, TargetROIDefEvent* /*event*/) {
  visited->push_back(output);
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
  EXPECT_EQ(&flag.GetChildFlags("{page}[read]"), &absent) << "asking made the entry";
}

TEST(DependencyFinishFlag, CallsBackForEachRelatedOutputOnceInAddressOrder) {
  std::vector<char> bytes(8);
  std::vector<NxTaskOutput*> calls;
  visited = &calls;
  NxDependencyFinishFlag flag("{page}[read]");
  flag.LoopAllRelatedOutputTasks(Visit, nullptr);
  EXPECT_TRUE(calls.empty());
  for (const std::size_t index : {5U, 1U, 7U, 1U, 5U})
    flag.AddRelatedOutputTask(Address(bytes, index));
  flag.LoopAllRelatedOutputTasks(Visit, nullptr);
  EXPECT_EQ(calls,
            (std::vector<NxTaskOutput*>{Address(bytes, 1), Address(bytes, 5), Address(bytes, 7)}));
  flag.RemoveAllRelatedOutputTasks(Address(bytes, 3));  // never added: all go all the same
  calls.clear();
  flag.LoopAllRelatedOutputTasks(Visit, nullptr);
  EXPECT_TRUE(calls.empty());
}

// Outputs register and leave while another thread goes through them: whoever is called is there.
TEST(DependencyFinishFlag, NeverCallsBackForAnOutputThatWasRemoved) {
  static std::atomic<int> deadCalls;
  static std::atomic<int> calls;
  deadCalls = 0;
  calls = 0;
  const auto callback = [](NxTaskOutput* output, TargetROIDefEvent* /*event*/) {
    ++calls;
    if (output->GetResultStatus() == TOS_FINISHED) ++deadCalls;
  };
  const NxRef<NxRegionObject> region = MakeRegion("page");
  NxDependencyFinishFlag flag("{page}[read]");
  std::atomic<bool> running{true};
  testing::RunTogether(2, [&](int thread) {
    if (thread == 0) {
      for (int i = 0; i < 500; ++i) {
        const NxRef<NxTaskOutput> output =
            new NxTaskOutput(region, region, "read", TT_ATOMIC_0, false, 1);
        flag.AddRelatedOutputTask(output.get());
        while (calls <= i) flag.LoopAllRelatedOutputTasks(callback, nullptr);
        flag.RemoveAllRelatedOutputTasks(output.get());
        output->SetResultStatus(TOS_FINISHED);
        EXPECT_TRUE(output->GetFinishFlag()->IsFinished());
      }
      running = false;
    } else {
      while (running) flag.LoopAllRelatedOutputTasks(callback, nullptr);
    }
  });
  EXPECT_EQ(deadCalls, 0);
  EXPECT_GE(calls, 500);
}

}  // namespace
}  // namespace velmora
