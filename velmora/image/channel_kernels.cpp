// Whole channels: 24, 32, 48 and 64 bits for a pixel.
#include "velmora/image/internal/row_routines.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "velmora/image/channel_kernels.cpp"
#include "velmora/platform/internal/simd_kernels.h"

#include "velmora/image/internal/kernel_pieces-inl.h"

HWY_BEFORE_NAMESPACE();
namespace velmora::internal {
namespace HWY_NAMESPACE {
#if VELMORA_HAS_KERNELS

// A lane's shuffle.
struct Shuffle {
  alignas(16) std::uint8_t from[kLane];

  template <class V>
  HWY_INLINE V operator()(V v) const {
    const hn::DFromV<V> d;
    return hn::TableLookupBytes(v, hn::LoadDup128(d, from));
  }
};

constexpr std::uint8_t kZero = 0x80;  // in a shuffle: gives 0

// ---- four pixels in a lane, of the sixteen that the lane converts ----

// Where the four pixels lie in their 16 bytes: the first byte, bytes a pixel, the channels in them.
struct QuadLayout {
  int first, step, blue, green, red;

  constexpr std::uint8_t At(int pixel, int channel) const {
    return static_cast<std::uint8_t>(first + step * pixel + channel);
  }
  // Words B, R of each pixel.
  constexpr Shuffle BlueRed() const {
    Shuffle s{};
    for (int i = 0; i < 4; ++i) {
      s.from[4 * i] = At(i, blue);
      s.from[4 * i + 2] = At(i, red);
      s.from[4 * i + 1] = s.from[4 * i + 3] = kZero;
    }
    return s;
  }
  // Words G, 0 of each pixel.
  constexpr Shuffle Green() const {
    Shuffle s{};
    for (int i = 0; i < 4; ++i) {
      s.from[4 * i] = At(i, green);
      s.from[4 * i + 1] = s.from[4 * i + 2] = s.from[4 * i + 3] = kZero;
    }
    return s;
  }
};

// The weighted sum of words B, R and of words G, any; rounded down. Weights and shift are half of
// Luminance's, for the weights to fit signed words: they are even.
template <class V>
HWY_INLINE V QuadLuminance(V blueRed, V green) {
  const hn::DFromV<V> d;
  const hn::Repartition<std::int32_t, decltype(d)> d32;
  const hn::Repartition<std::int16_t, decltype(d)> d16;
  const auto blueRedWeights = hn::BitCast(d16, hn::Set(d32, 7424 / 2 + 19562 / 2 * 65536));
  const auto greenWeight = hn::BitCast(d16, hn::Set(d32, 38550 / 2));
  auto unused = hn::Zero(d32);
  const auto part = hn::ReorderWidenMulAccumulate(d32, hn::BitCast(d16, green), greenWeight,
                                                  hn::Zero(d32), unused);
  const auto sum =
      hn::ReorderWidenMulAccumulate(d32, hn::BitCast(d16, blueRed), blueRedWeights, part, unused);
  return hn::BitCast(d, hn::ShiftRight<15>(sum));
}

// The low bytes of the four 32-bit words of each lane, of four vectors.
template <class V>
HWY_INLINE V PackQuads(V a, V b, V c, V e) {
  const hn::DFromV<V> d;
  const hn::Repartition<std::int32_t, decltype(d)> d32;
  const hn::Repartition<std::int16_t, decltype(d)> d16;
  return PackLanes(hn::ReorderDemote2To(d16, hn::BitCast(d32, a), hn::BitCast(d32, b)),
                   hn::ReorderDemote2To(d16, hn::BitCast(d32, c), hn::BitCast(d32, e)));
}

template <int kBlue, int kGreen, int kRed>
struct Luminance24 {
  static constexpr int kSourceBytes = 3, kTargetBytes = 1;

  template <class D>
  HWY_INLINE hn::VFromD<D> Even(D d, const Byte* source) const {
    static constexpr QuadLayout kLayout = {0, 3, kBlue, kGreen, kRed};
    static constexpr Shuffle kBlueRed = kLayout.BlueRed(), kGreens = kLayout.Green();
    const auto v = LoadLanes(d, source, 48);
    return QuadLuminance(kBlueRed(v), kGreens(v));
  }
  // From 4 bytes before the pixels on, for the last not to reach beyond the row.
  template <class D>
  HWY_INLINE hn::VFromD<D> Odd(D d, const Byte* source) const {
    static constexpr QuadLayout kLayout = {4, 3, kBlue, kGreen, kRed};
    static constexpr Shuffle kBlueRed = kLayout.BlueRed(), kGreens = kLayout.Green();
    const auto v = LoadLanes(d, source - 4, 48);
    return QuadLuminance(kBlueRed(v), kGreens(v));
  }
  template <class D>
  HWY_INLINE void Convert(D d, const Byte* source, Byte* target) const {
    hn::StoreU(
        PackQuads(Even(d, source), Odd(d, source + 12), Even(d, source + 24), Odd(d, source + 36)),
        d, target);
  }
};

template <class Kernel, int kLayout, int kKind>
void ToGrey(const Byte* source, Byte* target, int width, const Byte* palette) {
  if (width < kLane) {
    kPlainRowRoutines.toGrey[kLayout][kKind](source, target, width, palette);
  } else {
    ConvertAtLeast16(Kernel(), source, target, width);
  }
}

void AddChannelKernelsOfSet(RowRoutines& routines) {
  constexpr int kBgr24 = static_cast<int>(SourceLayout::Bgr24);
  constexpr int kRgb24 = static_cast<int>(SourceLayout::Rgb24);
  routines.toGrey[kBgr24][0] = ToGrey<Luminance24<0, 1, 2>, kBgr24, 0>;
  routines.toGrey[kRgb24][0] = ToGrey<Luminance24<2, 1, 0>, kRgb24, 0>;
}

#endif  // VELMORA_HAS_KERNELS
}  // namespace HWY_NAMESPACE
}  // namespace velmora::internal
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace velmora::internal {

void AddChannelKernels(platform::SimdSet set, RowRoutines& routines) {
  VELMORA_CALL_KERNELS(set, AddChannelKernelsOfSet(routines));
}

}  // namespace velmora::internal
#endif  // HWY_ONCE
