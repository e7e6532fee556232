// What the row kernels have in common. Read once for each set of vector instructions, after
// simd_kernels.h.
//
// A vector is a row of lanes of 16 bytes. Most instructions stay inside their lane, so a kernel is
// written for one lane, which has 16 neighbouring pixels, and holds for vectors of any size:
// LoadLanes fetches what each lane needs, StoreLanes3 puts the colours of all lanes in sequence.

#if defined(VELMORA_KERNEL_PIECES_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef HWY_TARGET_TOGGLE
#undef VELMORA_KERNEL_PIECES_INL_H
#else
#define VELMORA_KERNEL_PIECES_INL_H
#endif

#include <hwy/cache_control.h>

#include <cstddef>
#include <cstdint>

HWY_BEFORE_NAMESPACE();
namespace velmora::internal {
namespace HWY_NAMESPACE {
#if VELMORA_HAS_KERNELS

namespace hn = hwy::HWY_NAMESPACE;

constexpr int kLane = 16;  // bytes, and pixels that a lane converts at a time

template <class D>
constexpr std::ptrdiff_t Size(D d) {  // of a vector, in bytes
  return static_cast<std::ptrdiff_t>(hn::MaxLanes(d) * sizeof(hn::TFromD<D>));
}

// ---- lanes ----

// The 16 bytes at bytes + i * step for each lane i.
template <class D>
HWY_INLINE hn::VFromD<D> LoadLanes(D d, const std::uint8_t* bytes, std::ptrdiff_t step) {
  if constexpr (Size(d) == kLane) {
    return hn::LoadU(d, bytes);
  } else {
    const hn::Half<D> half;
    return hn::Combine(d, LoadLanes(half, bytes + Size(half) / kLane * step, step),
                       LoadLanes(half, bytes, step));
  }
}

// Writes the three vectors lane by lane: first, second, third of lane 0, then those of lane 1.
template <class D, class V>
HWY_INLINE void StoreLanes3(D d, V first, V second, V third, std::uint8_t* target) {
  if constexpr (Size(d) == kLane) {
    hn::StoreU(first, d, target);
    hn::StoreU(second, d, target + kLane);
    hn::StoreU(third, d, target + 2 * kLane);
  } else if constexpr (Size(d) == 2 * kLane) {
    hn::StoreU(hn::ConcatLowerLower(d, second, first), d, target);
    hn::StoreU(hn::ConcatUpperLower(d, first, third), d, target + 2 * kLane);
    hn::StoreU(hn::ConcatUpperUpper(d, third, second), d, target + 4 * kLane);
  } else {
    const hn::Half<D> half;
    StoreLanes3(half, hn::LowerHalf(half, first), hn::LowerHalf(half, second),
                hn::LowerHalf(half, third), target);
    StoreLanes3(half, hn::UpperHalf(half, first), hn::UpperHalf(half, second),
                hn::UpperHalf(half, third), target + 3 * Size(half));
  }
}

// Words to bytes, saturated: in each lane 8 of `low`, then 8 of `high`. (Highway 1.0.3 narrows one
// vector only.)
HWY_INLINE hn::Vec128<std::uint8_t> PackLanes(hn::Vec128<std::int16_t> low,
                                              hn::Vec128<std::int16_t> high) {
  return hn::Vec128<std::uint8_t>{_mm_packus_epi16(low.raw, high.raw)};
}
#if HWY_TARGET != HWY_SSSE3
HWY_INLINE hn::Vec256<std::uint8_t> PackLanes(hn::Vec256<std::int16_t> low,
                                              hn::Vec256<std::int16_t> high) {
  return hn::Vec256<std::uint8_t>{_mm256_packus_epi16(low.raw, high.raw)};
}
#endif
#if HWY_TARGET == HWY_AVX3_DL
HWY_INLINE hn::Vec512<std::uint8_t> PackLanes(hn::Vec512<std::int16_t> low,
                                              hn::Vec512<std::int16_t> high) {
  return hn::Vec512<std::uint8_t>{_mm512_packus_epi16(low.raw, high.raw)};
}
#endif

// ---- colours ----

#if HWY_TARGET != HWY_SSSE3
// The byte j of the colours of 16 pixels is element j / 3 of channel j % 3. The three vectors that
// hold these 48 bytes take a channel's elements at different places, so one shuffle of the channel
// serves them all; then each place has its byte in the right vector of three.
struct ColourShuffles {
  alignas(16) std::uint8_t fromChannel[3][kLane] = {};
  // [v][j]: whether byte j of vector v is of channel 0, and of channel 1.
  alignas(16) std::uint8_t isFirst[3][kLane] = {}, isSecond[3][kLane] = {};

