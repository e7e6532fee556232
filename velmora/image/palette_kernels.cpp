// Bits, nibbles and bytes, with and without a palette.
#include "velmora/image/internal/row_routines.h"

#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "velmora/image/palette_kernels.cpp"
#include "velmora/platform/internal/simd_kernels.h"

#include "velmora/image/internal/kernel_pieces-inl.h"

HWY_BEFORE_NAMESPACE();
namespace velmora::internal {
namespace HWY_NAMESPACE {
#if VELMORA_HAS_KERNELS
namespace {

using FullVector = hn::ScalableTag<Byte>;
using BlockVector = hn::FixedTag<Byte, 16>;

template <typename D>
constexpr int kLanes = static_cast<int>(hn::MaxLanes(D()));

constexpr std::size_t IndexOf(SourceLayout layout) {
  return static_cast<std::size_t>(layout);
}

// Constants of a vector, or of three that are stored one after the other: table[i] = f(i).
template <std::size_t kCount, typename Function>
constexpr std::array<Byte, kCount> MakeTable(Function f) {
  std::array<Byte, kCount> table{};
  for (std::size_t i = 0; i < kCount; ++i) table[i] = static_cast<Byte>(f(i));
  return table;
}

// ---- where the numbers of pixels come from: as many as a vector has lanes ----

// Bits stay together: each block of 16 bytes has the bits of all pixels of the vector.
template <typename D>
class PackedBits {
 public:
  using Vector = hn::Vec<D>;

  static Vector Load(const Byte* source, int x) {
    Word word;
    std::memcpy(&word, source + x / 8, sizeof word);
    return Repeated(word);
  }

  // Of the last pixels of a row, which may begin and end inside bytes.
  static Vector LoadLast(const Byte* source, int width) {
    const Byte* const end = source + width / 8;
    const int rest = width % 8;
    Word word;
    std::memcpy(&word, end - sizeof word, sizeof word);
    if (rest == 0) return Repeated(word);
    word = static_cast<Word>(Swapped(word) << rest | *end >> (8 - rest));
    return Repeated(Swapped(word));
  }

 private:
  using Word = hwy::UnsignedFromSize<kLanes<D> / 8>;

  static Word Swapped(Word word) {
    if constexpr (sizeof word == 2) return __builtin_bswap16(word);
    if constexpr (sizeof word == 4) return __builtin_bswap32(word);
    if constexpr (sizeof word == 8) return __builtin_bswap64(word);
  }
  static Vector Repeated(Word word) {
    return hn::BitCast(D(), hn::Set(hn::Repartition<Word, D>(), word));
  }
};

template <typename D>
class Nibbles {
 public:
  using Vector = hn::Vec<D>;

  static Vector Load(const Byte* source, int x) {
    const auto pairs = LoadWords(source + x / 2);
    return LowNibbles(hn::Or(hn::ShiftRight<4>(pairs), hn::ShiftLeft<8>(pairs)));
  }

  // Begins with a low nibble if the width is odd.
  static Vector LoadLast(const Byte* source, int width) {
    const int x = width - kLanes<D>;
    if (x % 2 == 0) return Load(source, x);
    const auto evenPixels = LoadWords(source + x / 2), oddPixels = LoadWords(source + x / 2 + 1);
    return LowNibbles(hn::Or(evenPixels, hn::ShiftLeft<4>(oddPixels)));
  }

 private:
  using Words = hn::Repartition<std::uint16_t, D>;

  static hn::Vec<Words> LoadWords(const Byte* bytes) {
    return hn::PromoteTo(Words(), hn::LoadU(hn::Rebind<Byte, Words>(), bytes));
  }
  static Vector LowNibbles(hn::Vec<Words> bytes) {
    return hn::And(hn::BitCast(D(), bytes), hn::Set(D(), 15));
  }
};

template <typename D>
struct Bytes {
  using Vector = hn::Vec<D>;

  static Vector Load(const Byte* source, int x) { return hn::LoadU(D(), source + x); }
  static Vector LoadLast(const Byte* source, int width) { return Load(source, width - kLanes<D>); }
};

// ---- what becomes of a vector of them ----

// Which bit each byte of the target depends on, where pixels are `kChannels` bytes and so fill as
// many vectors (`part`): the byte of the bits, and the place in that byte.
template <typename D, int kChannels>
struct BitPlaces {
  static constexpr std::size_t kCount = kLanes<D> * kChannels;
  alignas(64) static constexpr auto kBytes = MakeTable<kCount>([](std::size_t i) {
    return i / kChannels / 8;
  });
  alignas(64) static constexpr auto kBits = MakeTable<kCount>([](std::size_t i) {
    return 0x80 >> i / kChannels % 8;
  });

