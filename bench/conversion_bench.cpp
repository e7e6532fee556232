// Pixel conversions beside memcpy of the same traffic (the limit) and the peers, on one thread.
//   conversion_bench [WIDTHxHEIGHT]          1920x1080 if no size is given
//   conversion_bench fresh [WIDTHxHEIGHT]
// The conversions make their result image in each call, as for a stream of frames, in memory that
// the heap has had before; the others write to one buffer. With "fresh" the kernel maps the memory
// of each result anew, page by page.

#include <benchmark/benchmark.h>
#include <malloc.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <opencv2/core.hpp>
#include <string>
#include <utility>
#include <vector>

#include "bench/conversion_contenders.h"

namespace velmora::bench {
namespace {

int width = 1920;
int height = 1080;

std::size_t PixelCount() {
  return static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
}

// One frame per depth for all contenders: they read the same memory.
PeerFrame& SharedFrame(int bits) {
  static std::map<int, std::unique_ptr<PeerFrame>> frames;
  std::unique_ptr<PeerFrame>& frame = frames[bits];
  if (frame == nullptr) frame = std::make_unique<PeerFrame>(width, height, bits);
  return *frame;
}

void RunVelmora(benchmark::State& state, const Conversion& conversion, const Frame& frame) {
  basic_structures::ConvertData data = conversion.Describe(frame);
  for (auto _ : state) benchmark::DoNotOptimize(conversion.Run(data)->GetBytes());
}

// Reads and writes together as many bytes as the conversion.
void RunMemcpy(benchmark::State& state, std::size_t traffic) {
  static std::vector<Byte> from(PixelCount() * 6, 1), to(PixelCount() * 6, 2);
  for (auto _ : state) {
    std::memcpy(to.data(), from.data(), traffic / 2);
    benchmark::DoNotOptimize(to.data());
    benchmark::ClobberMemory();
  }
}

// Reads as many bytes as it writes: nothing else can be the limit of a result in fresh pages.
void RunMemcpyToFreshPages(benchmark::State& state, std::size_t resultSize) {
  static std::vector<Byte> from(resultSize, 1);
  for (auto _ : state) {
    const std::unique_ptr<void, void (*)(void*)> to(std::malloc(resultSize), &std::free);
    std::memcpy(to.get(), from.data(), resultSize);
    benchmark::DoNotOptimize(to.get());
    benchmark::ClobberMemory();
  }
}

void RunPeer(benchmark::State& state, const Convert& convert, PeerFrame& frame) {
  for (auto _ : state) {
    convert(frame);
    benchmark::DoNotOptimize(frame.target.data());
    benchmark::ClobberMemory();
  }
}

// Registers "row/contender".
template <typename Run>
void Add(const std::string& row, const char* contender, Run run) {
  benchmark::RegisterBenchmark((row + '/' + contender).c_str(), [=](benchmark::State& state) {
    run(state);
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(PixelCount()));
    state.SetLabel("pixel");
  });
}

void Register(const Conversion& conversion, const std::vector<Peer>& peers) {
  const int depth = conversion.Depth();
  const std::size_t sourceBits = conversion.Has(kYuv) ? 12 : static_cast<std::size_t>(depth);
  const std::size_t resultSize = PixelCount() * static_cast<std::size_t>(conversion.channels);
  const std::size_t traffic = PixelCount() * sourceBits / 8 + resultSize;
  const auto velmora = [=](benchmark::State& state) {
    RunVelmora(state, conversion, SharedFrame(depth));
  };
  Add(conversion.name, "velmora", velmora);
  Add(conversion.name, "memcpy", [=](benchmark::State& s) { RunMemcpy(s, traffic); });
  for (const Peer& peer : peers) {
    Add(conversion.name, peer.name,
        [=](benchmark::State& state) { RunPeer(state, peer.convert, SharedFrame(depth)); });
  }
}

void RegisterFresh(const Conversion& conversion) {
  const std::string row = conversion.name + ", fresh pages";
  const std::size_t resultSize = PixelCount() * static_cast<std::size_t>(conversion.channels);
  Add(row, "velmora", [=](benchmark::State& state) {
    RunVelmora(state, conversion, SharedFrame(conversion.Depth()));
  });
  Add(row, "memcpy", [=](benchmark::State& s) { RunMemcpyToFreshPages(s, resultSize); });
}

}  // namespace
}  // namespace velmora::bench

int main(int argc, char** argv) {
  using namespace velmora::bench;
  cv::setNumThreads(1);
  benchmark::Initialize(&argc, argv);
  bool fresh = false;
  for (; argc > 1 && argv[1][0] != '-'; --argc, ++argv) {
    if (std::strcmp(argv[1], "fresh") == 0) {
      fresh = true;
    } else if (std::sscanf(argv[1], "%dx%d", &width, &height) != 2) {
      std::fprintf(stderr, "%s is no WIDTHxHEIGHT\n", argv[1]);
      return 1;
    }
  }
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  // Large blocks: the heap takes each from the kernel and gives it back, or keeps it.
  mallopt(M_MMAP_THRESHOLD, fresh ? 64 << 10 : 32 << 20);
  mallopt(M_TRIM_THRESHOLD, 1 << 30);

  auto peers = Peers();
  for (const Conversion& conversion : Conversions()) {
    if (!fresh) {
      Register(conversion, peers[conversion.name]);
    } else if (conversion.name == "BGR -> grey" || conversion.name == "RGBA -> colour") {
      RegisterFresh(conversion);
    }
    peers.erase(conversion.name);
  }
  if (!peers.empty()) {
    std::fprintf(stderr, "no conversion is called %s\n", peers.begin()->first.c_str());
    return 1;
  }
  benchmark::RunSpecifiedBenchmarks();
}
