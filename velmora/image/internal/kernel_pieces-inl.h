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

// Where a lane has a pixel of its 16.
struct InOrder {
  static constexpr int PlaceOf(int pixel) { return pixel; }
};
struct EvenPixelsFirst {
  static constexpr int PlaceOf(int pixel) { return pixel / 2 + pixel % 2 * (kLane / 2); }
};

// The colours of the 16 pixels of a lane: byte j is of pixel j / 3 and channel j % 3.
template <class Order>
struct ColourShuffles {
#if HWY_TARGET == HWY_SSSE3
  // [v][c]: what channel c gives to vector v of three; 0x80: nothing.
  alignas(16) std::uint8_t from[3][3][kLane] = {};

  constexpr ColourShuffles() {
    for (int j = 0; j < 9 * kLane; ++j) {
      const int v = j / kLane / 3, c = j / kLane % 3, i = v * kLane + j % kLane;
      from[v][c][j % kLane] = static_cast<std::uint8_t>(i % 3 == c ? Order::PlaceOf(i / 3) : 0x80);
    }
  }
#else
  // The three vectors take a channel's elements at different places, so one shuffle of the channel
  // serves them all; then each place has its byte in the right vector of three.
  alignas(16) std::uint8_t fromChannel[3][kLane] = {};
  // [v][j]: whether byte j of vector v is of channel 0, and of channel 1.
  alignas(16) std::uint8_t isFirst[3][kLane] = {}, isSecond[3][kLane] = {};

  constexpr ColourShuffles() {
    for (int j = 0; j < 3 * kLane; ++j) {
      fromChannel[j % 3][j % kLane] = static_cast<std::uint8_t>(Order::PlaceOf(j / 3));
      isFirst[j / kLane][j % kLane] = j % 3 == 0 ? 0xFF : 0;
      isSecond[j / kLane][j % kLane] = j % 3 == 1 ? 0xFF : 0;
    }
  }
#endif
};
template <class Order>
inline constexpr ColourShuffles<Order> kColourShuffles;

#if HWY_TARGET == HWY_AVX3_DL
// The colours of 64 pixels.
template <class Order>
struct WideColourShuffles {
  alignas(64) std::uint8_t from[3][64] = {};  // 64 and above: of the second vector, green
  std::uint64_t isRed[3] = {};

  constexpr WideColourShuffles() {
    for (int j = 0; j < 3 * 64; ++j) {
      const int pixel = j / 3;
      const int place = pixel / kLane * kLane + Order::PlaceOf(pixel % kLane);
      from[j / 64][j % 64] = static_cast<std::uint8_t>(place + (j % 3 == 1 ? 64 : 0));
      if (j % 3 == 2) isRed[j / 64] |= std::uint64_t{1} << j % 64;
    }
  }
};
template <class Order>
inline constexpr WideColourShuffles<Order> kWideColourShuffles;
#endif

// Writes blue[0], green[0], red[0], blue[1] and so on: as many pixels as a vector has bytes.
template <class Order = InOrder, class D, class V>
HWY_INLINE void StoreColours(D d, V blue, V green, V red, std::uint8_t* target) {
  constexpr const auto& kShuffles = kColourShuffles<Order>;
#if HWY_TARGET == HWY_AVX3_DL
  if constexpr (Size(d) == 64) {
    // Highway 1.0.3 has no shuffle of bytes across lanes. Without: NV12 to colour takes 1.5 times
    // as long (1920x1080, AMD Zen 5, g++ 12: 0.119 ms, with them 0.080).
    constexpr const auto& kWide = kWideColourShuffles<Order>;
    for (int v = 0; v < 3; ++v) {
      const auto from = hn::Load(d, kWide.from[v]);
      const __m512i blueGreen = _mm512_permutex2var_epi8(blue.raw, from.raw, green.raw);
      hn::StoreU(V{_mm512_mask_permutexvar_epi8(blueGreen, kWide.isRed[v], from.raw, red.raw)}, d,
                 target + 64 * v);
    }
    return;
  }
#endif
#if HWY_TARGET == HWY_SSSE3  // blends take three instructions there
  const auto part = [d](V channel, const std::uint8_t* from)
                        HWY_ATTR { return hn::TableLookupBytesOr0(channel, hn::Load(d, from)); };
  for (int v = 0; v < 3; ++v) {
    const V ofTwo = hn::Or(part(blue, kShuffles.from[v][0]), part(green, kShuffles.from[v][1]));
    hn::StoreU(hn::Or(ofTwo, part(red, kShuffles.from[v][2])), d, target + kLane * v);
  }
#else
  const auto channel = [d](int i) HWY_ATTR { return hn::LoadDup128(d, kShuffles.fromChannel[i]); };
  const V b = hn::TableLookupBytes(blue, channel(0));
  const V g = hn::TableLookupBytes(green, channel(1));
  const V r = hn::TableLookupBytes(red, channel(2));
  const auto vector = [&](int i) HWY_ATTR {
    const auto isFirst = hn::MaskFromVec(hn::LoadDup128(d, kShuffles.isFirst[i]));
    const auto isSecond = hn::MaskFromVec(hn::LoadDup128(d, kShuffles.isSecond[i]));
    return hn::IfThenElse(isFirst, b, hn::IfThenElse(isSecond, g, r));
  };
  StoreLanes3(d, vector(0), vector(1), vector(2), target);
#endif
}

// ---- rows ----

// Fetches what the loop reads in some blocks: 8 KiB ahead. With 2 KiB, RGBA 64 to colour takes
// 1.17 times as long; without, 1.06 times, and BGR to red with AVX2 1.19 times (1920x1080, AMD
// Zen 5, g++ 12).
template <std::ptrdiff_t kBytes>
HWY_INLINE void PrefetchAhead(const std::uint8_t* source) {
  for (std::ptrdiff_t i = 0; i < kBytes; i += 64) hwy::Prefetch(source + 8192 + i);
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
