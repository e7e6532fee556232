// Whole channels: 24, 32, 48 and 64 bits for a pixel.
#include "velmora/image/internal/colour_tables.h"
#include "velmora/image/internal/row_routines.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "velmora/image/channel_kernels.cpp"
#include "velmora/platform/internal/simd_kernels.h"

#include "velmora/image/internal/kernel_pieces-inl.h"

HWY_BEFORE_NAMESPACE();
namespace velmora::internal {
namespace HWY_NAMESPACE {
#if VELMORA_HAS_KERNELS

// Where the channels of a pixel are among its bytes.
struct Channels {
  int blue, green, red;

  constexpr int operator[](int i) const { return i == 0 ? blue : i == 1 ? green : red; }
};

constexpr Channels kBgr = {0, 1, 2};
constexpr Channels kRgb = {2, 1, 0};
constexpr Channels kBgrWords = {1, 3, 5};  // of words the high bytes
constexpr Channels kRgbWords = {5, 3, 1};

// ---- quads: four pixels in the 16 bytes of a lane. Four quads are the lane's 16 pixels ----

// A shuffle of each lane.
struct Shuffle {
  alignas(16) std::uint8_t from[kLane];

  template <class V>
  HWY_INLINE V operator()(V v) const {
    return hn::TableLookupBytesOr0(v, hn::LoadDup128(hn::DFromV<V>(), from));
  }
};

constexpr std::uint8_t kZero = 0x80;  // in a shuffle: gives 0

// Quads of a pixel format say how they are loaded: kStep bytes a pixel, of which the first begins
// at First(index).

struct Quads24 {
  static constexpr int kSourceBytes = 3;
  static constexpr int kStep = 3;
  static constexpr int First(int index) { return index % 2 == 0 ? 0 : 4; }

  // Odd quads are read from 4 bytes before on, so that the last does not reach beyond the row.
  template <int kIndex, class D>
  static HWY_INLINE hn::VFromD<D> Load(D d, const Byte* source) {
    return LoadLanes(d, source + 12 * kIndex - First(kIndex), 48);
  }
  template <class D>
  static HWY_INLINE hn::VFromD<D> InOrder(D, hn::VFromD<D> bytes) {
    return bytes;
  }
};

struct Quads32 {
  static constexpr int kSourceBytes = 4;
  static constexpr int kStep = 4;
  static constexpr int First(int) { return 0; }

  template <int kIndex, class D>
  static HWY_INLINE hn::VFromD<D> Load(D d, const Byte* source) {
    return LoadLanes(d, source + 16 * kIndex, 64);
  }
};

// For luminance alone: the lanes take neighbouring quads, so that no two loads are joined; the four
// results of each quad are brought in order at the end.
struct NeighbouringQuads32 : Quads32 {
  template <int kIndex, class D>
  static HWY_INLINE hn::VFromD<D> Load(D d, const Byte* source) {
    return hn::LoadU(d, source + Size(d) * kIndex);
  }
  template <class D>
  static HWY_INLINE hn::VFromD<D> InOrder(D d, hn::VFromD<D> bytes) {
    if constexpr (Size(d) == kLane) {
      return bytes;
    } else {
      const hn::Repartition<std::uint32_t, D> d32;
      alignas(32) static constexpr std::uint32_t kOrder[8] = {0, 4, 1, 5, 2, 6, 3, 7};
      const auto order = hn::SetTableIndices(d32, kOrder);
      return hn::BitCast(d, hn::TableLookupLanes(hn::BitCast(d32, bytes), order));
    }
  }
};

// Of each word the high byte.
struct Quads64 {
  static constexpr int kSourceBytes = 8;
  static constexpr int kStep = 4;
  static constexpr int First(int) { return 0; }

