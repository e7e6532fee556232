#include "velmora/platform/internal/simd.h"

#include "velmora/platform/internal/highway_targets.h"

#include <hwy/targets.h>

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <string_view>

namespace velmora::platform {
namespace {

SimdSet BestSet() {
#if HWY_ARCH_X86
  const auto supported = hwy::SupportedTargets() & HWY_TARGETS;
  if ((supported & HWY_AVX3_DL) != 0) return SimdSet::Avx512;
  if ((supported & HWY_AVX2) != 0) return SimdSet::Avx2;
  if ((supported & HWY_SSSE3) != 0) return SimdSet::Ssse3;
#endif
  return SimdSet::Plain;
}

SimdSet SetNamed(std::string_view name, SimdSet otherwise) {
  constexpr std::string_view kNames[] = {"plain", "ssse3", "avx2", "avx512"};
  for (std::size_t i = 0; i < std::size(kNames); ++i) {
    if (name == kNames[i]) return static_cast<SimdSet>(i);
  }
  return otherwise;
}

SimdSet ChooseSet() {
  const SimdSet best = BestSet();
  const char* const name = std::getenv("VELMORA_SIMD");  // NOLINT(concurrency-mt-unsafe): only read
  return name == nullptr ? best : std::min(SetNamed(name, best), best);
}

}  // namespace

SimdSet ChosenSimdSet() noexcept {
  static const SimdSet set = ChooseSet();
  return set;
}

}  // namespace velmora::platform
