#include "velmora/region/work_modes_state.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/barrier.h"
#include "velmora/region/region_object.h"

namespace velmora {
namespace {

using testing::RunTogether;

TEST(WorkModesState, EachQuestionLooksAtItsOwnEntries) {
  struct Row {
    const char* name;
    WorkModesState a, b;  // of work modes listed as A, B, A
    bool noneInProgress, beforeB, beforeUnknown;
  };
  for (const Row& r :
       {Row{"fresh", WMS_NotStarted, WMS_NotStarted, true, false, false},
        Row{"first in progress", WMS_InProgress, WMS_NotStarted, false, false, false},
        Row{"first finished", WMS_Finished, WMS_NotStarted, true, true, false},
        Row{"second in progress", WMS_FinishedOtherwise, WMS_InProgress, false, true, false},
        Row{"only the second finished", WMS_NotStarted, WMS_Finished, true, false, false},
        Row{"all finished", WMS_Finished, WMS_FinishedOtherwise, true, true, true}}) {
    SCOPED_TRACE(r.name);
    const NxRef<NxRegionObject> region = new NxRegionObject;
    EXPECT_EQ(region->InitWorkModesState(7, {"A", "B", "A"})->GetNumber(), 7);
    region->SetWorkModeState("A", r.a);
    region->SetWorkModeState("B", r.b);
    region->SetWorkModeState("unknown", WMS_InProgress);
    EXPECT_EQ(region->GetStates(),
              (WorkModesStateObject::StateList{{"A", r.a}, {"B", r.b}, {"A", r.a}}));
    EXPECT_EQ(region->IsNoWorkModeInProgress(), r.noneInProgress);
    EXPECT_TRUE(region->IsCompletedBeforeCertainWorkMode("A"));
    EXPECT_EQ(region->IsCompletedBeforeCertainWorkMode("B"), r.beforeB);
    EXPECT_EQ(region->IsCompletedBeforeCertainWorkMode("unknown"), r.beforeUnknown);
  }
}

TEST(WorkModesState, IsIgnoredBeforeItExistsAndSharedWithCopiesAfter) {
  const NxRef<NxRegionObject> region = new NxRegionObject;
  region->SetWorkModeState("A", WMS_InProgress);
  EXPECT_FALSE(region->AlreadyInitWorkModesState());
  EXPECT_TRUE(region->IsNoWorkModeInProgress());
  EXPECT_TRUE(region->IsCompletedBeforeCertainWorkMode("A"));

  WorkModesStateObject* const state = region->InitWorkModesState(0, {"A"});
  const NxRef<NxRegionObject> copy = new NxRegionObject(*region);
  copy->SetWorkModeState("A", WMS_InProgress);
  EXPECT_EQ(state->GetReferenceCount(), 2);
  EXPECT_FALSE(region->IsNoWorkModeInProgress());
  region->InitWorkModesState(0, {"A"});
  EXPECT_TRUE(region->IsNoWorkModeInProgress());
  EXPECT_FALSE(copy->IsNoWorkModeInProgress());
}

TEST(WorkModesState, IsSetAndReadFromManyThreads) {
  const std::vector<std::string> modes = {"A", "B", "C", "D"};
  const NxRef<NxRegionObject> region = new NxRegionObject;
  region->InitWorkModesState(0, modes);
  RunTogether(4, [&](int thread) {
    const std::string& mode = modes[static_cast<std::size_t>(thread)];
    for (int i = 0; i < 500; ++i) {
      region->SetWorkModeState(mode, WMS_InProgress);
      EXPECT_FALSE(region->IsNoWorkModeInProgress());
      region->IsCompletedBeforeCertainWorkMode(mode);
      const std::lock_guard<std::mutex> lock(region->GetWorkModesStateMutex());
      region->GetStates()[static_cast<std::size_t>(thread)].second = WMS_Finished;
    }
  });
  EXPECT_TRUE(region->IsCompletedBeforeCertainWorkMode("none"));
}

}  // namespace
}  // namespace velmora