  template <class D>
  static HWY_INLINE auto HighBytes(D d, const Byte* source) {
    const hn::Repartition<std::uint16_t, D> d16;
    const hn::Repartition<std::int16_t, D> signed16;
    return hn::BitCast(signed16, hn::ShiftRight<8>(hn::BitCast(d16, LoadLanes(d, source, 128))));
  }
  template <int kIndex, class D>
  static HWY_INLINE hn::VFromD<D> Load(D d, const Byte* source) {
    return PackLanes(HighBytes(d, source + 32 * kIndex), HighBytes(d, source + 32 * kIndex + 16));
  }
};

// ---- luminance ----

// Products of unsigned and signed bytes, the two of a word added up. (Highway 1.0.3 lacks it.)
HWY_INLINE hn::Vec128<std::int16_t> MulPairs(hn::Vec128<std::uint8_t> a,
                                             hn::Vec128<std::int8_t> b) {
  return hn::Vec128<std::int16_t>{_mm_maddubs_epi16(a.raw, b.raw)};
}
#if HWY_TARGET != HWY_SSSE3
HWY_INLINE hn::Vec256<std::int16_t> MulPairs(hn::Vec256<std::uint8_t> a,
                                             hn::Vec256<std::int8_t> b) {
  return hn::Vec256<std::int16_t>{_mm256_maddubs_epi16(a.raw, b.raw)};
}
#endif

// 65536 times the luminance is
//   7424 B + 38550 G + 19562 R = 256 (29 B + 99 G) + 256 (52 G + 76 R) + 106 (R - G)
// of which no sum leaves the signed words that MulPairs gives. Rounding off the last one's lower
// byte before the sum's changes nothing.
struct PairWeights {
  std::int8_t low, high;  // of the bytes of a word
};
constexpr PairWeights kBlueGreen = {29, 99};
constexpr PairWeights kGreenRed = {52, 76};
constexpr PairWeights kRest = {-106, 106};  // of green and red
static_assert(WeightedSum(0, 0, 1) == 256 * kBlueGreen.low);
static_assert(WeightedSum(0, 1, 0) == 256 * (kBlueGreen.high + kGreenRed.low) + kRest.low);
static_assert(WeightedSum(1, 0, 0) == 256 * kGreenRed.high + kRest.high);
static_assert(255 * (kBlueGreen.low + kBlueGreen.high) <= INT16_MAX);
static_assert(255 * (kGreenRed.low + kGreenRed.high) <= INT16_MAX);

template <class V>
HWY_INLINE auto MulPairs(V pairs, PairWeights weights) {
  const hn::RebindToSigned<hn::DFromV<V>> d;
  const hn::Repartition<std::int16_t, decltype(d)> d16;
  const auto both = static_cast<std::int16_t>((weights.low & 0xFF) | weights.high * 256);
  return MulPairs(pairs, hn::BitCast(d, hn::Set(d16, both)));
}

// The luminance of the pixels with those words B, G and G, R.
template <class V>
HWY_INLINE auto LuminanceOfPairs(V blueGreens, V greenReds) {
  const auto rest = hn::ShiftRight<8>(MulPairs(greenReds, kRest));
  const auto sum = MulPairs(blueGreens, kBlueGreen) + MulPairs(greenReds, kGreenRed) + rest;
  const hn::RebindToUnsigned<hn::DFromV<decltype(sum)>> unsigned16;  // up to 65280
  return hn::BitCast(hn::DFromV<decltype(sum)>(), hn::ShiftRight<8>(hn::BitCast(unsigned16, sum)));
}

// Bytes B, G of four pixels, then bytes G, R of them.
template <class Quads>
constexpr Shuffle ToPairs(int index, Channels channels) {
  Shuffle s{};
  for (int i = 0; i < 4; ++i) {
    const int pixel = Quads::First(index) + Quads::kStep * i;
    s.from[2 * i] = static_cast<std::uint8_t>(pixel + channels.blue);
    s.from[2 * i + 1] = static_cast<std::uint8_t>(pixel + channels.green);
    s.from[8 + 2 * i] = static_cast<std::uint8_t>(pixel + channels.green);
    s.from[9 + 2 * i] = static_cast<std::uint8_t>(pixel + channels.red);
  }
  return s;
}

template <class Quads, const Channels& kChannels>
struct QuadsToLuminance {
  static constexpr int kSourceBytes = Quads::kSourceBytes, kTargetBytes = 1;

