#include "velmora/engine/dependency_finish_flag.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>

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

TEST(DependencyFinishFlag, RemovesNoOutputWhileItIsCalledBack) {
  static std::atomic<int> calls{0};
  static std::atomic<int> returns{0};
  const auto callback = [](NxTaskOutput* /*output*/, TargetROIDefEvent* /*event*/) {
    ++calls;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));  // for the other thread to come
    ++returns;
  };
  NxDependencyFinishFlag flag("{page}[read]");
  flag.AddRelatedOutputTask(nullptr);
  testing::RunTogether(2, [&](int thread) {
    if (thread == 0) return flag.LoopAllRelatedOutputTasks(callback, nullptr);
    while (calls == 0) std::this_thread::yield();
    flag.RemoveAllRelatedOutputTasks(nullptr);
    EXPECT_EQ(returns, calls);
  });
}

TEST(DependencyFinishFlag, Locks) {
  NxDependencyFinishFlag flag("{page}[read]");
  const auto look = [](NxTaskOutput*, TargetROIDefEvent*) {};
  testing::CallTogether({[&] { flag.SetFinished(); }, [&] { flag.IsFinished(); },
                         [&] { flag.AddRelatedOutputTask(nullptr); },
                         [&] { flag.LoopAllRelatedOutputTasks(look, nullptr); },
                         [&] { flag.RemoveAllRelatedOutputTasks(nullptr); }});
}

}  // namespace
}  // namespace velmora
