#include "velmora/engine/work_output_table.h"

#include <gtest/gtest.h>

#include <atomic>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "tests/engine/engine_objects.h"
#include "tests/support/barrier.h"

namespace velmora {
namespace {

using testing::MakeRegion;
using testing::MakeWorkOutput;

NxRef<NxWorkOutput> Work(const std::string& mode) {
  static const NxRef<NxRegionObject> region = MakeRegion("page");
  return MakeWorkOutput(region, mode);
}

// Appends one work output a letter, whose work mode is that letter, to list 0 of level 0.
void Append(NxWorkOutputTable& table, const std::string& modes) {
  for (const char mode : modes) table.AppendNextWorkOutput(0, 0, Work({mode}));
}

// The work modes of `count` takes; "." where there was nothing to take.
std::string Take(NxWorkOutputTable& table, int count, const std::string& filter = {}) {
  std::string taken;
  for (int i = 0; i < count; ++i) {
    const NxRef<NxWorkOutput> work = table.GetNextTopPriorityWorkOutput(filter);
    taken += work ? work->GetWorkMode() : ".";
  }
  return taken;
}

TEST(WorkOutputTable, AlternatesBetweenTheEndsOfWhatTheListHasBecome) {
  NxWorkOutputTable table;
  table.SetAllWorkModesCount(1);
  Append(table, "abcde");
  EXPECT_EQ(Take(table, 2), "ae");
  Append(table, "f");  // a b c d e f: the far end is f now, and the middle has moved
  EXPECT_EQ(Take(table, 5), "fbcd.");
  Append(table, "ghijkl");  // twelve slots, the first half of them empty
  EXPECT_EQ(Take(table, 7), "lkjihg.");
  EXPECT_FALSE(table.HasNextWorkOutput());

  Append(table, "mnopq");
  table.SetSequential(true);
  EXPECT_EQ(Take(table, 2), "mn");
  table.SetSequential(false);
  EXPECT_EQ(Take(table, 3), "qpo");
}

TEST(WorkOutputTable, FiltersByExactWorkMode) {
  NxWorkOutputTable table;
  table.SetAllWorkModesCount(1);
  Append(table, "abab");
  EXPECT_EQ(Take(table, 1, "c"), ".");
  EXPECT_EQ(Take(table, 1, "ab"), ".");
  EXPECT_EQ(Take(table, 3, "b"), "bb.");
  EXPECT_TRUE(table.HasNextWorkOutput());
  EXPECT_EQ(Take(table, 3), "aa.");
}

TEST(WorkOutputTable, CreatesLevelsAndIgnoresWhatIsOutsideThem) {
  NxWorkOutputTable table;
  table.AppendNextWorkOutput(0, 0, Work("lost"));  // level 0 has no lists for ever
  table.SetAllWorkModesCount(2);
  table.AppendNextWorkOutput(-1, 0, Work("lost"));
  table.AppendNextWorkOutput(1, 2, Work("lost"));
  table.AppendNextWorkOutput(1, -1, Work("lost"));
  table.AppendNextWorkOutput(0, 0, Work("lost"));
  table.AppendNextWorkOutput(1, 0, nullptr);
  EXPECT_FALSE(table.HasNextWorkOutput());
  table.AppendNextWorkOutput(3, 0, Work("d"));
  table.AppendNextWorkOutput(2, 1, Work("c"));
  table.AppendNextWorkOutput(2, 0, Work("b"));
  table.SetAllWorkModesCount(-1);
  table.AppendNextWorkOutput(1, 1, Work("a"));
  EXPECT_EQ(Take(table, 5), "abcd.");
}

// What dies with a refused work output may ask the table in its destructor.
TEST(WorkOutputTable, ReleasesWhatItRefusesOutsideItsLock) {
  class Asking : public NxWorkOutput {
   public:
    Asking(NxWorkOutputTable* table, const NxRef<NxRegionObject>& region)
        : NxWorkOutput(nullptr, nullptr, region, region, "task", TT_ATOMIC_0, nullptr, ""),
          table_(table) {}
    ~Asking() override { EXPECT_FALSE(table_->HasNextWorkOutput()); }

   private:
    NxWorkOutputTable* table_;
  };
  NxWorkOutputTable table;
  table.AppendNextWorkOutput(0, 0, new Asking(&table, MakeRegion("page")));
}

// The rule itself, with every slot of every list looked at in order.
class NaiveTable {
 public:
  void Append(int level, int mode, std::size_t listsPerLevel, const NxRef<NxWorkOutput>& work) {
    while (static_cast<int>(levels_.size()) <= level) levels_.emplace_back(listsPerLevel);
    if (level < 0 || mode < 0) return;
    Level& lists = levels_[static_cast<std::size_t>(level)];
    if (static_cast<std::size_t>(mode) < lists.size()) {
      lists[static_cast<std::size_t>(mode)].push_back(work);
    }
  }

