// What one work item costs: taken from a table, registered, run with an empty work object, finished
// with an empty result, signalled, and freed. Beside it, oneTBB runs an empty task.
#include <benchmark/benchmark.h>
#include <tbb/task_arena.h>
#include <tbb/task_group.h>

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

#define VELMORA_SIZES            \
  ArgNames({"items", "threads"}) \
      ->Args({1'000, 1})         \
      ->Args({100'000, 1})       \
      ->Args({1'000'000, 1})     \
      ->Args({100'000, 2})       \
      ->MeasureProcessCPUTime()  \
      ->UseRealTime()            \
      ->Unit(benchmark::kMicrosecond)

BENCHMARK(RunEngineItems)->VELMORA_SIZES;
BENCHMARK(RunTbbTasks)->VELMORA_SIZES;

}  // namespace
}  // namespace velmora
