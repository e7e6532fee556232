// Runs what must stay fast, case by case. Below callgrind, which writes a part of its output for
// each case, instructions are counted; otherwise it prints the shortest of several times in
// nanoseconds.
//   bench_cases kernels    conversions and Base64, which depend on VELMORA_SIMD
//   bench_cases widths     conversions, "name/width" for widths of 1 to 200
//   bench_cases others     references, the log, areas, work items; below callgrind only
#if VELMORA_HAS_CALLGRIND
#include <valgrind/callgrind.h>
#else
#define RUNNING_ON_VALGRIND 0
#define CALLGRIND_TOGGLE_COLLECT
#define CALLGRIND_DUMP_STATS_AT(name) static_cast<void>(name)
#endif

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "bench/conversions.h"
#include "velmora/engine/data_manager_pool.h"
#include "velmora/engine/task_output.h"
#include "velmora/engine/work_item.h"
#include "velmora/engine/work_object_base.h"
#include "velmora/engine/work_output.h"
#include "velmora/engine/work_output_table.h"
#include "velmora/foundation/ref.h"
#include "velmora/foundation/semaphore.h"
#include "velmora/geometry/nx_quad.h"
#include "velmora/geometry/quadrilateral.h"
#include "velmora/log/log.h"
#include "velmora/region/region_object.h"
#include "velmora/region/source_image_object.h"
#include "velmora/util/base64.h"

