// Every operation that shares an object with other threads, each on a thread of its own: a thread
// that takes no lock is ordered with no other, so that the thread sanitizer sees the lock that is
// missing however the threads happen to run.
#include <gtest/gtest.h>

#include <functional>
#include <vector>

#include "tests/engine/engine_objects.h"
#include "tests/support/barrier.h"

namespace velmora {
namespace {

using testing::MakeRegion;
using testing::MakeWorkOutput;

constexpr int kCalls = 300;

void CallAtOnce(const std::vector<std::function<void()>>& operations) {
  testing::RunTogether(static_cast<int>(operations.size()), [&](int thread) {
    for (int i = 0; i < kCalls; ++i) operations[static_cast<std::size_t>(thread)]();
  });
}

TEST(Locks, OfTheManagers) {
  struct Cache : SourceImageCacheBase {
    Cache() { SetSourceImageObject(testing::MakeSource()); }
    void CleanCache() override {}
  };
  DataCacheManager caches;
  caches.AddToCacheMap(new Cache);
  CallAtOnce({[&] { caches.AddToCacheMap(new Cache); }, [&] { caches.GetFromCacheMap(""); },
              [&] { caches.GetSourceImage(""); }, [&] { caches.UpdateCacheMap(); },
              [&] { caches.CleanAllCacheMap(); }});

  constexpr auto kType = basic_structures::BufferedItemType(1);
  struct Item : basic_structures::BufferedItemBase {
    basic_structures::BufferedItemType GetBufferedItemType() const override { return kType; }
  };
  struct ItemSet : basic_structures::BufferedItemSetBase {
    void CopyFromManager(BufferedItemManager* manager) override {
      EXPECT_LE(manager->GetBufferedItemsUnlocked(kType)->size(), 2U);
    }
  };
  BufferedItemManager items;
  items.RegisterBufferedItemType(kType);
  CallAtOnce({[&] { items.RegisterBufferedItemType(kType); },
              [&] { items.SetMaxBufferedItems(kType, 2); },
              [&] { items.GetMaxBufferedItems(kType); },
              [&] { items.AppendItem(NxRef<Item>(new Item).get()); },
              [&] { items.CopyBufferToItemSet(NxRef<ItemSet>(new ItemSet).get()); }});
  CallAtOnce({[&] { items.ClearBuffer(); }, [&] { items.GetMaxBufferedItems(kType); }});

  TaskEffectTimeManager timePoint;
  CallAtOnce(
      {[&] { timePoint.SetTimePointToTaskEffect(1); }, [&] { timePoint.IsTimePointOpen(); }});
}

TEST(Locks, OfOutputs) {
  const NxRef<NxRegionObject> region = MakeRegion("page");
  NxTaskOutput output(region, region, "read", TT_ATOMIC_0, false, 1);
  output.AddResult(nullptr);
  const std::function<void()> addWork = [&] { output.AddWorkOutput(0, nullptr); };
  CallAtOnce({[&] { output.AddResult(new NxTaskOutputAtomResult); }, [&] { output.EndWork(); },
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
  EXPECT_EQ(output.GetWorkOutputs()[0].size(), 2U * kCalls);

  NxWorkOutputTable& table = *output.GetWorkTable();
  CallAtOnce({[&] { table.AppendNextWorkOutput(0, 0, MakeWorkOutput(MakeRegion("page"), "fast")); },
              [&] { table.GetNextTopPriorityWorkOutput(""); }, [&] { table.HasNextWorkOutput(); },
              [&] { table.SetAllWorkModesCount(1); }, [&] { table.GetVisitedSlotCount(); }});
}

TEST(Locks, OfFlagsAndItems) {
  NxDependencyFinishFlag flag("{page}[read]");
  ExecutableWorkItem item(nullptr, nullptr, nullptr, 0);
  int object = 0;
  auto* const output = reinterpret_cast<NxTaskOutput*>(&object);
  const auto look = [](NxTaskOutput*, TargetROIDefEvent*) {};
  CallAtOnce({[&] { flag.SetFinished(); }, [&] { flag.IsFinished(); },
              [&] { flag.AddRelatedOutputTask(output); },
              [&] { flag.RemoveAllRelatedOutputTasks(nullptr); },
              [&] { flag.LoopAllRelatedOutputTasks(look, nullptr); },
              [&] { item.SetWorkFinished(); }, [&] { item.IsWorkFinished(); }});
}

}  // namespace
}  // namespace velmora
