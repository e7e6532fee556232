#include "tests/engine/engine_objects.h"

namespace velmora {
namespace {

NxRef<NxWorkOutput> Work(const std::string& mode) {
  static const NxRef<NxRegionObject> region = testing::MakeRegion("page");
  return testing::MakeWorkOutput(region, mode);
}

TEST(WorkOutputTable, AnswersTheWorkThatItRefusesOrDiesWith) {
  std::string answers;
  {
    NxWorkOutputTable table;
    const NxRef<NxRegionObject> region = testing::MakeRegion("page");
    for (const std::string name : {"refused", "a", "b", "c"}) {
      const auto ask = [&answers, &table, name] {
        answers += name + (table.HasNextWorkOutput() ? " of more, " : " alone, ");
      };
      table.AppendNextWorkOutput(
          name == "refused" ? 0 : 1, 0,
          new testing::Asking<NxWorkOutput>(ask, nullptr, nullptr, region, region, "task",
                                            TT_ATOMIC_0, nullptr, ""));
      table.SetAllWorkModesCount(1);  // until here there are no lists
    }
  }
  EXPECT_EQ(answers, "refused alone, a of more, b of more, c alone, ");
}

// The rule itself, with every slot of every list looked at in order.
class NaiveTable {
 public:
  void Append(int level, int mode, std::size_t listsPerLevel, const NxRef<NxWorkOutput>& work) {
    while (static_cast<int>(levels_.size()) <= level) levels_.emplace_back(listsPerLevel);
    if (level < 0 || mode < 0) return;
    Level& lists = levels_[static_cast<std::size_t>(level)];
    const auto index = static_cast<std::size_t>(mode);
    if (index < lists.size()) lists[index].push_back(work);
  }

  NxRef<NxWorkOutput> Take(const std::string& workMode, bool sequential) {
    NxRef<NxWorkOutput>* const slot = Peek(workMode, sequential);
    return slot != nullptr ? std::move(*slot) : nullptr;
  }

  bool HasWork() { return Peek("", true) != nullptr; }

 private:
  NxRef<NxWorkOutput>* Peek(const std::string& workMode, bool sequential) {
    for (Level& level : levels_) {
      for (List& list : level) {
        const std::size_t n = list.size();
        for (std::size_t k = 0; k < n; ++k) {
          NxRef<NxWorkOutput>& slot = list[sequential ? k : k % 2 == 0 ? k / 2 : n - 1 - k / 2];
          if (slot && (workMode.empty() || slot->GetWorkMode() == workMode)) return &slot;
        }
      }
    }
    return nullptr;
  }

  using List = std::vector<NxRef<NxWorkOutput>>;
  using Level = std::vector<List>;
  std::vector<Level> levels_;
};

TEST(WorkOutputTable, DoesAsItsNaiveTwin) {
  const std::string modes[] = {"", "fast", "deep", "far"};
  for (unsigned seed = 1; seed <= 4000; ++seed) {
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    const auto upTo = [&random](int last) {
      return std::uniform_int_distribution<int>(0, last)(random);
    };
    NxWorkOutputTable table;
    NaiveTable twin;
    // Mostly few long lists; now and then so many that finding one takes several steps.
    const int maxLevel = seed % 100 == 0 ? 3000 : upTo(1) * upTo(40);
    int lists = 0;
    bool sequential = false;
    int appendShare = 50;
    for (int step = 0; step < 150; ++step) {
      if (upTo(9) == 0) appendShare = upTo(100);
      if (upTo(19) == 0) table.SetSequential(sequential = upTo(1) == 0);
      if (step == 0 ? upTo(9) != 0 : upTo(49) == 0) {
        table.SetAllWorkModesCount(lists = upTo(4) - 1);
      }
      const std::string& workMode = modes[upTo(3)];
      if (upTo(99) < appendShare) {
        const NxRef<NxWorkOutput> work = upTo(9) != 0 ? Work(workMode) : nullptr;
        const int level = upTo(maxLevel) - (upTo(19) == 0 ? 1 : 0);
        const int mode = upTo(3) - (upTo(19) == 0 ? 1 : 0);
        table.AppendNextWorkOutput(level, mode, work);
        twin.Append(level, mode, static_cast<std::size_t>(std::max(lists, 0)), work);
      } else {
        const std::string asked = upTo(19) == 0 ? "fas" : upTo(1) == 0 ? "" : workMode;
        ASSERT_EQ(table.GetNextTopPriorityWorkOutput(asked), twin.Take(asked, sequential)) << step;
      }
      ASSERT_EQ(table.HasNextWorkOutput(), twin.HasWork()) << step;
    }
  }
}

TEST(WorkOutputTable, LooksAtTwoSlotsForATakeWhateverWasTakenBefore) {
  NxWorkOutputTable table;
  table.SetAllWorkModesCount(1);
  for (int i = 0; i < 9000; ++i) table.AppendNextWorkOutput(0, 0, Work(i / 3000 == 1 ? "b" : "a"));
  for (int i = 0; i < 6000; ++i) {
    const std::string asked = i < 2500 ? "a" : i < 5000 ? "b" : "";
    if (asked.empty()) table.AppendNextWorkOutput(0, 0, Work("a"));
    EXPECT_NE(table.GetNextTopPriorityWorkOutput(asked), nullptr);
  }
  EXPECT_LE(table.GetVisitedSlotCount(), 2 * 6000);
}

TEST(WorkOutputTable, HandsEachWorkToOneThread) {
  constexpr int kThreads = 4;
  constexpr int kAppendsPerThread = 2000;
  NxWorkOutputTable table;
  table.SetAllWorkModesCount(kThreads);
  std::atomic<int> missing{kThreads * kAppendsPerThread};
  testing::RunTogether(kThreads, [&](int thread) {
    for (int i = 0; i < kAppendsPerThread || missing > 0; ++i) {
      if (i < kAppendsPerThread) table.AppendNextWorkOutput(i % 3, thread, Work("a"));
      const NxRef<NxWorkOutput> work = table.GetNextTopPriorityWorkOutput(i % 2 == 0 ? "a" : "");
      if (!work) continue;
      EXPECT_TRUE(work->EndWork()) << "taken twice";
      --missing;
    }
  });
  EXPECT_EQ(missing, 0);
  EXPECT_FALSE(table.HasNextWorkOutput());
}

}  // namespace
}  // namespace velmora