  constexpr ColourShuffles() {
    for (int j = 0; j < 3 * kLane; ++j) {
      fromChannel[j % 3][j % kLane] = static_cast<std::uint8_t>(j / 3);
      isFirst[j / kLane][j % kLane] = j % 3 == 0 ? 0xFF : 0;
      isSecond[j / kLane][j % kLane] = j % 3 == 1 ? 0xFF : 0;
    }
  }
};
inline constexpr ColourShuffles kColourShuffles;
#endif

// Writes blue[0], green[0], red[0], blue[1] and so on: as many pixels as a vector has bytes.
template <class D, class V>
HWY_INLINE void StoreColours(D d, V blue, V green, V red, std::uint8_t* target) {
#if HWY_TARGET == HWY_SSSE3  // blends take three instructions there
  hn::StoreInterleaved3(blue, green, red, d, target);
#else
  const auto channel = [d](int i)
                           HWY_ATTR { return hn::LoadDup128(d, kColourShuffles.fromChannel[i]); };
  const V b = hn::TableLookupBytes(blue, channel(0));
  const V g = hn::TableLookupBytes(green, channel(1));
  const V r = hn::TableLookupBytes(red, channel(2));
  const auto vector = [&](int i) HWY_ATTR {
    const auto isFirst = hn::MaskFromVec(hn::LoadDup128(d, kColourShuffles.isFirst[i]));
    const auto isSecond = hn::MaskFromVec(hn::LoadDup128(d, kColourShuffles.isSecond[i]));
    return hn::IfThenElse(isFirst, b, hn::IfThenElse(isSecond, g, r));
  };
  StoreLanes3(d, vector(0), vector(1), vector(2), target);
#endif
}

// ---- rows ----

// Fetches what the loop reads in a few blocks: 1 KiB ahead.
template <std::ptrdiff_t kBytes>
HWY_INLINE void PrefetchAhead(const std::uint8_t* source) {
  for (std::ptrdiff_t i = 0; i < kBytes; i += 64) hwy::Prefetch(source + 1024 + i);
}

// Converts a row of at least so many pixels as a vector of D has bytes, with
//   kernel.Convert(d, source, target)
// for that many pixels, which are Kernel::kSourceBytes and Kernel::kTargetBytes each, and which
// touches no byte beyond. The last block overlaps the one before, so that no pixel is left over.
template <class D, class Kernel>
HWY_INLINE void ConvertBlocks(D d, const Kernel& kernel, const std::uint8_t* source,
                              std::uint8_t* target, std::ptrdiff_t width) {
  constexpr std::ptrdiff_t kPixels = Size(d);
  constexpr std::ptrdiff_t kSourceStep = kPixels * Kernel::kSourceBytes;
  constexpr std::ptrdiff_t kTargetStep = kPixels * Kernel::kTargetBytes;
  const std::uint8_t* const lastBlock = source + (width - kPixels) * Kernel::kSourceBytes;
  std::uint8_t* const lastTarget = target + (width - kPixels) * Kernel::kTargetBytes;
  for (; source < lastBlock; source += kSourceStep, target += kTargetStep) {
    PrefetchAhead<kSourceStep>(source);
    kernel.Convert(d, source, target);
  }
  kernel.Convert(d, lastBlock, lastTarget);
}

// Does the same for a row of at least 16 pixels, with the largest vectors that fit in.
template <class Kernel>
HWY_INLINE void ConvertAtLeast16(const Kernel& kernel, const std::uint8_t* source,
                                 std::uint8_t* target, std::ptrdiff_t width) {
#if HWY_TARGET == HWY_AVX3_DL
  if (width >= 64) {
    ConvertBlocks(hn::Full512<std::uint8_t>(), kernel, source, target, width);
    return;
  }
#endif
#if HWY_TARGET != HWY_SSSE3
  if (width >= 32) {
    ConvertBlocks(hn::Full256<std::uint8_t>(), kernel, source, target, width);
    return;
  }
#endif
  ConvertBlocks(hn::Full128<std::uint8_t>(), kernel, source, target, width);
}

#endif  // VELMORA_HAS_KERNELS
}  // namespace HWY_NAMESPACE
}  // namespace velmora::internal
HWY_AFTER_NAMESPACE();

#endif  // once for each set
