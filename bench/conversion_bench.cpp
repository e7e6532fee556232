// Pixel conversions beside memcpy of the same traffic, a naive loop, libyuv and OpenCV on one
// thread. The conversions make their result image in each call, as for a stream of frames, in
// memory that the heap has had before; the others write to one buffer. At the end a table of
// ratios: how many times faster than the conversion a peer is (above 1: the peer wins). Where a
// peer rounds differently (libyuv's full-range grey, other YUV constants), its work is of the same
// kind and size.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <functional>
#include <map>
#include <memory>
#include <opencv2/core.hpp>
#include <string>
#include <utility>
#include <vector>

#include "bench/conversion_contenders.h"
#include "velmora/image/pixel_conversion.h"

namespace velmora::bench {
namespace {

using basic_structures::CImageData;
using basic_structures::ColourChannelUsageType;
using basic_structures::ConvertData;

constexpr Size kSizes[] = {
    {"128x96", 128, 96}, {"1920x1080", 1920, 1080}, {"3840x2160", 3840, 2160}};

constexpr const char* kShortest = "shortest";

void RunVelmora(benchmark::State& state, const Conversion& conversion, Frame& frame) {
  const auto has = [&](Flag flag) { return (conversion.flags & flag) != 0; };
  ConvertData data(frame.source.data(), frame.width, frame.height, frame.stride, conversion.bits, 0,
                   0, false, has(k565), has(kReversed), has(kYuv),
                   static_cast<ColourChannelUsageType>(conversion.usage));
  if (has(kPalette)) data.palette.assign(frame.palette, frame.palette + sizeof(frame.palette));
  const auto convert = [&] {
    const std::unique_ptr<CImageData> image(conversion.channels == 1 ? Nx_ConvertToGrayscale(&data)
                                                                     : Nx_ConvertToRGB(&data));
    benchmark::DoNotOptimize(image->GetBytes());
  };
  // From the third on the heap gives the result memory that it has already; before, the kernel maps
  // it page by page, for 3840x2160 in colour in longer than the conversion takes.
  for (int i = 0; i < 2; ++i) convert();
  for (auto _ : state) convert();
}

// Reads and writes together as many bytes as the conversion.
void RunMemcpy(benchmark::State& state, std::size_t traffic) {
  std::vector<Byte> from(traffic / 2, 1), to(traffic / 2, 2);
  for (auto _ : state) {
    std::memcpy(to.data(), from.data(), from.size());
    benchmark::DoNotOptimize(to.data());
    benchmark::ClobberMemory();
  }
}

double Shortest(const std::vector<double>& times) {
  return *std::min_element(times.begin(), times.end());
}

// Names are "conversion/size/who".
void Register(const Conversion& conversion, const Size& size) {
  const bool isYuv = (conversion.flags & kYuv) != 0;
  const int bits = isYuv ? 8 : conversion.bits;
  const auto pixels = static_cast<std::size_t>(size.width) * static_cast<std::size_t>(size.height);
  const std::size_t traffic = pixels * static_cast<std::size_t>(isYuv ? 12 : bits) / 8 +
                              pixels * static_cast<std::size_t>(conversion.channels);
  const auto add = [&](const char* who, std::function<void(benchmark::State&)> run) {
    const std::string name = std::string(conversion.name) + '/' + size.name + '/' + who;
    benchmark::RegisterBenchmark(
        name.c_str(),
        [run, traffic](benchmark::State& state) {
          run(state);
          state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(traffic));
        })
        ->MinTime(0.03)  // there are hundreds of them
        ->ComputeStatistics(kShortest, Shortest);
  };
  add("velmora", [=](benchmark::State& state) {
    Frame frame(size, bits);
    RunVelmora(state, conversion, frame);
  });
  add("memcpy", [=](benchmark::State& state) { RunMemcpy(state, traffic); });
  const std::pair<const char*, std::function<void(Frame&)>> peers[] = {
      {"naive", conversion.naive}, {"libyuv", conversion.libyuv}, {"opencv", conversion.opencv}};
  for (const auto& [who, convert] : peers) {
    if (!convert) continue;
    add(who, [=, run = convert](benchmark::State& state) {
      Frame frame(size, bits);
      for (auto _ : state) {
        run(frame);
        benchmark::DoNotOptimize(frame.target.data());
        benchmark::ClobberMemory();
      }
    });
  }
}

// Collects the shortest time of all repetitions (longer ones measure the neighbours, too) and
// prints them beside each other.
class RatioReporter : public benchmark::ConsoleReporter {
 public:
  using ConsoleReporter::ConsoleReporter;

  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) {
      if (run.run_type == Run::RT_Aggregate && run.aggregate_name != kShortest) continue;
      const std::string& name = run.run_name.function_name;
      const std::size_t who = name.rfind('/');
      double& time = times_[name.substr(0, who)][name.substr(who + 1)];
      time = time == 0 ? run.GetAdjustedCPUTime() : std::min(time, run.GetAdjustedCPUTime());
    }
  }

  void PrintRatios() {
    std::printf("ratios: how many times faster than velmora, shortest CPU times\n%-32s %12s",
                "conversion/size", "velmora ns");
    for (const char* peer : kPeers) std::printf(" %8s", peer);
    std::printf("\n");
    for (auto& [row, times] : times_) {
      std::printf("%-32s %12.0f", row.c_str(), times["velmora"]);
      for (const char* peer : kPeers) {
        times.count(peer) != 0 ? std::printf(" %8.2f", times["velmora"] / times[peer])
                               : std::printf(" %8s", "-");
      }
      std::printf("\n");
    }
  }

 private:
  static constexpr const char* kPeers[] = {"memcpy", "naive", "libyuv", "opencv"};

  std::map<std::string, std::map<std::string, double>> times_;
};

}  // namespace
}  // namespace velmora::bench

int main(int argc, char** argv) {
  using namespace velmora::bench;
  cv::setNumThreads(1);
  for (const Conversion& conversion : Conversions()) {
    for (const Size& size : kSizes) Register(conversion, size);
  }
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  RatioReporter reporter(benchmark::ConsoleReporter::OO_Tabular);
  benchmark::RunSpecifiedBenchmarks(&reporter);
  reporter.PrintRatios();
}
