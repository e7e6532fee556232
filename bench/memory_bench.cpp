// What it costs that a result lies in memory that the process has just got from the system: frames
// of 1920x1080 converted into fresh pages, which the kernel maps and clears on the first touch, and
// into a block that the heap has had before. "Touch" is the memory alone: a block of the size of a
// colour frame, allocated as a result is, one byte written in each page, and freed.

#include <benchmark/benchmark.h>
#include <malloc.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "velmora/foundation/core_module.h"
#include "velmora/image/pixel_conversion.h"

namespace velmora {
namespace {

using basic_structures::CCoreModule;
using basic_structures::CImageData;
using basic_structures::ColourChannelUsageType;
using basic_structures::ConvertData;

constexpr int kWidth = 1920;
constexpr int kHeight = 1080;
constexpr std::size_t kPage = 4096;

// Large blocks come from the system with each allocation and go back to it, or they stay in the
// heap.
void ChooseMemory(benchmark::State& state) {
  const bool isFresh = state.range(0) != 0;
  constexpr int kNever = 1 << 30;
  mallopt(M_MMAP_THRESHOLD, isFresh ? 64 * 1024 : kNever);
  mallopt(M_MMAP_MAX, isFresh ? 65536 : 0);
  mallopt(M_TRIM_THRESHOLD, kNever);
  malloc_trim(0);  // what the heap still has would be used before the system's
  state.SetLabel(isFresh ? "fresh pages" : "reused");
}

void Touch(benchmark::State& state) {
  ChooseMemory(state);
  constexpr std::uint32_t kSize = kWidth * kHeight * 3;
  for (auto _ : state) {
    unsigned char* const block = CCoreModule::AllocateBytes(kSize);
    for (std::size_t i = 0; i < kSize; i += kPage) block[i] = 1;
    benchmark::DoNotOptimize(block);
    CCoreModule::FreeBytes(block);
  }
}

void Convert(benchmark::State& state, int bits, bool isYuv, CImageData* (*convert)(ConvertData*)) {
  ChooseMemory(state);
  const int stride = isYuv ? kWidth : kWidth * bits / 8;
  const std::vector<unsigned char> source(static_cast<std::size_t>(stride) * kHeight * 3 / 2, 100);
  ConvertData data(source.data(), kWidth, kHeight, stride, bits, 0, 0, false, false, isYuv, isYuv,
                   static_cast<ColourChannelUsageType>(0));
  for (auto _ : state) {
    const std::unique_ptr<CImageData> image(convert(&data));
    benchmark::DoNotOptimize(image->GetBytes());
  }
}

BENCHMARK(Touch)->ArgName("fresh")->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Convert, bgr_to_grey, 24, false, Nx_ConvertToGrayscale)
    ->ArgName("fresh")
    ->Arg(0)
    ->Arg(1)
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Convert, bgra_to_colour, 32, false, Nx_ConvertToRGB)
    ->ArgName("fresh")
    ->Arg(0)
    ->Arg(1)
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Convert, nv12_to_colour, 24, true, Nx_ConvertToRGB)
    ->ArgName("fresh")
    ->Arg(0)
    ->Arg(1)
    ->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace velmora
