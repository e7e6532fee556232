#include "velmora/util/internal/base64_kernels.h"

#include <array>
#include <cstdint>
#include <cstring>

#include "velmora/util/internal/base64_tables.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "velmora/util/base64_kernels.cpp"
#include "velmora/platform/internal/simd_kernels.h"

HWY_BEFORE_NAMESPACE();
namespace velmora::internal {
namespace HWY_NAMESPACE {
#if VELMORA_HAS_KERNELS
namespace {

namespace hn = hwy::HWY_NAMESPACE;

using Byte = unsigned char;

// table[i] = f(i).
template <std::size_t kCount, typename Function>
constexpr std::array<Byte, kCount> MakeTable(Function f) {
  std::array<Byte, kCount> table{};
  for (std::size_t i = 0; i < kCount; ++i) table[i] = static_cast<Byte>(f(i));
  return table;
}

#if HWY_TARGET == HWY_AVX3_DL

// ---- 48 bytes, 64 characters: byte permutations over the whole vector, which Highway lacks ----
// 64 KiB take 0.74 us to encode and 1.1 us to decode; the kernels of AVX2 take 2.4 and 3.0, which
// vectors twice as long could halve at best (Zen 5, g++ 12).

constexpr std::size_t kBytes = 48, kCharacters = 64;

using D = hn::Full512<Byte>;

__m512i Load(const std::array<Byte, 64>& table) {
  return hn::LoadU(D(), table.data()).raw;
}

__mmask64 FirstN(std::size_t count) {
  return hn::FirstN(D(), count).raw;
}

class Encoder {
 public:
  Encoder()
      : spread_(Load(kSpread)),
        shifts_(Load(kShifts)),
        alphabet_(hn::LoadU(D(), reinterpret_cast<const Byte*>(kBase64Alphabet)).raw) {}

  __m512i operator()(__m512i bytes) const {
    const __m512i groups = _mm512_permutexvar_epi8(spread_, bytes);
    const __m512i values = _mm512_multishift_epi64_epi8(shifts_, groups);
    return _mm512_permutexvar_epi8(values, alphabet_);  // by the six low bits
  }

 private:
  // A group's bytes as two words, the upper byte in front of the lower: 1 0, 2 1. Each character
  // takes its six bits from one of them.
  static constexpr auto kSpread = MakeTable<64>([](std::size_t i) {
    constexpr int kOrder[] = {1, 0, 2, 1};
    return static_cast<int>(i / 4 * 3) + kOrder[i % 4];
  });
  static constexpr auto kShifts = MakeTable<64>([](std::size_t i) {
    constexpr int kShift[] = {10, 4, 16 + 6, 16};
    return 32 * static_cast<int>(i % 8 / 4) + kShift[i % 4];
  });

  __m512i spread_, shifts_, alphabet_;
};

std::size_t Encode(const Byte* bytes, std::size_t length, Byte* text) {
  const Encoder encode;
  std::size_t done = 0;
  for (; length - done >= 64; done += kBytes, text += kCharacters) {
    hn::StoreU(hn::Vec<D>{encode(hn::LoadU(D(), bytes + done).raw)}, D(), text);
  }
  while (length - done >= 3) {
    const std::size_t count = HWY_MIN((length - done) / 3 * 3, kBytes);
    const __m512i rest = _mm512_maskz_loadu_epi8(FirstN(count), bytes + done);
    _mm512_mask_storeu_epi8(text, FirstN(count / 3 * 4), encode(rest));
    done += count;
    text += count / 3 * 4;
  }
  return done;
}

constexpr Byte ValueOf(std::size_t c) {
  return kBase64Values[c] < 64 ? kBase64Values[c] : static_cast<Byte>(0x80);
}

class Decoder {
 public:
  Decoder() : low_(Load(kLow)), high_(Load(kHigh)), packed_(Load(kPacked)) {}

  // The high bit of a character does not matter; that of a value says that there is none.
  __m512i ValuesOf(__m512i text) const { return _mm512_permutex2var_epi8(low_, text, high_); }

  // Which characters are not of the alphabet.
  static __mmask64 Strange(__m512i values) { return _mm512_movepi8_mask(values); }

