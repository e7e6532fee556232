#include "velmora/region/work_modes_state.h"

#include <gtest/gtest.h>

#include "tests/support/barrier.h"
#include "velmora/region/region_object.h"

namespace velmora {
namespace {

TEST(WorkModesState, EachQuestionLooksAtItsOwnEntries) {
  struct Row {
    const char* name;
    WorkModesState a, b;  // of work modes listed as A, B, A
    bool noneInProgress, beforeB, beforeUnknown;
  };
  for (const Row& r :
       {Row{"fresh", WMS_NotStarted, WMS_NotStarted, true, false, false},
        Row{"first in progress", WMS_InProgress, WMS_NotStarted, false, false, false},
        Row{"second in progress", WMS_FinishedOtherwise, WMS_InProgress, false, true, false},
        Row{"only the second finished", WMS_NotStarted, WMS_Finished, true, false, false},
        Row{"all finished", WMS_Finished, WMS_FinishedOtherwise, true, true, true}}) {
    SCOPED_TRACE(r.name);
    NxRegionObject region;
    EXPECT_EQ(region.InitWorkModesState(7, {"A", "B", "A"})->GetNumber(), 7);
    region.SetWorkModeState("A", r.a);
    region.SetWorkModeState("B", r.b);
    region.SetWorkModeState("unknown", WMS_InProgress);
    EXPECT_EQ(region.GetStates(),
              (WorkModesStateObject::StateList{{"A", r.a}, {"B", r.b}, {"A", r.a}}));
    EXPECT_EQ(region.IsNoWorkModeInProgress(), r.noneInProgress);
    EXPECT_TRUE(region.IsCompletedBeforeCertainWorkMode("A"));
    EXPECT_EQ(region.IsCompletedBeforeCertainWorkMode("B"), r.beforeB);
    EXPECT_EQ(region.IsCompletedBeforeCertainWorkMode("unknown"), r.beforeUnknown);
  }
}

TEST(WorkModesState, IsIgnoredBeforeItExistsAndSharedWithCopiesAfter) {
  NxRegionObject region;
  region.SetWorkModeState("A", WMS_InProgress);
  EXPECT_TRUE(region.IsNoWorkModeInProgress() && region.IsCompletedBeforeCertainWorkMode("A"));
  region.InitWorkModesState(0, {"A"});
  NxRegionObject copy(region);
  copy.SetWorkModeState("A", WMS_InProgress);
  EXPECT_FALSE(region.IsNoWorkModeInProgress());
  region.InitWorkModesState(0, {"A"});
  EXPECT_TRUE(region.IsNoWorkModeInProgress() && !copy.IsNoWorkModeInProgress());
}

TEST(WorkModesState, IsSetAndReadByManyThreads) {
  NxRegionObject region;
  region.InitWorkModesState(0, {"A", "B"});
  testing::CallTogether({[&] { region.SetWorkModeState("A", WMS_Finished); },
                         [&] { EXPECT_TRUE(region.IsNoWorkModeInProgress()); },
                         [&] { region.IsCompletedBeforeCertainWorkMode("B"); },
                         [&] {
                           const std::lock_guard<std::mutex> lock(region.GetWorkModesStateMutex());
                           region.GetStates()[1].second = WMS_Finished;
                         }});
  EXPECT_TRUE(region.IsCompletedBeforeCertainWorkMode("none"));
}

}  // namespace
}  // namespace velmora