  template <int kIndex, class D>
  static HWY_INLINE hn::VFromD<D> LoadPairs(D d, const Byte* source) {
    static constexpr Shuffle kShuffle = ToPairs<Quads>(kIndex, kChannels);
    return kShuffle(Quads::template Load<kIndex>(d, source));
  }
  template <int kIndex, class D>
  static HWY_INLINE auto Luminance(D d, const Byte* source) {  // of two quads
    const hn::Repartition<std::uint64_t, D> d64;
    const auto a = hn::BitCast(d64, LoadPairs<kIndex>(d, source));
    const auto b = hn::BitCast(d64, LoadPairs<kIndex + 1>(d, source));
    return LuminanceOfPairs(hn::BitCast(d, hn::InterleaveLower(d64, a, b)),
                            hn::BitCast(d, hn::InterleaveUpper(d64, a, b)));
  }
  template <class D>
  HWY_INLINE void Convert(D d, const Byte* source, Byte* target) const {
    const auto bytes = PackLanes(Luminance<0>(d, source), Luminance<2>(d, source));
    hn::StoreU(Quads::InOrder(d, bytes), d, target);
  }
};

// ---- one channel ----

// The channel of four pixels in the place of quad `index` among 16 bytes, the others 0.
template <class Quads>
constexpr Shuffle ToPlace(int index, int channel) {
  Shuffle s{};
  for (std::uint8_t& from : s.from) from = kZero;
  for (int i = 0; i < 4; ++i) {
    s.from[4 * index + i] =
        static_cast<std::uint8_t>(Quads::First(index) + Quads::kStep * i + channel);
  }
  return s;
}

template <class Quads, int kChannel>
struct QuadsToChannel {
  static constexpr int kSourceBytes = Quads::kSourceBytes, kTargetBytes = 1;

  template <int kIndex, class D>
  static HWY_INLINE hn::VFromD<D> LoadPlace(D d, const Byte* source) {
    static constexpr Shuffle kShuffle = ToPlace<Quads>(kIndex, kChannel);
    return kShuffle(Quads::template Load<kIndex>(d, source));
  }
  template <class D>
  HWY_INLINE void Convert(D d, const Byte* source, Byte* target) const {
    hn::StoreU((LoadPlace<0>(d, source) | LoadPlace<1>(d, source)) |
                   (LoadPlace<2>(d, source) | LoadPlace<3>(d, source)),
               d, target);
  }
};

// The same of three bytes a pixel: a third of a lane's 48 at a time, which is one load less.
template <int kChannel>
struct QuadsToChannel<Quads24, kChannel> {
  static constexpr int kSourceBytes = 3, kTargetBytes = 1;

  static constexpr Shuffle FromThird(int third) {
    Shuffle s{};
    for (int i = 0; i < kLane; ++i) {
      const int from = 3 * i + kChannel;
      s.from[i] = from / kLane == third ? static_cast<std::uint8_t>(from % kLane) : kZero;
    }
    return s;
  }
  template <int kThird, class D>
  static HWY_INLINE hn::VFromD<D> LoadThird(D d, const Byte* source) {
    static constexpr Shuffle kShuffle = FromThird(kThird);
    return kShuffle(LoadLanes(d, source + kLane * kThird, 3 * kLane));
  }
  template <class D>
  HWY_INLINE void Convert(D d, const Byte* source, Byte* target) const {
    hn::StoreU(LoadThird<0>(d, source) | LoadThird<1>(d, source) | LoadThird<2>(d, source), d,
               target);
  }
};

// ---- colours ----

// The three colour bytes of four pixels, with a gap of four bytes at `gap`.
template <class Quads>
constexpr Shuffle ColourShuffle(int index, Channels channels, int gap) {
  Shuffle s{};
  for (int i = 0; i < 12; ++i) {
    s.from[i < gap ? i : i + 4] =
        static_cast<std::uint8_t>(Quads::First(index) + Quads::kStep * (i / 3) + channels[i % 3]);
  }
  return s;
}

template <class Quads, const Channels& kChannels>
struct QuadsToColours {
  static constexpr int kSourceBytes = Quads::kSourceBytes, kTargetBytes = 3;

