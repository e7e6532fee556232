// Words of three channels: 565 and 555.
#include "velmora/image/internal/row_routines.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "velmora/image/word_kernels.cpp"
#include "velmora/platform/internal/simd_kernels.h"

#include "velmora/image/internal/kernel_pieces-inl.h"

HWY_BEFORE_NAMESPACE();
namespace velmora::internal {
namespace HWY_NAMESPACE {
#if VELMORA_HAS_KERNELS
namespace {

// A channel: the bits of kMask in the upper byte of a word shifted to the left.
template <int kLeftShift, std::uint8_t kMask>
struct Channel {
  static constexpr std::uint8_t kBits = kMask;

  template <class V>
  static HWY_INLINE V InUpperByte(V words) {
    const hn::DFromV<V> d16;
    return hn::And(hn::ShiftLeft<kLeftShift>(words), hn::Set(d16, kMask * 256));
  }

  // Of two vectors of words, in the order of their pixels.
  template <class D, class V>
  static HWY_INLINE hn::VFromD<D> Bytes(D d, V first, V second) {
    const auto upper = hn::ConcatOdd(d, hn::BitCast(d, hn::ShiftLeft<kLeftShift>(second)),
                                     hn::BitCast(d, hn::ShiftLeft<kLeftShift>(first)));
    return hn::And(upper, hn::Set(d, kMask));
  }
};

struct Word565 {
  static constexpr int kRedShift = 0;
  using Red = Channel<kRedShift, 0xF8>;
  using Green = Channel<5, 0xFC>;
  using Blue = Channel<11, 0xF8>;
};

struct Word555 {
  static constexpr int kRedShift = 1;
  using Red = Channel<kRedShift, 0xF8>;
  using Green = Channel<6, 0xF8>;
  using Blue = Channel<11, 0xF8>;
};

// For each word kUpper times its upper byte plus kLower times its lower one, as signed words.
// Highway 1.0.3 has no such function; without it, in four products of words more, 565 to luminance
// takes 1.2 times as long with AVX2 and 1.3 times with SSSE3 (1920x1080, AMD Zen 5, g++ 12).
template <int kUpper, int kLower, class V>
HWY_INLINE V SumOfBytes(V words) {
  const auto weights = hn::Set(hn::DFromV<V>(), static_cast<std::uint16_t>(kUpper * 256 + kLower));
  static_assert(-128 <= kUpper && kUpper < 128 && 0 <= kLower && kLower < 128);
  if constexpr (sizeof(V) == kLane) {
    return V{_mm_maddubs_epi16(words.raw, weights.raw)};
#if HWY_TARGET != HWY_SSSE3
  } else if constexpr (sizeof(V) == 2 * kLane) {
    return V{_mm256_maddubs_epi16(words.raw, weights.raw)};
#endif
#if HWY_TARGET == HWY_AVX3_DL
  } else {
    return V{_mm512_maddubs_epi16(words.raw, weights.raw)};
#endif
  }
}

// The luminance of each word, exactly, in 16 bits. 65536 times the luminance is
//   19562 R + 38550 G + 7424 B = 257 (106 R + 150 G) + 256 (29 B - 30 R)
// of whose first part no more than 128ths of the luminance are needed: the second is a whole number
// of them.
template <class Word, class V>
HWY_INLINE V LuminanceOf(V words) {
  const hn::DFromV<V> d16;
  // The upper byte is R, the lower one B / kBlueUnit.
  constexpr int kBlueMask = 0x1F << Word::kRedShift, kBlueUnit = 8 >> Word::kRedShift;
  const auto redAndBlue =
      hn::And(hn::ShiftLeft<Word::kRedShift>(words), hn::Set(d16, 0xF800 + kBlueMask));
  const auto green150 = hn::MulHigh(Word::Green::InUpperByte(words), hn::Set(d16, 150 * 256));
  const auto first = hn::Add(SumOfBytes<106, 0>(redAndBlue), green150);
  const auto second = SumOfBytes<-30 / 2, 29 * kBlueUnit / 2>(redAndBlue);
  return hn::ShiftRight<7>(hn::Add(hn::MulHigh(first, hn::Set(d16, 257 * 128)), second));
}

template <class Word>
struct Luminances {
  static constexpr int kSourceBytes = 2, kTargetBytes = 1;