  template <typename Vector>
  static auto AreSet(Vector bits, int part) {
    const D d;
    const auto spread = hn::TableLookupBytes(bits, hn::Load(d, &kBytes[part * kLanes<D>]));
    return hn::TestBit(spread, hn::Load(d, &kBits[part * kLanes<D>]));
  }
};

template <typename D>
class BitsToGrey {
 public:
  using Source = PackedBits<D>;
  static constexpr int kChannels = 1;

  explicit BitsToGrey(const Byte* palette)
      : zero_(hn::Set(D(), palette[0])),
        difference_(hn::Set(D(), static_cast<Byte>(palette[0] ^ palette[1]))) {}

  void Convert(hn::Vec<D> bits, Byte* target) const {
    const auto isSet = BitPlaces<D, 1>::AreSet(bits, 0);
    hn::StoreU(hn::Xor(zero_, hn::IfThenElseZero(isSet, difference_)), D(), target);
  }

 private:
  hn::Vec<D> zero_, difference_;
};

template <typename D>
class BitsToColour {
 public:
  using Source = PackedBits<D>;
  static constexpr int kChannels = 3;

  explicit BitsToColour(const Byte* palette) {
#pragma GCC unroll 3
    for (int part = 0; part < 3; ++part) {
      zero_[part] = Repeated(palette, part);
      difference_[part] = hn::Xor(zero_[part], Repeated(palette + 4, part));
    }
  }

  void Convert(hn::Vec<D> bits, Byte* target) const {
#pragma GCC unroll 3
    for (int part = 0; part < 3; ++part) {
      const auto isSet = BitPlaces<D, 3>::AreSet(bits, part);
      hn::StoreU(hn::Xor(zero_[part], hn::IfThenElseZero(isSet, difference_[part])), D(),
                 target + part * kLanes<D>);
    }
  }

 private:
  static hn::Vec<D> Repeated(const Byte* entry, int part) {
    alignas(64) static constexpr auto kChannelOf =
        MakeTable<3 * kLanes<D>>([](std::size_t i) { return i % 3; });
    const D d;
    std::uint32_t word;
    std::memcpy(&word, entry, sizeof word);
    const auto words = hn::BitCast(d, hn::Set(hn::Repartition<std::uint32_t, D>(), word));
    return hn::TableLookupBytes(words, hn::Load(d, &kChannelOf[part * kLanes<D>]));
  }

  hn::Vec<D> zero_[3], difference_[3];
};

// Stores each byte three times.
template <typename D>
void StoreTripled(hn::Vec<D> bytes, Byte* target) {
  // The six bytes that a block of the target is made of begin in this word of the source.
  constexpr auto firstWord = [](std::size_t block) { return 16 * block / 3 / 4; };
  constexpr std::size_t kBlocks = 3 * kLanes<D> / 16;
  alignas(64) static constexpr auto kWords = [firstWord] {
    std::array<std::int32_t, 4 * kBlocks> words{};
    for (std::size_t i = 0; i < 4 * kBlocks; ++i) {
      words[i] = static_cast<std::int32_t>((firstWord(i / 4) + i % 4) % (kLanes<D> / 4));
    }
    return words;
  }();
  alignas(64) static constexpr auto kBytes =
      MakeTable<16 * kBlocks>([firstWord](std::size_t i) { return i / 3 - 4 * firstWord(i / 16); });
  const D d;
  const hn::Repartition<std::uint32_t, D> words;
#pragma GCC unroll 3
  for (int part = 0; part < 3; ++part) {
    const auto indices = hn::SetTableIndices(words, &kWords[part * kLanes<D> / 4]);
    const auto blocks = hn::BitCast(d, hn::TableLookupLanes(hn::BitCast(words, bytes), indices));
    hn::StoreU(hn::TableLookupBytes(blocks, hn::Load(d, &kBytes[part * kLanes<D>])), d,
               target + part * kLanes<D>);
  }
}

template <typename D>
class NibblesToGrey {
 public:
  using Source = Nibbles<D>;
  static constexpr int kChannels = 1;

  explicit NibblesToGrey(const Byte* palette) : palette_(hn::LoadDup128(D(), palette)) {}

  void Convert(hn::Vec<D> nibbles, Byte* target) const {
    hn::StoreU(hn::TableLookupBytes(palette_, nibbles), D(), target);
  }

 private:
  hn::Vec<D> palette_;
};

template <typename D>
struct NibblesToColour {
  using Source = Nibbles<D>;
  static constexpr int kChannels = 3;

  explicit NibblesToColour(const Byte*) {}

