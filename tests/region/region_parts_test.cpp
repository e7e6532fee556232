// What regions share: their image, their work modes, and the manager that files them.
#include "tests/region/kit.h"

namespace velmora {
namespace {

using Tips = std::vector<NxRef<NxObjectBase>>;

TEST(RegionImageInfo, CopiesTheMatrixAndSharesTheImage) {
  const NxRef<NxImageData> image = testing::MakeImage("ab", 2, 1);
  std::array<double, 9> matrix = {1, 2, 3, 4, 5, 6, 7, 8, 9};
  const NxRegionImageInfo info(image.get(), matrix.data()), bare(nullptr, nullptr);
  matrix[8] = 0;
  EXPECT_EQ(info.GetImage(), image);
  EXPECT_EQ(image->GetReferenceCount(), 2);
  for (int i = 0; i < 9; ++i) {
    EXPECT_EQ(info.GetOriginalToLocalTransMat()[i], i + 1);
    EXPECT_EQ(bare.GetOriginalToLocalTransMat()[i], i % 4 == 0);
  }
}

TEST(RegionImageInfo, AppendsTipsAndClearsThemOutsideOfItsLock) {
  NxRegionImageInfo info(nullptr, nullptr);
  const auto newTip = [&info] {
    return new testing::Asking<NxObjectBase>([&info] { info.GetTipsData("key"); });
  };
  const NxRef<NxObjectBase> a = newTip(), b = newTip();
  info.AddTipsData("key", {a, b});
  info.AddTipsData("key", {newTip(), a});
  info.AddTipsData("other", {b, newTip()});
  const Tips tips = info.GetTipsData("key");
  EXPECT_EQ(tips, (Tips{a, b, tips.at(2), a}));
  info.AddTipsData("key", {newTip()});  // dies with its entry
  info.ClearTipsData("no such key");
  info.ClearTipsData("key");
  EXPECT_TRUE(info.GetTipsData("key").empty());
  EXPECT_EQ(info.GetTipsData("other").size(), 2U);
  info.ClearAllTipsData();
  EXPECT_TRUE(info.GetTipsData("other").empty());
  EXPECT_EQ(b->GetReferenceCount(), 2);
}

TEST(RegionImageInfo, Locks) {
  NxRegionImageInfo info(nullptr, nullptr);
  // An empty tip: counting references would order the threads.
  const std::function<void()> add = [&] { info.AddTipsData("key", {nullptr}); };
  add();  // whoever comes first finds work
  testing::CallTogether({add, add, [&] { info.GetTipsData("key"); }});
  EXPECT_EQ(info.GetTipsData("key").size(), 1 + 2U * testing::kCallsTogether);
  testing::CallTogether({add, [&] { info.ClearTipsData("key"); }});
  testing::CallTogether({add, [&] { info.ClearAllTipsData(); }});
}

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

static_assert(std::is_nothrow_move_constructible_v<RegionObjectRecord>, "lists of them grow");

TEST(RegionObjectManager, FilesUnderTheKeyOrTheType) {
  NxRegionObjectManager manager;
  const NxRef<NxRegionObject> region = new NxRegionObject;
  region->SetRegionType(static_cast<intermediate_results::RegionObjectElementType>(5));
  manager.AddRegionObject(region.get(), "a", "", "c", -1);
  manager.AddRegionObject(region.get(), "g", "h", "i", 0);
  manager.AddRegionObject(region.get(), nullptr, "b", "c", 5);
  manager.AddRegionObject(region.get(), "a", nullptr, "c", 5);
  manager.AddRegionObject(region.get(), "a", "b", nullptr, 5);
  manager.AddRegionObject(nullptr, "a", "b", "c", 5);
  testing::Lockstep lockstep(4);
  testing::RunTogether(4, [&](int) {
    for (int i = 0; i < 200; ++i) {
      lockstep.Enter(i);
      manager.AddRegionObject(region.get(), "d", "e", "f", 5);
      EXPECT_FALSE(manager.GetRegionObjects(5).empty());
    }
  });

  using Names = std::array<std::string, 3>;
  const std::vector<RegionObjectRecord> records = manager.GetRegionObjects(5);
  EXPECT_EQ(records.size(), 1 + 800U);
  EXPECT_EQ(records[0].names, (Names{"a", "", "c"}));
  EXPECT_EQ(records[0].region, region);
  EXPECT_EQ(manager.GetRegionObjects(0).at(0).names, (Names{"g", "h", "i"}));
  EXPECT_TRUE(manager.GetRegionObjects(-1).empty());
}

}  // namespace
}  // namespace velmora