  template <class D>
  HWY_INLINE void Convert(D d, const Byte* source, Byte* target) const {
    const hn::Repartition<std::uint16_t, D> du16;
    const hn::Repartition<std::int16_t, D> d16;
    if constexpr (Size(d) == 4 * kLane) {  // shuffles bytes across lanes in one instruction
      const auto first = LuminanceOf<Word>(hn::BitCast(du16, hn::LoadU(d, source)));
      const auto second = LuminanceOf<Word>(hn::BitCast(du16, hn::LoadU(d, source + Size(d))));
      hn::StoreU(hn::ConcatEven(d, hn::BitCast(d, second), hn::BitCast(d, first)), d, target);
    } else {
      const auto first = hn::BitCast(du16, LoadLanes(d, source, 2 * kLane));
      const auto second = hn::BitCast(du16, LoadLanes(d, source + kLane, 2 * kLane));
      hn::StoreU(PackLanes(hn::BitCast(d16, LuminanceOf<Word>(first)),
                           hn::BitCast(d16, LuminanceOf<Word>(second))),
                 d, target);
    }
  }
};

template <class Channel>
struct OneChannel {
  static constexpr int kSourceBytes = 2, kTargetBytes = 1;

  template <class D>
  HWY_INLINE void Convert(D d, const Byte* source, Byte* target) const {
    const hn::Repartition<std::uint16_t, D> du16;
    const auto first = hn::BitCast(du16, hn::LoadU(d, source));
    const auto second = hn::BitCast(du16, hn::LoadU(d, source + Size(d)));
    hn::StoreU(Channel::Bytes(d, first, second), d, target);
  }
};

#if HWY_TARGET == HWY_AVX3_DL
// Where each byte of the colours of 64 pixels comes from, in three vectors: the words of the pixels
// that have a part in 8 bytes, at most four, are brought there, each byte picks its 8 bits of them,
// and those that are not of the channel are cleared. Highway 1.0.3 has no such choice of bits; with
// vectors of blue, green and red instead, 565 to colour takes 1.2 times as long (1920x1080, AMD Zen
// 5, g++ 12).
template <class Word>
struct WideWordColours {
  // The word at which the 32 that a vector takes from begin.
  static constexpr int StartOf(int vector) { return kLane * vector; }

  alignas(64) std::uint16_t words[3][32] = {};
  alignas(64) std::uint8_t bits[3][64] = {}, mask[3][64] = {};

  constexpr WideWordColours() {
    constexpr int kShift[3] = {-3, 3 - Word::kRedShift, 8 - Word::kRedShift};
    constexpr std::uint8_t kMask[3] = {Word::Blue::kBits, Word::Green::kBits, Word::Red::kBits};
    for (int j = 0; j < 3 * 64; ++j) {
      const int first = j / 8 * 8 / 3;  // of the pixels in these 8 bytes
      bits[j / 64][j % 64] =
          static_cast<std::uint8_t>((16 * (j / 3 - first) + kShift[j % 3] + 64) % 64);
      mask[j / 64][j % 64] = kMask[j % 3];
    }
    for (int i = 0; i < 3 * 32; ++i) {
      const int pixel = i / 4 * 8 / 3 + i % 4 - StartOf(i / 32);
      words[i / 32][i % 32] = static_cast<std::uint16_t>(pixel < 32 ? pixel : 31);
    }
  }
};
template <class Word>
inline constexpr WideWordColours<Word> kWideWordColours;
#endif

template <class Word>
struct Colours {
  static constexpr int kSourceBytes = 2, kTargetBytes = 3;

