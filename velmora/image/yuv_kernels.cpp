// A luminance plane and a plane of chroma pairs.
#include "velmora/image/internal/row_routines.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "velmora/image/yuv_kernels.cpp"
#include "velmora/platform/internal/simd_kernels.h"

#include "velmora/image/internal/kernel_pieces-inl.h"

HWY_BEFORE_NAMESPACE();
namespace velmora::internal {
namespace HWY_NAMESPACE {
#if VELMORA_HAS_KERNELS
namespace {

// What chroma pairs add to the luminance of their pixels; green is subtracted.
template <class V>
struct Terms {
  V blue, green, red;
};

// (byte - 128) * weight / 256, rounded down, is the upper half of a product of words: the byte,
// less 128, is in the upper byte of one, the other is the weight.
template <bool kIsUFirst, class V>
HWY_INLINE Terms<V> TermsOf(V pairs) {
  const hn::DFromV<V> d16;
  const auto less128 = hn::Set(d16, std::int16_t{-0x8000});
  const V first = hn::Xor(hn::ShiftLeft<8>(pairs), less128);
  const V second = hn::Xor(hn::And(pairs, hn::Set(d16, std::int16_t{-0x100})), less128);
  const V u = kIsUFirst ? first : second;
  const V v = kIsUFirst ? second : first;
  return {hn::MulHigh(u, hn::Set(d16, std::int16_t{517})),
          hn::Add(hn::MulHigh(v, hn::Set(d16, std::int16_t{208})),
                  hn::MulHigh(u, hn::Set(d16, std::int16_t{100}))),
          hn::MulHigh(v, hn::Set(d16, std::int16_t{409}))};
}

// As many pixels as a vector of D has bytes: pixels 2k and 2k + 1 take the k-th of the terms.
template <class D, class V>
HWY_INLINE void Convert(D d, const Byte* luminance, const Terms<V>& terms, Byte* target) {
  const hn::DFromV<V> d16;
  const hn::Repartition<std::uint16_t, D> du16;
  const auto pairs =
      hn::BitCast(du16, hn::SaturatedSub(hn::LoadU(d, luminance), hn::Set(d, std::uint8_t{16})));
  const auto weight = hn::Set(du16, std::uint16_t{298});
  const V even = hn::BitCast(d16, hn::MulHigh(hn::ShiftLeft<8>(pairs), weight));
  const V odd =
      hn::BitCast(d16, hn::MulHigh(hn::And(pairs, hn::Set(du16, std::uint16_t{0xFF00})), weight));
  StoreColours<EvenPixelsFirst>(d, PackLanes(hn::Add(even, terms.blue), hn::Add(odd, terms.blue)),
                                PackLanes(hn::Sub(even, terms.green), hn::Sub(odd, terms.green)),
                                PackLanes(hn::Add(even, terms.red), hn::Add(odd, terms.red)),
                                target);
}

// Rows convert from pixel x on as many pixels as a vector of D has bytes; x is even.
template <bool kIsUFirst>
struct Row {
  const Byte *luminance, *chroma;
  Byte* target;

  template <class D>
  HWY_INLINE void ConvertAt(D d, std::ptrdiff_t x) const {
    const auto pairs = hn::BitCast(hn::Repartition<std::int16_t, D>(), hn::LoadU(d, chroma + x));
    Convert(d, luminance + x, TermsOf<kIsUFirst>(pairs), target + 3 * x);
  }
};

template <bool kIsUFirst>
struct FlatRow {
  const Byte* luminance;
  std::int16_t pair;
  Byte* target;

  template <class D>
  HWY_INLINE void ConvertAt(D d, std::ptrdiff_t x) const {
    const auto pairs = hn::Set(hn::Repartition<std::int16_t, D>(), pair);
    Convert(d, luminance + x, TermsOf<kIsUFirst>(pairs), target + 3 * x);
  }
};

// The last vector overlaps the one before.
template <class D, class Row>
HWY_INLINE void ConvertBlocks(D d, const Row& row, std::ptrdiff_t width) {
  const std::ptrdiff_t last = width - Size(d);
  for (std::ptrdiff_t x = 0; x < last; x += Size(d)) row.ConvertAt(d, x);
  row.ConvertAt(d, last);
}

// An even width of at least 16.
template <class Row>
HWY_INLINE void ConvertRow(const Row& row, std::ptrdiff_t width) {
#if HWY_TARGET == HWY_AVX3_DL
  if (width >= 64) {
    ConvertBlocks(hn::Full512<std::uint8_t>(), row, width);
    return;
  }
#endif
#if HWY_TARGET != HWY_SSSE3
  if (width >= 32) {
    ConvertBlocks(hn::Full256<std::uint8_t>(), row, width);
    return;
  }
#endif
  ConvertBlocks(hn::Full128<std::uint8_t>(), row, width);
}

template <bool kIsUFirst>
void YuvToColour(const Byte* luminance, const Byte* chroma, Byte* target, int width) {
  const YuvRowRoutine plain = kPlainRowRoutines.yuvToColour[kIsUFirst ? 1 : 0];
  if (width < kLane) {
    plain(luminance, chroma, target, width);
    return;
  }
  const std::ptrdiff_t even = width - width % 2;
  ConvertRow(Row<kIsUFirst>{luminance, chroma, target}, even);
  if (width % 2 != 0) plain(luminance + even, chroma + even, target + 3 * even, 1);
}

template <bool kIsUFirst>
void FlatYuvToColour(const Byte* luminance, const Byte* pair, Byte* target, int width) {
  if (width < kLane) {
    kPlainRowRoutines.yuvFlatToColour[kIsUFirst ? 1 : 0](luminance, pair, target, width);
  } else {
    const auto word = static_cast<std::int16_t>(pair[0] | pair[1] << 8);
    ConvertRow(FlatRow<kIsUFirst>{luminance, word, target}, width);
  }
}

}  // namespace

void AddYuvKernelsOfSet(RowRoutines& routines) {
  routines.yuvToColour = {YuvToColour<false>, YuvToColour<true>};
  routines.yuvFlatToColour = {FlatYuvToColour<false>, FlatYuvToColour<true>};
}

#endif  // VELMORA_HAS_KERNELS
}  // namespace HWY_NAMESPACE
}  // namespace velmora::internal
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace velmora::internal {

void AddYuvKernels(platform::SimdSet set, RowRoutines& routines) {
  VELMORA_CALL_KERNELS(set, AddYuvKernelsOfSet(routines));
}

}  // namespace velmora::internal
#endif  // HWY_ONCE