  __m512i BytesOf(__m512i values) const {
    const __m512i pairs = _mm512_maddubs_epi16(values, _mm512_set1_epi32(0x01400140));
    const __m512i groups = _mm512_madd_epi16(pairs, _mm512_set1_epi32(0x00011000));
    return _mm512_permutexvar_epi8(packed_, groups);
  }

 private:
  static constexpr auto kLow = MakeTable<64>([](std::size_t i) { return ValueOf(i); });
  static constexpr auto kHigh = MakeTable<64>([](std::size_t i) { return ValueOf(64 + i); });
  // The three bytes of each word, the highest first.
  static constexpr auto kPacked =
      MakeTable<64>([](std::size_t i) { return i < kBytes ? i / 3 * 4 + 2 - i % 3 : 0; });

  __m512i low_, high_, packed_;
};

std::size_t Decode(const Byte* text, std::size_t length, Byte* kept, Byte* decoded) {
  const Decoder decoder;
  std::size_t done = 0;
  for (; length - done >= kCharacters; done += kCharacters, decoded += kBytes) {
    const __m512i characters = hn::LoadU(D(), text + done).raw;
    const __m512i values = decoder.ValuesOf(characters);
    if (Decoder::Strange(values) != 0) break;
    const __m512i bytes = decoder.BytesOf(values);
    _mm512_storeu_si512(kept + done, characters);
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(decoded), _mm512_castsi512_si256(bytes));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(decoded + 32), _mm512_extracti32x4_epi32(bytes, 2));
  }
  // The groups before the first character that is strange or missing.
  const std::size_t rest = HWY_MIN(length - done, kCharacters);
  const __m512i characters = _mm512_maskz_loadu_epi8(FirstN(rest), text + done);
  const __m512i values = decoder.ValuesOf(characters);
  const std::uint64_t strange = Decoder::Strange(values);
  const std::size_t clean = strange == 0 ? 64 : hwy::Num0BitsBelowLS1Bit_Nonzero64(strange);
  const std::size_t count = HWY_MIN(rest, clean) / 4 * 4;
  if (count == 0) return done;
  _mm512_mask_storeu_epi8(kept + done, FirstN(count), characters);
  _mm512_mask_storeu_epi8(decoded, FirstN(count / 4 * 3), decoder.BytesOf(values));
  return done + count;
}

#else

// ---- 12 bytes, 16 characters in each lane of 16 bytes ----

using FullVector = hn::ScalableTag<Byte>;
using BlockVector = hn::Full128<Byte>;

template <typename D>
constexpr std::size_t kCharacters = hn::MaxLanes(D());
template <typename D>
constexpr std::size_t kBytes = hn::MaxLanes(D()) / 4 * 3;

template <typename D, std::size_t kCount>
hn::Vec<D> InEachLane(const std::array<Byte, kCount>& table) {
  static_assert(kCount == 16);
  return hn::LoadDup128(D(), table.data());
}

// A word in each four bytes.
template <typename D>
hn::Vec<hn::Repartition<std::uint16_t, D>> Words(std::uint32_t low, std::uint32_t high) {
  const auto both = hn::Set(hn::Repartition<std::uint32_t, D>(), high << 16 | low);
  return hn::BitCast(hn::Repartition<std::uint16_t, D>(), both);
}

// 12 bytes for each lane; reads four more.
hn::Vec<BlockVector> LoadGroups(BlockVector d, const Byte* bytes) {
  return hn::LoadU(d, bytes);
}

template <typename D>
hn::Vec<D> LoadGroups(D d, const Byte* bytes) {
  const hn::Half<D> half;
  return hn::Combine(d, LoadGroups(half, bytes + kBytes<hn::Half<D>>), LoadGroups(half, bytes));
}

template <typename D>
hn::Vec<D> CharactersOf(hn::Vec<D> bytes) {
  // A group's bytes as two words, the upper byte behind the lower: 1 0, 2 1. Each word has the bits
  // of two characters; multiplications move them to the lower and to the upper byte.
  alignas(16) static constexpr auto kSpread = MakeTable<16>([](std::size_t i) {
    constexpr int kOrder[] = {1, 0, 2, 1};
    return static_cast<int>(i / 4 * 3) + kOrder[i % 4];
  });
  // What to add to a value, by its range: upper case, lower case, ten digits, the last two.
  alignas(16) static constexpr auto kOffsets = MakeTable<16>([](std::size_t i) {
    const std::size_t value = i == 0 ? 0 : i == 1 ? 26 : i + 50;
    return value < 64 ? kBase64Alphabet[value] - static_cast<int>(value) : 0;
  });
  const D d;
  const hn::RebindToSigned<D> asSigned;
  const hn::Repartition<std::uint16_t, D> words;
  const auto groups = hn::BitCast(words, hn::TableLookupBytes(bytes, InEachLane<D>(kSpread)));
  const auto lower =
      hn::MulHigh(hn::And(groups, Words<D>(0xFC00, 0x0FC0)), Words<D>(1 << 6, 1 << 10));
  const auto upper = hn::And(groups, Words<D>(0x03F0, 0x003F)) * Words<D>(1 << 4, 1 << 8);
  const auto values = hn::BitCast(d, hn::Or(lower, upper));
  const auto isNotUpperCase = hn::BitCast(asSigned, values) > hn::Set(asSigned, 25);
  const auto minusOne = hn::BitCast(d, hn::VecFromMask(asSigned, isNotUpperCase));
  const auto range = hn::SaturatedSub(values, hn::Set(d, 51)) - minusOne;
  return hn::Add(values, hn::TableLookupBytes(InEachLane<D>(kOffsets), range));
}

template <typename D>
std::size_t EncodeVectors(const Byte* bytes, std::size_t length, Byte* text) {
  std::size_t done = 0;
#pragma GCC unroll 2
  for (; length - done >= kBytes<D> + 4; done += kBytes<D>, text += kCharacters<D>) {
    hn::StoreU(CharactersOf<D>(LoadGroups(D(), bytes + done)), D(), text);
  }
  return done;
}

std::size_t Encode(const Byte* bytes, std::size_t length, Byte* text) {
  const std::size_t done = EncodeVectors<FullVector>(bytes, length, text);
  return done + EncodeVectors<BlockVector>(bytes + done, length - done, text + done / 3 * 4);
}

// By the upper four bits of a character, its kind: those that it shares the valid lower bits with.
constexpr Byte KindOf(std::size_t upper) {
  constexpr Byte kKinds[] = {0, 0, 1, 2, 4, 8, 4, 8};
  return upper < 8 && kKinds[upper] != 0 ? kKinds[upper] : static_cast<Byte>(16);
}

constexpr bool IsInAlphabet(std::size_t c) {
  return c < 128 && kBase64Values[c] < 64;
}

// The kinds to which no character with these lower four bits belongs.
constexpr Byte WrongKinds(std::size_t lower) {
  unsigned kinds = 0;
  for (std::size_t upper = 0; upper < 16; ++upper) {
    if (!IsInAlphabet(16 * upper + lower)) kinds |= KindOf(upper);
  }
  return static_cast<Byte>(kinds);
}

// What to add to a character, by its upper four bits; to "/", by those less one.
constexpr int ValueOffset(std::size_t upper) {
  if (upper == 1) return 63 - '/';
  for (std::size_t c = 16 * upper; c < 16 * upper + 15; ++c) {
    if (IsInAlphabet(c)) return kBase64Values[c] - static_cast<int>(c);
  }
  return 0;
}

alignas(16) constexpr auto kKinds = MakeTable<16>(KindOf);
alignas(16) constexpr auto kWrongKinds = MakeTable<16>(WrongKinds);
alignas(16) constexpr auto kValueOffsets = MakeTable<16>(ValueOffset);
// The three bytes of each word, the highest first.
alignas(16) constexpr auto kPacked = MakeTable<16>([](std::size_t i) {
  return i < 12 ? i / 3 * 4 + 2 - i % 3 : 0x80;
});

// Four values of six bits to a word of 24. Highway has no multiplication of bytes; with shifts
// instead, decoding to 64 KiB took 4.8 us, not 3.0 (AVX2, Zen 5, g++ 12).
hn::Vec128<Byte> Joined(hn::Vec128<Byte> values) {
  const __m128i pairs = _mm_maddubs_epi16(values.raw, _mm_set1_epi32(0x01400140));
  return hn::Vec128<Byte>{_mm_madd_epi16(pairs, _mm_set1_epi32(0x00011000))};
}
#if HWY_TARGET == HWY_AVX2
hn::Vec256<Byte> Joined(hn::Vec256<Byte> values) {
  const __m256i pairs = _mm256_maddubs_epi16(values.raw, _mm256_set1_epi32(0x01400140));
  return hn::Vec256<Byte>{_mm256_madd_epi16(pairs, _mm256_set1_epi32(0x00011000))};
}
#endif

// The first 12 bytes of each lane.
void StoreGroups(hn::Vec128<Byte> bytes, Byte* target) {
  const hn::Repartition<std::uint32_t, BlockVector> words;
  hn::StoreU(hn::LowerHalf(bytes), hn::Half<BlockVector>(), target);
  const std::uint32_t last = hn::ExtractLane(hn::BitCast(words, bytes), 2);
  std::memcpy(target + 8, &last, sizeof last);
}
#if HWY_TARGET == HWY_AVX2
void StoreGroups(hn::Vec256<Byte> bytes, Byte* target) {
  alignas(32) static constexpr std::int32_t kWords[] = {0, 1, 2, 4, 5, 6, 7, 7};
  const hn::Repartition<std::uint32_t, FullVector> words;
  const auto indices = hn::SetTableIndices(words, kWords);
  const auto packed =
      hn::BitCast(FullVector(), hn::TableLookupLanes(hn::BitCast(words, bytes), indices));
  hn::StoreU(hn::LowerHalf(packed), BlockVector(), target);
  const hn::Half<BlockVector> eight;
  hn::StoreU(hn::LowerHalf(eight, hn::UpperHalf(BlockVector(), packed)), eight, target + 16);
}
#endif

template <typename D>
std::size_t DecodeVectors(const Byte* text, std::size_t length, Byte* kept, Byte* decoded) {
  const D d;
  const hn::Repartition<std::uint16_t, D> words;
  const auto fifteen = hn::Set(d, 15);
  std::size_t done = 0;
  for (; length - done >= kCharacters<D>; done += kCharacters<D>, decoded += kBytes<D>) {
    const auto characters = hn::LoadU(d, text + done);
    const auto upper =
        hn::And(hn::BitCast(d, hn::ShiftRight<4>(hn::BitCast(words, characters))), fifteen);
    const auto kinds = hn::TableLookupBytes(InEachLane<D>(kKinds), upper);
    const auto wrongKinds =
        hn::TableLookupBytes(InEachLane<D>(kWrongKinds), hn::And(characters, fifteen));
    if (!hn::AllTrue(d, hn::And(kinds, wrongKinds) == hn::Zero(d))) break;
    const auto isSlash = hn::VecFromMask(d, characters == hn::Set(d, Byte{'/'}));
    const auto offsets = hn::TableLookupBytes(InEachLane<D>(kValueOffsets), upper + isSlash);
    hn::StoreU(characters, d, kept + done);
    const auto groups = Joined(characters + offsets);
    StoreGroups(hn::TableLookupBytes(groups, InEachLane<D>(kPacked)), decoded);
  }
  return done;
}

std::size_t Decode(const Byte* text, std::size_t length, Byte* kept, Byte* decoded) {
  const std::size_t done = DecodeVectors<FullVector>(text, length, kept, decoded);
  return done + DecodeVectors<BlockVector>(text + done, length - done, kept + done,
                                           decoded + done / 4 * 3);
}

#endif

}  // namespace

void AddBase64Kernels(Base64Kernels& kernels) {
  kernels = {Encode, Decode};
}

#endif  // VELMORA_HAS_KERNELS
}  // namespace HWY_NAMESPACE
}  // namespace velmora::internal
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace velmora::internal {
namespace {

Base64Kernels MakeKernels(platform::SimdSet set) {
  Base64Kernels kernels = {
      [](const unsigned char*, std::size_t, unsigned char*) { return std::size_t{0}; },
      [](const unsigned char*, std::size_t, unsigned char*, unsigned char*) {
        return std::size_t{0};
      }};
  VELMORA_CALL_KERNELS(set, AddBase64Kernels(kernels));
  return kernels;
}

}  // namespace

const Base64Kernels& ChosenBase64Kernels() {
  static const Base64Kernels kernels = MakeKernels(platform::ChosenSimdSet());
  return kernels;
}

}  // namespace velmora::internal
#endif  // HWY_ONCE