  NxRef<NxWorkOutput> Take(const std::string& workMode, bool sequential) {
    for (Level& level : levels_) {
      for (List& list : level) {
        const std::size_t n = list.size();
        for (std::size_t k = 0; k < n; ++k) {
          NxRef<NxWorkOutput>& slot = list[sequential ? k : k % 2 == 0 ? k / 2 : n - 1 - k / 2];
          if (slot && (workMode.empty() || slot->GetWorkMode() == workMode)) {
            return std::move(slot);
          }
        }
      }
    }
    return nullptr;
  }

  bool HasWork() const {
    for (const Level& level : levels_) {
      for (const List& list : level) {
        for (const NxRef<NxWorkOutput>& slot : list) {
          if (slot) return true;
        }
      }
    }
    return false;
  }

 private:
  using List = std::vector<NxRef<NxWorkOutput>>;
  using Level = std::vector<List>;
  std::vector<Level> levels_;
};

TEST(WorkOutputTable, DoesAsItsNaiveTwin) {
  const std::vector<std::string> modes = {"", "fast", "deep", "far"};
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
    int lists = upTo(3);
    table.SetAllWorkModesCount(lists);
    bool sequential = false;
    int appendShare = 50;
    for (int step = 0; step < 150; ++step) {
      if (upTo(9) == 0) appendShare = upTo(100);
      if (upTo(19) == 0) table.SetSequential(sequential = upTo(1) == 0);
      if (upTo(49) == 0) table.SetAllWorkModesCount(lists = upTo(3));
      if (upTo(99) < appendShare) {
        NxRef<NxWorkOutput> work;
        if (upTo(9) != 0) work = Work(modes[static_cast<std::size_t>(upTo(3))]);
        const int level = upTo(maxLevel) - (upTo(19) == 0 ? 1 : 0);
        const int mode = upTo(3) - (upTo(19) == 0 ? 1 : 0);
        table.AppendNextWorkOutput(level, mode, work);
        twin.Append(level, mode, static_cast<std::size_t>(lists), work);
      } else {
        const std::string filter = upTo(1) == 0 ? "" : modes[static_cast<std::size_t>(upTo(3))];
        const std::string asked = upTo(19) == 0 ? "none" : filter;
        ASSERT_EQ(table.GetNextTopPriorityWorkOutput(asked), twin.Take(asked, sequential)) << step;
      }
      ASSERT_EQ(table.HasNextWorkOutput(), twin.HasWork()) << step;
    }
  }
}

TEST(WorkOutputTable, LooksAtTwoSlotsForATakeWhateverWasTakenBefore) {
  NxWorkOutputTable table;
  table.SetAllWorkModesCount(1);
  Append(table, std::string(3000, 'a') + std::string(3000, 'b') + std::string(3000, 'a'));
  int takes = 0;
  for (const char* filter : {"a", "b"}) {
    for (int i = 0; i < 2500; ++i, ++takes) EXPECT_EQ(Take(table, 1, filter), filter);
  }
  for (int i = 0; i < 1000; ++i, ++takes) {
    Append(table, "a");
    EXPECT_NE(Take(table, 1), ".");
  }
  EXPECT_LE(table.GetVisitedSlotCount(), 2 * takes);
}

TEST(WorkOutputTable, HandsEachWorkToOneThread) {
  constexpr int kThreads = 4;
  constexpr int kAppendsPerThread = 2000;
  NxWorkOutputTable table;
  table.SetAllWorkModesCount(kThreads);
  std::vector<std::vector<NxRef<NxWorkOutput>>> taken(kThreads);
  std::atomic<int> missing{kThreads * kAppendsPerThread};
  testing::RunTogether(kThreads, [&](int thread) {
    for (int i = 0; i < kAppendsPerThread || missing > 0; ++i) {
      if (i < kAppendsPerThread) table.AppendNextWorkOutput(i % 3, thread, Work("a"));
      NxRef<NxWorkOutput> work = table.GetNextTopPriorityWorkOutput(i % 2 == 0 ? "a" : "");
      if (!work) continue;
      taken[static_cast<std::size_t>(thread)].push_back(std::move(work));
      --missing;
    }
  });
  std::set<const NxWorkOutput*> all;
  for (const auto& own : taken) {
    for (const NxRef<NxWorkOutput>& work : own) all.insert(work.get());
  }
  EXPECT_EQ(all.size(), static_cast<std::size_t>(kThreads * kAppendsPerThread));
  EXPECT_EQ(missing, 0);
  EXPECT_FALSE(table.HasNextWorkOutput());
}

}  // namespace
}  // namespace velmora
