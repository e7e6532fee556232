// Pixel conversions beside memcpy of the same traffic (the limit) and the peers, on one thread. A
// first argument WIDTHxHEIGHT sets the size, otherwise 1920x1080.
//
// The conversions make their result image in each call, as for a stream of frames, in memory that
// the heap has had before; the others write to one buffer. In the rows "..., fresh pages" all make
// their result in memory that the kernel maps for it, page by page.

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

// Whether the heap takes each large block from the kernel and gives it back, or keeps it.
void UseFreshPages(bool fresh) {
  constexpr int kLargest = 32 << 20;  // the heap keeps no larger block
  mallopt(M_MMAP_THRESHOLD, fresh ? 64 << 10 : kLargest);
  mallopt(M_TRIM_THRESHOLD, 1 << 30);
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
void Add(const std::string& row, const char* contender, bool freshPages, Run run) {
  benchmark::RegisterBenchmark((row + '/' + contender).c_str(), [=](benchmark::State& state) {
    UseFreshPages(freshPages);
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
  Add(conversion.name, "velmora", false, velmora);
  Add(conversion.name, "memcpy", false, [=](benchmark::State& s) { RunMemcpy(s, traffic); });
  for (const Peer& peer : peers) {
    Add(conversion.name, peer.name, false,
        [=](benchmark::State& state) { RunPeer(state, peer.convert, SharedFrame(depth)); });
  }
  if (conversion.name != "BGR -> grey" && conversion.name != "RGBA -> colour") return;
  const std::string row = conversion.name + ", fresh pages";
  Add(row, "velmora", true, velmora);
  Add(row, "memcpy", true, [=](benchmark::State& s) { RunMemcpyToFreshPages(s, resultSize); });
}

}  // namespace
}  // namespace velmora::bench

int main(int argc, char** argv) {
  using namespace velmora::bench;
  cv::setNumThreads(1);
  benchmark::Initialize(&argc, argv);
  if (argc > 1 && std::sscanf(argv[1], "%dx%d", &width, &height) == 2) {
    argv[1] = argv[0];
    --argc, ++argv;
  }
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  auto peers = Peers();
  for (const Conversion& conversion : Conversions()) {
    Register(conversion, peers[conversion.name]);
    peers.erase(conversion.name);
  }
  if (!peers.empty()) {
    std::fprintf(stderr, "no conversion is called %s\n", peers.begin()->first.c_str());
    return 1;
  }
  benchmark::RunSpecifiedBenchmarks();
}