  void Convert(hn::Vec<D> nibbles, Byte* target) const {
    const auto sixteenfold =
        hn::ShiftLeft<4>(hn::BitCast(hn::Repartition<std::uint16_t, D>(), nibbles));
    StoreTripled<D>(hn::Sub(hn::BitCast(D(), sixteenfold), nibbles), target);
  }
};

template <typename D>
struct BytesToColour {
  using Source = Bytes<D>;
  static constexpr int kChannels = 3;

  explicit BytesToColour(const Byte*) {}

  void Convert(hn::Vec<D> bytes, Byte* target) const { StoreTripled<D>(bytes, target); }
};

#if HWY_TARGET == HWY_AVX2
template <typename D>
class IndicesToGrey {
 public:
  using Source = Bytes<D>;
  static constexpr int kChannels = 1;

  explicit IndicesToGrey(const Byte* palette) : palette_(palette) {}

  void Convert(hn::Vec<D> indices, Byte* target) const {
    hn::StoreU(LookUp<128>(indices, hn::And(indices, hn::Set(D(), 15)), palette_), D(), target);
  }

 private:
  // By the bits that say how often 16 is in an index, the highest first.
  template <int kHalf>
  static hn::Vec<D> LookUp(hn::Vec<D> indices, hn::Vec<D> low, const Byte* palette) {
    if constexpr (kHalf < 16) {
      return hn::TableLookupBytes(hn::LoadDup128(D(), palette), low);
    } else {
      const hn::Repartition<std::uint16_t, D> words;
      const hn::RebindToSigned<D> asSigned;
      const auto next = hn::BitCast(D(), hn::ShiftLeft<1>(hn::BitCast(words, indices)));
      const auto lower = hn::BitCast(asSigned, LookUp<kHalf / 2>(next, low, palette));
      const auto upper = hn::BitCast(asSigned, LookUp<kHalf / 2>(next, low, palette + kHalf));
      return hn::BitCast(D(), hn::IfNegativeThenElse(hn::BitCast(asSigned, indices), upper, lower));
    }
  }

  const Byte* palette_;
};
#elif HWY_TARGET == HWY_AVX3_DL
// A table of 256 bytes. Highway has none of more than 16; made of those, with the blends that AVX2
// needs, a grey row took five times as long.
class ByteTable {
 public:
  using D = FullVector;
  using Vector = hn::Vec<D>;

  ByteTable() = default;

  // Of one byte of each word of four.
  template <int kByte>
  static ByteTable OfWords(const Byte* words) {
    alignas(64) static constexpr auto kBytes =
        MakeTable<64>([](std::size_t i) { return 4 * (i % 32) + kByte; });
    const __m512i bytes = hn::Load(D(), kBytes.data()).raw;
    ByteTable table;
    for (int i = 0; i < 4; ++i, words += 256) {
      const auto half = [&](const Byte* from) HWY_ATTR {
        return _mm512_permutex2var_epi8(hn::LoadU(D(), from).raw, bytes,
                                        hn::LoadU(D(), from + 64).raw);
      };
      table.parts_[i] = _mm512_mask_blend_epi32(0xFF00, half(words), half(words + 128));
    }
    return table;
  }

  explicit ByteTable(const Byte* bytes) {
    for (int i = 0; i < 4; ++i) parts_[i] = hn::LoadU(D(), bytes + 64 * i).raw;
  }

  Vector operator[](Vector indices) const {
    const __m512i lower = _mm512_permutex2var_epi8(parts_[0], indices.raw, parts_[1]);
    const __m512i upper = _mm512_permutex2var_epi8(parts_[2], indices.raw, parts_[3]);
    return Vector{_mm512_mask_blend_epi8(_mm512_movepi8_mask(indices.raw), lower, upper)};
  }

 private:
  __m512i parts_[4];
};

template <typename D>
class IndicesToGrey {
 public:
  using Source = Bytes<D>;
  static constexpr int kChannels = 1;

  explicit IndicesToGrey(const Byte* palette) : palette_(palette) {}

  void Convert(hn::Vec<D> indices, Byte* target) const {
    hn::StoreU(palette_[indices], D(), target);
  }

 private:
  ByteTable palette_;
};

template <typename D>
class IndicesToColour {
 public:
  using Source = Bytes<D>;
  static constexpr int kChannels = 3;

  explicit IndicesToColour(const Byte* palette)
      : blue_(ByteTable::OfWords<0>(palette)),
        green_(ByteTable::OfWords<1>(palette)),
        red_(ByteTable::OfWords<2>(palette)) {}

  void Convert(hn::Vec<D> indices, Byte* target) const {
    StoreColours(D(), blue_[indices], green_[indices], red_[indices], target);
  }

