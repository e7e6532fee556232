// Copying and destroying references: NxRef beside boost::intrusive_ptr with an atomic counter, and
// a raw pointer as the floor.

#include <benchmark/benchmark.h>

#include <boost/smart_ptr/intrusive_ptr.hpp>
#include <boost/smart_ptr/intrusive_ref_counter.hpp>
#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "velmora/foundation/object_base.h"
#include "velmora/foundation/ref.h"

namespace {

class OurNode : public velmora::NxObjectBase {};

class BoostNode : public boost::intrusive_ref_counter<BoostNode, boost::thread_safe_counter> {
 public:
  virtual ~BoostNode() = default;
};

// Nobody counts it, nobody deletes it: a few hundred kilobytes until the program ends.
class PlainNode {
 public:
  virtual ~PlainNode() = default;
};

// References in random order on their objects, so that no cache line is flattered.
template <typename Ref, typename Node>
std::vector<Ref> MakeRefs(std::size_t count) {
  std::vector<Ref> objects;
  objects.reserve(count);
  for (std::size_t i = 0; i < count; ++i) objects.emplace_back(new Node);
  std::vector<Ref> refs;
  refs.reserve(count);
  std::mt19937 random(1);
  for (std::size_t i = 0; i < count; ++i) refs.push_back(objects[random() % count]);
  return refs;
}

// A copy of each reference that dies at once.
template <typename Ref, typename Node>
void CopyAndDestroy(benchmark::State& state) {
  const auto refs = MakeRefs<Ref, Node>(static_cast<std::size_t>(state.range(0)));
  for (auto _ : state) {
    for (const Ref& ref : refs) {
      Ref copy(ref);
      benchmark::DoNotOptimize(copy);
    }
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

// A list copied and dropped whole, as lists of results are.
template <typename Ref, typename Node>
void CopyAndDestroyList(benchmark::State& state) {
  const auto refs = MakeRefs<Ref, Node>(static_cast<std::size_t>(state.range(0)));
  std::vector<Ref> copy;
  copy.reserve(refs.size());
  for (auto _ : state) {
    copy.assign(refs.begin(), refs.end());
    benchmark::DoNotOptimize(copy.data());
    copy.clear();
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

using OurRef = velmora::NxRef<OurNode>;
using BoostRef = boost::intrusive_ptr<BoostNode>;
using RawPointer = PlainNode*;

void Register(const char* size, std::int64_t count) {
  const auto add = [=](const char* row, const char* contender, void (*run)(benchmark::State&)) {
    const std::string name = std::string(row) + ", " + size + '/' + contender;
    benchmark::RegisterBenchmark(name.c_str(), run)->Arg(count);
  };
  add("copy and drop", "velmora", CopyAndDestroy<OurRef, OurNode>);
  add("copy and drop", "raw pointer", CopyAndDestroy<RawPointer, PlainNode>);
  add("copy and drop", "Boost", CopyAndDestroy<BoostRef, BoostNode>);
  add("copy and drop a list", "velmora", CopyAndDestroyList<OurRef, OurNode>);
  add("copy and drop a list", "raw pointer", CopyAndDestroyList<RawPointer, PlainNode>);
  add("copy and drop a list", "Boost", CopyAndDestroyList<BoostRef, BoostNode>);
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  Register("of 16", 16);
  Register("of 4096", 4096);
  benchmark::RunSpecifiedBenchmarks();
}
