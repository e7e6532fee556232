// What one work item costs: taken from a table, registered, run with an empty work object, finished
// with an empty result, signalled, and freed. Beside it, oneTBB runs an empty task. At the end a
// table: what both cost at each size, and how much an item costs more among a million than among a
// thousand.
#include <benchmark/benchmark.h>
#include <tbb/task_arena.h>
#include <tbb/task_group.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/barrier.h"
#include "velmora/engine/data_manager_pool.h"
#include "velmora/engine/task_output.h"
#include "velmora/engine/work_item.h"
#include "velmora/engine/work_object_base.h"
#include "velmora/engine/work_output.h"
#include "velmora/engine/work_output_table.h"
#include "velmora/foundation/semaphore.h"
#include "velmora/region/region_object.h"
#include "velmora/region/source_image_object.h"

namespace velmora {
namespace {

class EmptyWork : public Nx_WorkObjectBase {
 public:
  int Work(ExecutableWorkItem* item, NxSemaphore* /*semaphore*/) override {
    item->SetWorkFinished();
    return 0;
  }
  int AppendWorkOutputs(NxTaskOutput* /*taskOutput*/, int /*priorityLevel*/) override { return 0; }
};

struct Engine {
  Engine() {
    work->SetManagerPool(&managers);
    region->SetSourceImageObject(new NxSourceImageObject(nullptr, 1, 1000));
    region->SetTargetROIDefName("page");
    region->SetRegionHashId("BKDR_1");
    task = new NxTaskOutput(region, region, "read", TT_ATOMIC_0, false, 1);
  }

  // A table of its own for each round: it keeps the length of the lists.
  NxRef<NxWorkOutputTable> FillTable(std::int64_t count) {
    NxRef<NxWorkOutputTable> table = new NxWorkOutputTable;
    table->SetAllWorkModesCount(1);
    for (std::int64_t i = 0; i < count; ++i) {
      table->AppendNextWorkOutput(
          0, 0,
          new NxWorkOutput(task.get(), task->GetSectionCache(), region, region, "read", TT_ATOMIC_0,
                           work.get(), "fast"));
    }
    return table;
  }

  void Drain(const NxRef<NxWorkOutputTable>& table) {
    while (true) {
      const NxRef<RtrThreadWorkItemBase> item = new ResolvableWorkItem(table, &semaphore, 0);
      item->Process(nullptr);
      if (!static_cast<ResolvableWorkItem&>(*item).GetCurrentItem()) return;
      item->FinishWork();
    }
  }

  NxDataManagerPool managers;
  NxSemaphore semaphore{0};
  NxRef<EmptyWork> work = new EmptyWork;
  NxRef<NxRegionObject> region = new NxRegionObject;
  NxRef<NxTaskOutput> task;
};

void RunEngineItems(benchmark::State& state) {
  const std::int64_t count = state.range(0);
  const auto threads = static_cast<int>(state.range(1));
  Engine engine;
  std::int64_t visited = 0;
  for (auto _ : state) {
    state.PauseTiming();
    const NxRef<NxWorkOutputTable> table = engine.FillTable(count);
    state.ResumeTiming();
    if (threads == 1) {
      engine.Drain(table);
    } else {
      testing::RunTogether(threads, [&](int) { engine.Drain(table); });
    }
    state.PauseTiming();
    visited += table->GetVisitedSlotCount();
    state.ResumeTiming();
  }
  const std::int64_t items = state.iterations() * count;
  if (engine.semaphore.GetValue() != static_cast<std::int32_t>(items)) state.SkipWithError("lost");
  state.SetItemsProcessed(items);
  state.counters["slots/take"] = static_cast<double>(visited) / static_cast<double>(items);
  state.counters["s/item"] = benchmark::Counter(
      static_cast<double>(items), benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void RunTbbTasks(benchmark::State& state) {
  const std::int64_t count = state.range(0);
  tbb::task_arena arena(static_cast<int>(state.range(1)));
  for (auto _ : state) {
    arena.execute([count] {
      tbb::task_group group;
      for (std::int64_t i = 0; i < count; ++i) group.run([] {});
      group.wait();
    });
  }
  const std::int64_t items = state.iterations() * count;
  state.SetItemsProcessed(items);
  state.counters["s/item"] = benchmark::Counter(
      static_cast<double>(items), benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

constexpr const char* kShortest = "shortest";

double Shortest(const std::vector<double>& times) {
  return *std::min_element(times.begin(), times.end());
}

#define VELMORA_SIZES                          \
  ArgNames({"items", "threads"})               \
      ->Args({1'000, 1})                       \
      ->Args({100'000, 1})                     \
      ->Args({1'000'000, 1})                   \
      ->Args({100'000, 2})                     \
      ->MeasureProcessCPUTime()                \
      ->UseRealTime()                          \
      ->ComputeStatistics(kShortest, Shortest) \
      ->Unit(benchmark::kMicrosecond)

BENCHMARK(RunEngineItems)->VELMORA_SIZES;
BENCHMARK(RunTbbTasks)->VELMORA_SIZES;

// Collects the shortest CPU time, of all threads together, of all repetitions: longer ones measure
// the neighbours, too.
class RatioReporter : public benchmark::ConsoleReporter {
 public:
  using ConsoleReporter::ConsoleReporter;

  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) {
      if (run.run_type == Run::RT_Aggregate && run.aggregate_name != kShortest) continue;
      long items = 0;
      int threads = 0;
      if (std::sscanf(run.run_name.args.c_str(), "items:%ld/threads:%d", &items, &threads) != 2) {
        continue;
      }
      const double ns = run.GetAdjustedCPUTime() * 1000 / static_cast<double>(items);
      Row& row = rows_[{threads, items}];
      double& best = run.run_name.function_name == "RunTbbTasks" ? row.tbb : row.velmora;
      best = best == 0 ? ns : std::min(best, ns);
      const auto slots = run.counters.find("slots/take");
      if (slots != run.counters.end()) row.slotsPerTake = slots->second;
    }
  }

  void PrintRatios() {
    std::printf("ratios: shortest CPU time an item, in ns\n%8s %8s %8s %8s %8s %11s\n", "items",
                "threads", "velmora", "oneTBB", "ratio", "slots/take");
    for (const auto& [key, row] : rows_) {
      std::printf("%8ld %8d %8.0f %8.0f %8.2f %11.4f\n", key.second, key.first, row.velmora,
                  row.tbb, row.velmora / row.tbb, row.slotsPerTake);
    }
    const Row& few = rows_[{1, 1'000}];
    const Row& many = rows_[{1, 1'000'000}];
    std::printf("growth from 1,000 to 1,000,000 items: velmora %.2f, oneTBB %.2f\n",
                many.velmora / few.velmora, many.tbb / few.tbb);
  }

 private:
  struct Row {
    double velmora = 0;
    double tbb = 0;
    double slotsPerTake = 0;
  };

  std::map<std::pair<int, long>, Row> rows_;  // by threads and items
};

}  // namespace
}  // namespace velmora

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  velmora::RatioReporter reporter(benchmark::ConsoleReporter::OO_Tabular);
  benchmark::RunSpecifiedBenchmarks(&reporter);
  reporter.PrintRatios();
}