 private:
  ByteTable blue_, green_, red_;
};
#endif

// ---- rows ----

// A row of at least one vector: the last one may overlap the one before it. Not inlined: what its
// registers cost would be paid by the rows that take another way, too.
template <template <typename> class Kernel, typename D>
HWY_NOINLINE void ConvertVectors(const Byte* source, Byte* target, int width, const Byte* palette) {
  using Source = typename Kernel<D>::Source;
  constexpr int kStep = kLanes<D>;
  constexpr int kChannels = Kernel<D>::kChannels;
  const Kernel<D> kernel(palette);
  int x = 0;
  for (; x <= width - kStep; x += kStep, target += kChannels * kStep) {
    kernel.Convert(Source::Load(source, x), target);
  }
  if (x == width) return;
  kernel.Convert(Source::LoadLast(source, width), target - kChannels * (x + kStep - width));
}

// A row of kMinKernelWidth pixels or more.
template <template <typename> class Kernel>
void ConvertRow(const Byte* source, Byte* target, int width, const Byte* palette) {
  static_assert(kMinKernelWidth == kLanes<BlockVector>);
  if (width >= kLanes<FullVector>) {
    ConvertVectors<Kernel, FullVector>(source, target, width, palette);
  } else {
    ConvertVectors<Kernel, BlockVector>(source, target, width, palette);
  }
}

#if HWY_TARGET == HWY_AVX2
// Two vectors take as many instructions as the plain loop for 44 pixels. That loop stands here:
// going to the plain routine would take 5 % more for 16 pixels.
void IndicesToGreyRow(const Byte* source, Byte* target, int width, const Byte* palette) {
  if (width >= 48) {
    ConvertVectors<IndicesToGrey, FullVector>(source, target, width, palette);
  } else {
#pragma GCC unroll 8
    for (int x = 0; x < width; ++x) target[x] = palette[source[x]];
  }
}
#elif HWY_TARGET == HWY_AVX3_DL
HWY_NOINLINE void ConvertLessThanAVector(const Byte* source, Byte* target, int width,
                                         const Byte* palette) {
  const FullVector d;
  const auto isInside = hn::FirstN(d, static_cast<std::size_t>(width));
  const ByteTable table(palette);
  hn::BlendedStore(table[hn::MaskedLoad(isInside, d, source)], isInside, d, target);
}

void IndicesToGreyRow(const Byte* source, Byte* target, int width, const Byte* palette) {
  if (width >= kLanes<FullVector>) {
    ConvertVectors<IndicesToGrey, FullVector>(source, target, width, palette);
  } else {
    ConvertLessThanAVector(source, target, width, palette);
  }
}
#endif

// Four bytes are stored where three count: one store for each pixel, whose fourth byte the next one
// overwrites.
HWY_NOINLINE void CopyEntries(const Byte* source, Byte* target, int width, const Byte* palette) {
#pragma GCC unroll 4
  for (const Byte* const last = source + width - 1; source != last; ++source, target += 3) {
    std::memcpy(target, palette + 4 * *source, 4);
  }
  std::memcpy(target, palette + 4 * *source, 3);
}

void IndicesToColourRow(const Byte* source, Byte* target, int width, const Byte* palette) {
#if HWY_TARGET == HWY_AVX3_DL
  if (width >= kLanes<FullVector>) {
    return ConvertVectors<IndicesToColour, FullVector>(source, target, width, palette);
  }
#endif
  CopyEntries(source, target, width, palette);
}

}  // namespace

void AddPaletteKernelsOfSet(RowRoutines& routines) {
  const auto grey = [&](SourceLayout layout) -> auto& {
    return routines.toGrey[IndexOf(layout)];
  };
  const auto colour = [&](SourceLayout layout) -> auto& {
    return routines.toColour[IndexOf(layout)];
  };
  grey(SourceLayout::Bit).fill(ConvertRow<BitsToGrey>);
  grey(SourceLayout::Nibble).fill(ConvertRow<NibblesToGrey>);
  colour(SourceLayout::Bit) = ConvertRow<BitsToColour>;
  colour(SourceLayout::Nibble) = ConvertRow<NibblesToColour>;
  colour(SourceLayout::Byte) = ConvertRow<BytesToColour>;
  colour(SourceLayout::IndexedByte) = IndicesToColourRow;
#if HWY_TARGET != HWY_SSSE3
  grey(SourceLayout::IndexedByte).fill(IndicesToGreyRow);
#endif
}

#endif  // VELMORA_HAS_KERNELS
}  // namespace HWY_NAMESPACE
}  // namespace velmora::internal
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace velmora::internal {

void AddPaletteKernels(platform::SimdSet set, RowRoutines& routines) {
  VELMORA_CALL_KERNELS(set, AddPaletteKernelsOfSet(routines));
}

}  // namespace velmora::internal
#endif  // HWY_ONCE