namespace velmora::bench {
namespace {

// In batches of many runs, as the clock may be coarse.
template <typename Run>
double ShortestTime(Run run) {
  using Clock = std::chrono::steady_clock;
  double shortest = 1e9;
  int runs = 1;
  for (int batch = 0; batch < 5;) {
    const auto start = Clock::now();
    for (int i = 0; i < runs; ++i) run();
    const std::chrono::duration<double, std::nano> time = Clock::now() - start;
    if (time.count() < 20'000) {
      runs *= 2;
    } else {
      shortest = std::min(shortest, time.count() / runs);
      ++batch;
    }
  }
  return shortest;
}

// The first run makes tables, buffers and the addresses of functions.
template <typename Run>
void Measure(const std::string& name, Run run) {
  run();
  if (RUNNING_ON_VALGRIND == 0) {
    std::printf("%s\t%.2f\n", name.c_str(), ShortestTime(run));
    return;
  }
  CALLGRIND_TOGGLE_COLLECT;
  run();
  CALLGRIND_TOGGLE_COLLECT;
  CALLGRIND_DUMP_STATS_AT(name.c_str());
}

void MeasureConversions() {
  // Few rows: the heap of Windows takes a result of more than about 64 KiB from the kernel each
  // time, which costs more than the conversion.
  const int height = RUNNING_ON_VALGRIND != 0 ? 4 : 8;
  for (const Conversion& conversion : Conversions()) {
    const Frame frame(1920, height, conversion.Depth());
    basic_structures::ConvertData data = conversion.Describe(frame);
    Measure(conversion.name, [&] { conversion.Run(data); });
  }
}

void MeasureWidths() {
  for (const Conversion& conversion : Conversions()) {
    const Frame frame(200, 64, conversion.Depth());
    basic_structures::ConvertData data = conversion.Describe(frame);
    for (data.width = 1; data.width <= frame.width; ++data.width) {
      Measure(conversion.name + '/' + std::to_string(data.width), [&] { conversion.Run(data); });
    }
  }
}

void MeasureBase64() {
  for (const auto& [name, size] : {std::pair{"64 B", 64U}, {"64 KiB", 64U << 10}}) {
    std::mt19937 random(1);
    std::vector<unsigned char> bytes(size);
    for (unsigned char& byte : bytes) byte = static_cast<unsigned char>(random());
    CBase64 encoder;
    Measure(std::string("encode ") + name, [&] { encoder.Encode(bytes.data(), size); });

    const std::string clean(encoder.EncodedMessage(), (size + 2) / 3 * 4);
    std::string lines;
    for (std::size_t i = 0; i < clean.size(); i += 76) lines += clean.substr(i, 76) + "\r\n";
    for (auto [kind, text] : {std::pair{"decode ", clean}, {"decode lines ", lines}}) {
      CBase64 decoder;
      Measure(std::string(kind) + name, [&, characters = text.data(), length = text.size()] {
        decoder.Decode(reinterpret_cast<unsigned char*>(characters),
                       static_cast<unsigned long>(length));
      });
    }
  }
}

constexpr int kTimes = 1000;

class Node : public NxObjectBase {};

void MeasureReference() {
  const NxRef<Node> ref = new Node;
  Measure("1000 references copied and dropped", [&] {
    for (int i = 0; i < kTimes; ++i) {
      const NxRef<Node> copy(ref);
      asm volatile("" : : "r"(copy.get()) : "memory");
    }
  });
}

void MeasureDisabledLog() {
  Measure("1000 disabled log statements", [] {
    for (int i = 0; i < kTimes; ++i) {
      VELMORA_LOG_TEXT(9, "value %d", i);
      asm volatile("" : : : "memory");
    }
  });
}

void MeasureAreas() {
  basic_structures::CQuadrilateral quad;
  constexpr int kPoints[4][2] = {{310, 205}, {690, 240}, {655, 610}, {280, 570}};
  for (int i = 0; i < 4; ++i) quad.points[i].Set(kPoints[i][0], kPoints[i][1]);
  Measure("1000 areas of a quad", [&] {
    for (int i = 0; i < kTimes; ++i) quad.GetArea();
  });
  Measure("1000 areas of a fresh Nx_Quad", [&] {
    for (int i = 0; i < kTimes; ++i) Nx_Quad(quad.points).GetArea(-1, -1);
  });
}

class EmptyWork : public Nx_WorkObjectBase {
 public:
  int Work(ExecutableWorkItem* item, NxSemaphore* /*semaphore*/) override {
    item->SetWorkFinished();
    return 0;
  }
  int AppendWorkOutputs(NxTaskOutput* /*taskOutput*/, int /*priorityLevel*/) override { return 0; }
};

void MeasureWorkItems() {
  NxDataManagerPool managers;
  NxSemaphore semaphore(0);
  const NxRef<EmptyWork> work = new EmptyWork;
  const NxRef<NxRegionObject> region = new NxRegionObject;
  work->SetManagerPool(&managers);
  region->SetSourceImageObject(new NxSourceImageObject(nullptr, 1, 1000));
  region->SetTargetROIDefName("page");
  region->SetRegionHashId("BKDR_1");
  const NxRef<NxTaskOutput> task = new NxTaskOutput(region, region, "read", TT_ATOMIC_0, false, 1);
  const NxRef<NxWorkOutputTable> table = new NxWorkOutputTable;
  table->SetAllWorkModesCount(1);
  for (int i = 0; i < 2 * kTimes; ++i) {
    table->AppendNextWorkOutput(0, 0,
                                new NxWorkOutput(task.get(), task->GetSectionCache(), region,
                                                 region, "read", TT_ATOMIC_0, work.get(), "fast"));
  }
  Measure("1000 work items", [&] {
    for (int i = 0; i < kTimes; ++i) {
      const NxRef<RtrThreadWorkItemBase> item = new ResolvableWorkItem(table, &semaphore, 0);
      item->Process(nullptr);
      item->FinishWork();
    }
  });
}

}  // namespace
}  // namespace velmora::bench

int main(int argc, char** argv) {
  using namespace velmora::bench;
  const std::string_view mode = argc > 1 ? argv[1] : "";
  if (mode == "widths") {
    MeasureWidths();
  } else if (mode == "kernels") {
    MeasureConversions();
    MeasureBase64();
  } else if (mode == "others" && RUNNING_ON_VALGRIND != 0) {
    MeasureReference();
    MeasureDisabledLog();
    MeasureAreas();
    MeasureWorkItems();
  } else {
    std::fputs("usage: bench_cases kernels | widths | others (below callgrind only)\n", stderr);
    return 1;
  }
}
