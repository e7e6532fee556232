// Which vector instructions the library computes with.
#pragma once

#include <cstdint>

namespace velmora::platform {

// From the least to the most capable. Kernels are compiled for each of them but the first, and one
// set is used throughout a process.
enum class SimdSet : std::uint8_t {
  Plain,   // none beyond those that the compiler was told of
  Ssse3,   // 16 bytes
  Avx2,    // 32 bytes, with BMI and FMA
  Avx512,  // 64 bytes: F, BW, CD, DQ, VL with VBMI, as of Ice Lake and Zen 4; 64-bit builds only
};

// The most capable set that processor, system and build have; or the less capable one that the
// environment variable VELMORA_SIMD names: plain, ssse3, avx2, avx512. Any other value, and a set
// that is not there, is ignored. Decided by the first call; safe from any thread.
SimdSet ChosenSimdSet() noexcept;

}  // namespace velmora::platform
