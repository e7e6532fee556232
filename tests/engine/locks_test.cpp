// The locks of outputs and of what belongs to them.
#include <gtest/gtest.h>

#include <functional>

#include "tests/engine/engine_objects.h"
#include "tests/support/barrier.h"

namespace velmora {
namespace {

using testing::CallTogether;
using testing::MakeRegion;
using testing::MakeWorkOutput;

TEST(Locks, OfOutputs) {
  const NxRef<NxRegionObject> region = MakeRegion("page");
  NxTaskOutput output(region, region, "read", TT_ATOMIC_0, false, 1);
  output.AddResult(nullptr);
  const std::function<void()> addWork = [&] { output.AddWorkOutput(0, nullptr); };
  CallTogether({[&] { output.AddResult(new NxTaskOutputAtomResult); }, [&] { output.EndWork(); },
                [&] { output.SetResultStatus(TOS_NO_RESULT); },
                [&] { EXPECT_GE(output.GetResultCount(), 1); },
                [&] { EXPECT_EQ(output.GetResult(0), nullptr); },
                [&] { EXPECT_FALSE(output.AlreadyExistObject(region.get())); },
                [&] { output.SetThreadSuspendToken(new ThreadSuspendToken); },
                [&] {
                  NxRef<ThreadSuspendToken> token;
                  output.GetThreadSuspendToken(token);
                },
                addWork, addWork});
  EXPECT_EQ(output.GetWorkOutputs()[0].size(), 2U * testing::kCallsTogether);

  ExecutableWorkItem item(&output, nullptr, nullptr, 0);
  CallTogether({[&] { item.SetWorkFinished(); }, [&] { item.IsWorkFinished(); }});

  // Few threads at a time, and each finds work: the sanitizer remembers the last accesses only.
  NxWorkOutputTable& table = *output.GetWorkTable();
  const std::function<void()> append = [&] {
    table.AppendNextWorkOutput(0, 0, MakeWorkOutput(MakeRegion("page"), "fast"));
  };
  const std::function<void()> take = [&] {
    append();
    EXPECT_NE(table.GetNextTopPriorityWorkOutput(""), nullptr);
  };
  take();
  CallTogether({append, take, [&] { table.HasNextWorkOutput(); }});
  CallTogether({take, [&] { table.GetVisitedSlotCount(); }});
  CallTogether({[&, level = 1]() mutable { table.AppendNextWorkOutput(level++, 0, nullptr); },
                [&] { table.SetAllWorkModesCount(1); }});
}

}  // namespace
}  // namespace velmora