  template <int kIndex, int kGap, class D>
  static HWY_INLINE hn::VFromD<D> LoadColours(D d, const Byte* source) {
    static constexpr Shuffle kShuffle = ColourShuffle<Quads>(kIndex, kChannels, kGap);
    return kShuffle(Quads::template Load<kIndex>(d, source));
  }
  template <class D>
  HWY_INLINE void Convert(D d, const Byte* source, Byte* target) const {
    const auto a = LoadColours<0, 0>(d, source);  // the gaps are what is shifted out
    const auto b = LoadColours<1, 4>(d, source);
    const auto c = LoadColours<2, 8>(d, source);
    const auto e = LoadColours<3, 12>(d, source);
    StoreLanes3(d, hn::CombineShiftRightBytes<4>(d, b, a), hn::CombineShiftRightBytes<8>(d, c, b),
                hn::CombineShiftRightBytes<12>(d, e, c), target);
  }
};

// Of words B, G, R the high bytes.
struct HighBytes {
  static constexpr int kSourceBytes = 6, kTargetBytes = 3;

  template <class D>
  HWY_INLINE void Convert(D d, const Byte* source, Byte* target) const {
    ConvertVector(d, source, target);
    ConvertVector(d, source + 2 * Size(d), target + Size(d));
    ConvertVector(d, source + 4 * Size(d), target + 2 * Size(d));
  }

 private:
  template <class D>
  static HWY_INLINE void ConvertVector(D d, const Byte* source, Byte* target) {
    const auto low = hn::LoadU(d, source);
    hn::StoreU(hn::ConcatOdd(d, hn::LoadU(d, source + Size(d)), low), d, target);
  }
};

// ---- vectors of 64 bytes ----

#if HWY_TARGET == HWY_AVX3_DL

using Bytes64 = hn::Full512<std::uint8_t>;
using V64 = hn::Vec512<std::uint8_t>;

// Where the bytes of a result come from: 64 pixels of kSource bytes are loaded in up to kMaxLoads
// vectors for each vector of the result, and each byte picks its own.
struct Gather {
  static constexpr int kMaxLoads = 4;

  alignas(64) std::uint8_t from[3][64] = {};
  std::uint64_t mask[3][kMaxLoads] = {};
  int start[3][kMaxLoads] = {};
  int loads = 1;

  // A pixel's target bytes are those at the offsets of `channels` in the source.
  constexpr Gather(int sourceBytes, int targetBytes, Channels channels) {
    for (int v = 0; v < targetBytes; ++v) {
      const auto origin = [&](int i) {  // of byte i of vector v
        const int j = 64 * v + i;
        return sourceBytes * (j / targetBytes) + channels[j % targetBytes];
      };
      int first = origin(0);
      for (int i = 1; i < 4; ++i) first = origin(i) < first ? origin(i) : first;
      for (int load = 0; load < kMaxLoads; ++load) {
        const int last = 64 * (sourceBytes - 1);  // so that no load reaches beyond the pixels
        start[v][load] = first + 64 * load < last ? first + 64 * load : last;
      }
      for (int i = 0; i < 64; ++i) {
        const int load = (origin(i) - first) / 64;
        from[v][i] = static_cast<std::uint8_t>(origin(i) - start[v][load]);
        mask[v][load] |= std::uint64_t{1} << i;
        loads = load + 1 > loads ? load + 1 : loads;
      }
    }
  }
};

// Highway 1.0.3 permutes bytes within 16 only.
HWY_INLINE V64 Permute(V64 from, V64 bytes) {
  return V64{_mm512_permutexvar_epi8(from.raw, bytes.raw)};
}
HWY_INLINE V64 PermuteInto(V64 previous, std::uint64_t mask, V64 from, V64 bytes) {
  return V64{_mm512_mask_permutexvar_epi8(previous.raw, mask, from.raw, bytes.raw)};
}

template <const Gather& kGather, int kVector, int kLoad>
HWY_INLINE V64 GatherVector(const Byte* source) {
  const Bytes64 d;
  const V64 from = hn::Load(d, kGather.from[kVector]);
  const V64 bytes = hn::LoadU(d, source + kGather.start[kVector][kLoad]);
  if constexpr (kLoad == 0) {
    return Permute(from, bytes);
  } else {
    const V64 previous = GatherVector<kGather, kVector, kLoad - 1>(source);
    return PermuteInto(previous, kGather.mask[kVector][kLoad], from, bytes);
  }
}

// Kernel, with the gathering in its place where vectors have 64 bytes.
template <class Kernel, const Channels& kChannels>
struct Gathering : Kernel {
  static constexpr Gather kGather{Kernel::kSourceBytes, Kernel::kTargetBytes, kChannels};