  template <class D>
  HWY_INLINE void Convert(D d, const Byte* source, Byte* target) const {
    const hn::Repartition<std::uint16_t, D> du16;
#if HWY_TARGET == HWY_AVX3_DL
    if constexpr (Size(d) == 4 * kLane) {
      StoreVector<0>(d, source, target);
      StoreVector<1>(d, source, target);
      StoreVector<2>(d, source, target);
      return;
    }
#endif
    // Words of which the upper byte begins with red.
    const auto load = [&](int index) HWY_ATTR {
      const auto words = LoadLanes(d, source + kLane * index, 2 * kLane);
      return hn::ShiftLeft<Word::kRedShift>(hn::BitCast(du16, words));
    };
    const auto first = load(0), second = load(1);
    // Their lower and their upper bytes.
    alignas(16) static constexpr std::uint8_t kApart[kLane] = {0, 2, 4, 6, 8, 10, 12, 14,
                                                               1, 3, 5, 7, 9, 11, 13, 15};
    const hn::Repartition<std::uint64_t, D> d64;
    const auto apart = [&](auto words) HWY_ATTR {
      return hn::BitCast(d64,
                         hn::TableLookupBytes(hn::BitCast(d, words), hn::LoadDup128(d, kApart)));
    };
    const auto a = apart(first), b = apart(second);
    const auto lower = hn::BitCast(du16, hn::InterleaveLower(d64, a, b));
    const auto upper = hn::BitCast(d, hn::InterleaveUpper(d64, a, b));
    const auto bits = [d](std::uint8_t mask) HWY_ATTR { return hn::Set(d, mask); };
    const auto green = [&](auto words) HWY_ATTR {
      const auto mask = hn::Set(du16, std::uint16_t{Word::Green::kBits});
      return hn::BitCast(hn::Repartition<std::int16_t, D>(),
                         hn::And(hn::ShiftRight<3>(words), mask));
    };
    const auto blue = hn::BitCast(d, hn::ShiftLeft<3 - Word::kRedShift>(lower));
    StoreColours(d, hn::And(blue, bits(Word::Blue::kBits)), PackLanes(green(first), green(second)),
                 hn::And(upper, bits(Word::Red::kBits)), target);
  }

#if HWY_TARGET == HWY_AVX3_DL
 private:
  template <int kVector, class D>
  static HWY_INLINE void StoreVector(D d, const Byte* source, Byte* target) {
    constexpr const auto& kFrom = kWideWordColours<Word>;
    const hn::Repartition<std::uint16_t, D> du16;
    const auto near = hn::LoadU(d, source + 2 * kFrom.StartOf(kVector));
    const __m512i words =
        _mm512_permutexvar_epi16(hn::Load(du16, kFrom.words[kVector]).raw, near.raw);
    const __m512i picked =
        _mm512_multishift_epi64_epi8(hn::Load(d, kFrom.bits[kVector]).raw, words);
    hn::StoreU(hn::And(hn::VFromD<D>{picked}, hn::Load(d, kFrom.mask[kVector])), d,
               target + 64 * kVector);
  }
#endif
};

template <class Kernel>
void ConvertWords(const Byte* source, Byte* target, int width, const Byte*) {
  ConvertAtLeast16(Kernel(), source, target, width);
}

// In the order of GreyKind.
template <class Word>
constexpr std::array<RowRoutine, kGreyKindCount> kToGrey = {
    ConvertWords<Luminances<Word>>, ConvertWords<OneChannel<typename Word::Red>>,
    ConvertWords<OneChannel<typename Word::Green>>, ConvertWords<OneChannel<typename Word::Blue>>};

}  // namespace

void AddWordKernelsOfSet(RowRoutines& routines) {
  constexpr auto k565 = static_cast<std::size_t>(SourceLayout::Rgb565);
  constexpr auto k555 = static_cast<std::size_t>(SourceLayout::Rgb555);
  routines.toGrey[k565] = kToGrey<Word565>;
  routines.toGrey[k555] = kToGrey<Word555>;
  routines.toColour[k565] = ConvertWords<Colours<Word565>>;
  routines.toColour[k555] = ConvertWords<Colours<Word555>>;
}

#endif  // VELMORA_HAS_KERNELS
}  // namespace HWY_NAMESPACE
}  // namespace velmora::internal
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace velmora::internal {

void AddWordKernels(platform::SimdSet set, RowRoutines& routines) {
  VELMORA_CALL_KERNELS(set, AddWordKernelsOfSet(routines));
}

}  // namespace velmora::internal
#endif  // HWY_ONCE
