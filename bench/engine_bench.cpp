// What one work item costs: taken from a table, registered, run with an empty work object, finished
// with an empty result, signalled, and freed. Beside it, oneTBB runs an empty task. Items that work
// for two microseconds tell how much of a second thread the engine leaves to the work. At the end a
// table: what both cost at each size, how much an item costs more among a million than among a
// thousand, and how many more items of two microseconds two threads get done.
#include <benchmark/benchmark.h>
#include <tbb/task_arena.h>
#include <tbb/task_group.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <map>
#include <string>
#include <thread>
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

using Clock = std::chrono::steady_clock;

// Works for a while, without memory.
class TimedWork : public Nx_WorkObjectBase {
 public:
  explicit TimedWork(std::chrono::nanoseconds length) : length_(length) {}

  int Work(ExecutableWorkItem* item, NxSemaphore* /*semaphore*/) override {
    if (length_.count() != 0) {
      const Clock::time_point end = Clock::now() + length_;
      while (Clock::now() < end) {
      }
    }
    item->SetWorkFinished();
    return 0;
  }
  int AppendWorkOutputs(NxTaskOutput* /*taskOutput*/, int /*priorityLevel*/) override { return 0; }

 private:
  const std::chrono::nanoseconds length_;
};

struct Engine {
  explicit Engine(std::chrono::nanoseconds length) : work(new TimedWork(length)) {
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

  // Not inlined: a profiler collects what runs in here.
  [[gnu::noinline]] void Drain(const NxRef<NxWorkOutputTable>& table) {
    while (true) {
      const NxRef<ResolvableWorkItem> item = MakeRef<ResolvableWorkItem>(table, &semaphore, 0U);
      item->Process(nullptr);
      if (!item->GetCurrentItem()) return;
      item->FinishWork();
    }
  }

  NxDataManagerPool managers;
  // Apart from what the threads only read.
  alignas(64) NxSemaphore semaphore{0};
  alignas(64) NxRef<TimedWork> work;
  NxRef<NxRegionObject> region = new NxRegionObject;
  NxRef<NxTaskOutput> task;
};

void Run(benchmark::State& state, std::chrono::nanoseconds length) {
  const std::int64_t count = state.range(0);
  const auto threads = static_cast<int>(state.range(1));
  Engine engine(length);
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

void RunEngineItems(benchmark::State& state) {
  Run(state, {});
}

void RunTwoMicrosecondItems(benchmark::State& state) {
  Run(state, std::chrono::microseconds(2));
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

#define VELMORA_TIMES                          \
  MeasureProcessCPUTime()                      \
      ->UseRealTime()                          \
      ->ComputeStatistics(kShortest, Shortest) \
      ->Unit(benchmark::kMicrosecond)          \
      ->ArgNames({"items", "threads"})
#define VELMORA_SIZES \
  VELMORA_TIMES->Args({1'000, 1})->Args({100'000, 1})->Args({1'000'000, 1})->Args({100'000, 2})

BENCHMARK(RunEngineItems)->VELMORA_SIZES;
BENCHMARK(RunTwoMicrosecondItems)->VELMORA_TIMES->Args({20'000, 1})->Args({20'000, 2});
BENCHMARK(RunTbbTasks)->VELMORA_SIZES;

// An item in a process that never had a second thread: there the C library takes locks and memory
// without interlocked operations. In ns, the shortest of several rounds.
double TimeItemsAlone(std::int64_t count) {
  Engine engine{{}};
  double shortest = 0;
  for (int round = 0; round < 10; ++round) {
    const NxRef<NxWorkOutputTable> table = engine.FillTable(count);
    const Clock::time_point start = Clock::now();
    engine.Drain(table);
    const std::chrono::duration<double, std::nano> time = Clock::now() - start;
    const double ns = time.count() / static_cast<double>(count);
    shortest = round == 0 ? ns : std::min(shortest, ns);
  }
  return shortest;
}

// Collects the shortest times of all repetitions: longer ones measure the neighbours, too.
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
      const double cpu = run.GetAdjustedCPUTime() * 1000 / static_cast<double>(items);
      const double wall = run.GetAdjustedRealTime() * 1000 / static_cast<double>(items);
      const std::string& name = run.run_name.function_name;
      if (name == "RunTwoMicrosecondItems") {
        Lower(twoMicroseconds_[threads], wall);
        continue;
      }
      Row& row = rows_[{threads, items}];
      Lower(name == "RunTbbTasks" ? row.tbb : row.velmora, cpu);
      Lower(name == "RunTbbTasks" ? row.tbbWall : row.velmoraWall, wall);
      const auto slots = run.counters.find("slots/take");
      if (slots != run.counters.end()) row.slotsPerTake = slots->second;
    }
  }

  void PrintRatios(const std::map<std::int64_t, double>& alone) {
    std::printf("ratios: shortest time per item, in ns\n%8s %8s %12s %12s %12s %12s %6s %11s\n",
                "items", "threads", "velmora wall", "oneTBB wall", "velmora CPU", "oneTBB CPU",
                "ratio", "slots/take");
    for (const auto& [items, ns] : alone) {
      std::printf("%8ld %8s %12.0f\n", static_cast<long>(items), "1 alone", ns);
    }
    for (const auto& [key, row] : rows_) {
      std::printf("%8ld %8d %12.0f %12.0f %12.0f %12.0f %6.2f %11.4f\n", key.second, key.first,
                  row.velmoraWall, row.tbbWall, row.velmora, row.tbb, row.velmora / row.tbb,
                  row.slotsPerTake);
    }
    const Row& few = rows_[{1, 1'000}];
    const Row& many = rows_[{1, 1'000'000}];
    std::printf("growth from 1,000 to 1,000,000 items: velmora %.2f, oneTBB %.2f\n",
                many.velmora / few.velmora, many.tbb / few.tbb);
    const double one = twoMicroseconds_[1];
    const double two = twoMicroseconds_[2];
    std::printf("items of 2 us: %.0f ns wall each with one thread, %.0f with two, %.2f times\n",
                one, two, one / two);
  }

 private:
  struct Row {
    double velmora = 0;
    double velmoraWall = 0;
    double tbb = 0;
    double tbbWall = 0;
    double slotsPerTake = 0;
  };

  static void Lower(double& best, double ns) { best = best == 0 ? ns : std::min(best, ns); }

  std::map<std::pair<int, long>, Row> rows_;  // by threads and items
  std::map<int, double> twoMicroseconds_;     // by threads
};

}  // namespace
}  // namespace velmora

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  std::map<std::int64_t, double> alone;
  for (const std::int64_t items : {1'000, 100'000}) alone[items] = velmora::TimeItemsAlone(items);
  // Whatever is measured first, it finds a process with several threads, as items do in a pool.
  std::thread([] {}).join();
  velmora::RatioReporter reporter(benchmark::ConsoleReporter::OO_Tabular);
  benchmark::RunSpecifiedBenchmarks(&reporter);
  reporter.PrintRatios(alone);
}