  template <class D>
  HWY_INLINE void Convert(D d, const Byte* source, Byte* target) const {
    if constexpr (Size(d) < 64) {
      Kernel::Convert(d, source, target);
    } else {
      hn::StoreU(GatherVector<kGather, 0, kGather.loads - 1>(source), d, target);
      if constexpr (Kernel::kTargetBytes == 3) {
        hn::StoreU(GatherVector<kGather, 1, kGather.loads - 1>(source), d, target + 64);
        hn::StoreU(GatherVector<kGather, 2, kGather.loads - 1>(source), d, target + 128);
      }
    }
  }
};

// Four bytes for each pixel: 16 of the 64, from byte 48 * k or 64 * k on.
struct SpreadTable {
  alignas(64) std::uint8_t from[64] = {};

  constexpr explicit SpreadTable(int first) {
    for (int i = 0; i < 64; ++i) {
      from[i] = static_cast<std::uint8_t>((first + i / 4 * 3 + i % 4) % 64);
    }
  }
};

template <class Quads>
struct Sixteens {
  template <int kIndex>
  static HWY_INLINE V64 Load(const Byte* source) {
    return hn::LoadU(Bytes64(), source + 64 * kIndex);
  }
};
template <>
struct Sixteens<Quads24> {
  template <int kIndex>
  static HWY_INLINE V64 Load(const Byte* source) {
    constexpr int kStart = kIndex < 3 ? 48 * kIndex : 128;  // the last ends with the row
    static constexpr SpreadTable kSpread(48 * kIndex - kStart);
    const Bytes64 d;
    return Permute(hn::Load(d, kSpread.from), hn::LoadU(d, source + kStart));
  }
};

// Adds to each word of `sum` the products of its four unsigned and four signed bytes. Processors of
// this set have the instruction; Highway 1.0.3 tells the compiler of its cousin AVX-VNNI only.
HWY_INLINE hn::Vec512<std::int32_t> AddProducts(hn::Vec512<std::int32_t> sum, V64 a,
                                                hn::Vec512<std::int32_t> b) {
  asm("vpdpbusd %2, %1, %0" : "+v"(sum.raw) : "v"(a.raw), "v"(b.raw));
  return sum;
}

// The weights of blue, green, red, all halved as they are even, are 256 * high + low.
//
//   (256 H + L) >> 15  ==  (H + (L >> 8)) >> 7
//
// for the sums H and L of the products: what is rounded off is the same.
struct Weights {
  std::int8_t blue, green, red;
};
constexpr Weights kHigh = {15, 75, 38};
constexpr Weights kLow = {-128, 75, 53};
static_assert(WeightedSum(0, 0, 1) == 2 * (256 * kHigh.blue + kLow.blue));
static_assert(WeightedSum(0, 1, 0) == 2 * (256 * kHigh.green + kLow.green));
static_assert(WeightedSum(1, 0, 0) == 2 * (256 * kHigh.red + kLow.red));

// The luminance, times 128, of pixels of four bytes.
template <const Channels& kChannels>
HWY_INLINE hn::Vec512<std::int32_t> LuminanceTimes128(V64 pixels) {
  const hn::Full512<std::int32_t> d;
  const auto weights = [&](Weights w) HWY_ATTR {
    const auto at = [](int weight, int channel) {
      return (static_cast<std::uint32_t>(weight) & 0xFFU) << (8 * channel);
    };
    return hn::Set(
        d, static_cast<std::int32_t>(at(w.blue, kChannels.blue) | at(w.green, kChannels.green) |
                                     at(w.red, kChannels.red)));
  };
  return AddProducts(hn::ShiftRight<8>(AddProducts(hn::Zero(d), pixels, weights(kLow))), pixels,
                     weights(kHigh));
}

template <class Quads, const Channels& kChannels>
struct SixteensToLuminance : QuadsToLuminance<Quads, kChannels> {
  template <int kIndex>
  static HWY_INLINE hn::Vec512<std::int32_t> Part(const Byte* source) {
    return LuminanceTimes128<kChannels>(Sixteens<Quads>::template Load<kIndex>(source));
  }
  template <class D>
  HWY_INLINE void Convert(D d, const Byte* source, Byte* target) const {
    if constexpr (Size(d) < 64) {
      QuadsToLuminance<Quads, kChannels>::Convert(d, source, target);
    } else {
      const hn::Full512<std::int16_t> d16;
      const hn::Full512<std::uint32_t> d32;
      const auto low = hn::ReorderDemote2To(d16, Part<0>(source), Part<1>(source));
      const auto high = hn::ReorderDemote2To(d16, Part<2>(source), Part<3>(source));
      const auto bytes = PackLanes(hn::ShiftRight<7>(low), hn::ShiftRight<7>(high));
      alignas(64) static constexpr std::uint32_t kOrder[16] = {0, 4, 8,  12, 1, 5, 9,  13,
                                                               2, 6, 10, 14, 3, 7, 11, 15};
      const auto order = hn::SetTableIndices(d32, kOrder);
      hn::StoreU(hn::BitCast(d, hn::TableLookupLanes(hn::BitCast(d32, bytes), order)), d, target);
    }
  }
};

#else

template <class Kernel, const Channels&>
using Gathering = Kernel;

template <class Quads, const Channels& kChannels>
using SixteensToLuminance = QuadsToLuminance<Quads, kChannels>;

#endif

// ---- rows ----

template <class Kernel>
void ConvertRow(const Byte* source, Byte* target, int width, const Byte*) {
  ConvertAtLeast16(Kernel(), source, target, width);
}

template <int kOffset>
constexpr Channels kOneChannel = {kOffset, kOffset, kOffset};

template <class Quads, int kOffset>
using ToChannel = Gathering<QuadsToChannel<Quads, kOffset>, kOneChannel<kOffset>>;

// In the order of GreyKind.
template <class Quads, const Channels& kChannels, class LuminanceQuads = Quads>
constexpr std::array<RowRoutine, kGreyKindCount> kToGrey = {
    ConvertRow<SixteensToLuminance<LuminanceQuads, kChannels>>,
    ConvertRow<ToChannel<Quads, kChannels.red>>, ConvertRow<ToChannel<Quads, kChannels.green>>,
    ConvertRow<ToChannel<Quads, kChannels.blue>>};

void AddChannelKernelsOfSet(RowRoutines& routines) {
  const auto toGrey = [&](SourceLayout layout) -> auto& {
    return routines.toGrey[static_cast<std::size_t>(layout)];
  };
  toGrey(SourceLayout::Bgr24) = toGrey(SourceLayout::YuvVu) = kToGrey<Quads24, kBgr>;
  toGrey(SourceLayout::Rgb24) = toGrey(SourceLayout::YuvUv) = kToGrey<Quads24, kRgb>;
  toGrey(SourceLayout::Bgra32) = kToGrey<Quads32, kBgr, NeighbouringQuads32>;
  toGrey(SourceLayout::Rgba32) = kToGrey<Quads32, kRgb, NeighbouringQuads32>;

  const auto toColour = [&](SourceLayout layout) -> auto& {
    return routines.toColour[static_cast<std::size_t>(layout)];
  };
#if HWY_TARGET != HWY_AVX3_DL
  // Larger vectors gain in the caches only: BGRA to colour takes 0.065 ns for a pixel of 1920x1080
  // with 64 bytes, 0.060 with 32, of 640x480 0.064 and 0.055 (AMD Zen 5, g++ 12).
  toColour(SourceLayout::Rgb24) = ConvertRow<QuadsToColours<Quads24, kRgb>>;
  toColour(SourceLayout::Bgra32) = ConvertRow<QuadsToColours<Quads32, kBgr>>;
  toColour(SourceLayout::Rgba32) = ConvertRow<QuadsToColours<Quads32, kRgb>>;
  toColour(SourceLayout::Bgr48) = ConvertRow<HighBytes>;
#endif
  toColour(SourceLayout::Rgba64) = ConvertRow<Gathering<QuadsToColours<Quads64, kRgb>, kRgbWords>>;
  toColour(SourceLayout::Bgra64) = ConvertRow<Gathering<QuadsToColours<Quads64, kBgr>, kBgrWords>>;
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
