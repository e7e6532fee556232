#include "velmora/image/internal/colour_tables.h"
#include "velmora/image/internal/row_routines.h"

#include <cstring>

namespace velmora::internal {
namespace {

// ---- packed pixels and palettes ----

void BitsToGrey(const Byte* source, Byte* target, int width, const Byte* palette) {
  const Byte values[2] = {palette[0], palette[1]};
  int x = 0;
  for (; x <= width - 8; x += 8) {  // not x + 8 <= width: the sum may exceed an int
    const unsigned bits = *source++;
    for (int bit = 0; bit < 8; ++bit) target[x + bit] = values[(bits >> (7 - bit)) & 1U];
  }
  for (; x < width; ++x) target[x] = values[(*source >> (7 - x % 8)) & 1];
}

void WriteColour(Byte* target, const Byte* entry) {
  // Loaded before the first store: the compiler cannot know that the two do not overlap.
  const Byte blue = entry[0], green = entry[1], red = entry[2];
  target[0] = blue;
  target[1] = green;
  target[2] = red;
}

void BitsToColour(const Byte* source, Byte* target, int width, const Byte* palette) {
  for (int x = 0; x < width; ++x, target += 3) {
    WriteColour(target, palette + 4 * ((source[x / 8] >> (7 - x % 8)) & 1));
  }
}

void NibblesToGrey(const Byte* source, Byte* target, int width, const Byte* palette) {
  int x = 0;
  for (; x <= width - 2; x += 2) {
    const unsigned pair = *source++;
    target[x] = palette[pair >> 4];
    target[x + 1] = palette[pair & 15U];
  }
  if (x < width) target[x] = palette[*source >> 4];
}

void WriteGrey(Byte* target, unsigned value) {
  target[0] = target[1] = target[2] = static_cast<Byte>(value);
}

void NibblesToColour(const Byte* source, Byte* target, int width, const Byte*) {
  int x = 0;
  for (; x + 2 <= width; x += 2, target += 6) {
    const unsigned pair = *source++;
    WriteGrey(target, (pair >> 4) * 15);
    WriteGrey(target + 3, (pair & 15U) * 15);
  }
  if (x < width) WriteGrey(target, (*source >> 4) * 15U);
}

template <int kBytesPerPixel>
void CopyPixels(const Byte* source, Byte* target, int width, const Byte*) {
  std::memcpy(target, source, static_cast<std::size_t>(width) * kBytesPerPixel);
}

void IndexedBytesToGrey(const Byte* source, Byte* target, int width, const Byte* palette) {
  for (int x = 0; x < width; ++x) target[x] = palette[source[x]];
}

void IndexedBytesToColour(const Byte* source, Byte* target, int width, const Byte* palette) {
  for (int x = 0; x < width; ++x, target += 3) WriteColour(target, palette + 4 * source[x]);
}

void BytesToColour(const Byte* source, Byte* target, int width, const Byte*) {
  for (int x = 0; x < width; ++x, target += 3) WriteGrey(target, source[x]);
}

// ---- 16-bit words ----

struct Word565 {
  static constexpr unsigned Red(unsigned p) { return (p >> 8) & 0xF8U; }
  static constexpr unsigned Green(unsigned p) { return (p >> 3) & 0xFCU; }
  static constexpr unsigned Blue(unsigned p) { return (p << 3) & 0xFFU; }
};

struct Word555 {
  static constexpr unsigned Red(unsigned p) { return (p >> 7) & 0xF8U; }
  static constexpr unsigned Green(unsigned p) { return (p >> 2) & 0xF8U; }
  static constexpr unsigned Blue(unsigned p) { return (p << 3) & 0xFFU; }
};

unsigned LittleEndianWord(const Byte* bytes) {
  return bytes[0] | static_cast<unsigned>(bytes[1]) << 8;
}

// What each byte of a word adds to the weighted sum: the two add up, as no bit of the word reaches
// into more than one channel.
template <typename Word>
struct WordWeights {
  std::array<std::uint32_t, 256> low{}, high{};

  constexpr WordWeights() {
    for (unsigned byte = 0; byte < 256; ++byte) {
      low[byte] = WeightedSum(Word::Red(byte), Word::Green(byte), Word::Blue(byte));
      const unsigned p = byte << 8;
      high[byte] = WeightedSum(Word::Red(p), Word::Green(p), Word::Blue(p));
    }
  }
};

template <typename Word>
constexpr WordWeights<Word> kWordWeights;

template <typename Word>
void WordsToLuminance(const Byte* source, Byte* target, int width, const Byte*) {
  const WordWeights<Word>& weights = kWordWeights<Word>;
  for (int x = 0; x < width; ++x, source += 2) {
    target[x] = static_cast<Byte>((weights.low[source[0]] + weights.high[source[1]]) >> 16);
  }
}

template <unsigned (*kChannel)(unsigned)>
void WordsToChannel(const Byte* source, Byte* target, int width, const Byte*) {
  for (int x = 0; x < width; ++x, source += 2) {
    target[x] = static_cast<Byte>(kChannel(LittleEndianWord(source)));
  }
}

template <typename Word>
void WordsToColour(const Byte* source, Byte* target, int width, const Byte*) {
  for (int x = 0; x < width; ++x, source += 2, target += 3) {
    const unsigned p = LittleEndianWord(source);
    target[0] = static_cast<Byte>(Word::Blue(p));
    target[1] = static_cast<Byte>(Word::Green(p));
    target[2] = static_cast<Byte>(Word::Red(p));
  }
}

// ---- whole bytes: a pixel is kStep bytes, of which the channels are those at the offsets ----

template <int kStep, int kOffset>
void BytesToChannel(const Byte* source, Byte* target, int width, const Byte*) {
  for (int x = 0; x < width; ++x, source += kStep) target[x] = source[kOffset];
}

template <int kStep, int kBlue, int kGreen, int kRed>
void BytesToLuminance(const Byte* source, Byte* target, int width, const Byte*) {
  for (int x = 0; x < width; ++x, source += kStep) {
    target[x] = Luminance(source[kRed], source[kGreen], source[kBlue]);
  }
}

template <int kStep, int kBlue, int kGreen, int kRed>
void BytesToColour(const Byte* source, Byte* target, int width, const Byte*) {
  for (int x = 0; x < width; ++x, source += kStep, target += 3) {
    target[0] = source[kBlue];
    target[1] = source[kGreen];
    target[2] = source[kRed];
  }
}

// ---- YUV ----

// What a chroma pair adds to the luminance.
struct ChromaTerms {
  int blue, green, red;

  ChromaTerms(Byte v, Byte u)
      : blue(kYuv.ub[u]), green(-kYuv.vg[v] - kYuv.ug[u]), red(kYuv.vr[v]) {}
};

Byte ClampToByte(int value) {
  return static_cast<Byte>(value < 0 ? 0 : value > 255 ? 255 : value);
}

void WriteYuvPixel(Byte luminance, const ChromaTerms& chroma, Byte* target) {
  const int y = kYuv.y[luminance];
  target[0] = ClampToByte(y + chroma.blue);
  target[1] = ClampToByte(y + chroma.green);
  target[2] = ClampToByte(y + chroma.red);
}

template <int kV, int kU>
void YuvToColour(const Byte* luminance, const Byte* chroma, Byte* target, int width) {
  int x = 0;
  for (; x + 2 <= width; x += 2, target += 6) {
    const ChromaTerms terms(chroma[x + kV], chroma[x + kU]);
    WriteYuvPixel(luminance[x], terms, target);
    WriteYuvPixel(luminance[x + 1], terms, target + 3);
  }
  if (x < width) WriteYuvPixel(luminance[x], {chroma[x + kV], chroma[x + kU]}, target);
}

template <int kV, int kU>
void FlatYuvToColour(const Byte* luminance, const Byte* pair, Byte* target, int width) {
  const ChromaTerms terms(pair[kV], pair[kU]);
  for (int x = 0; x < width; ++x, target += 3) WriteYuvPixel(luminance[x], terms, target);
}

// The four kinds of grey that a palette or a single channel does not tell apart.
constexpr std::array<RowRoutine, kGreyKindCount> EachKind(RowRoutine routine) {
  return {routine, routine, routine, routine};
}

template <typename Word>
constexpr std::array<RowRoutine, kGreyKindCount> kWordsToGrey = {
    WordsToLuminance<Word>, WordsToChannel<Word::Red>, WordsToChannel<Word::Green>,
    WordsToChannel<Word::Blue>};

template <int kStep, int kBlue, int kGreen, int kRed>
constexpr std::array<RowRoutine, kGreyKindCount> kBytesToGrey = {
    BytesToLuminance<kStep, kBlue, kGreen, kRed>, BytesToChannel<kStep, kRed>,
    BytesToChannel<kStep, kGreen>, BytesToChannel<kStep, kBlue>};

}  // namespace

// In the order of SourceLayout.
const RowRoutines kPlainRowRoutines = {
    /*toGrey=*/{{EachKind(BitsToGrey), EachKind(NibblesToGrey), EachKind(CopyPixels<1>),
                 EachKind(IndexedBytesToGrey), kWordsToGrey<Word565>, kWordsToGrey<Word555>,
                 kBytesToGrey<3, 0, 1, 2>, kBytesToGrey<3, 2, 1, 0>, kBytesToGrey<3, 0, 1, 2>,
                 kBytesToGrey<3, 2, 1, 0>, kBytesToGrey<4, 0, 1, 2>, kBytesToGrey<4, 2, 1, 0>,
                 EachKind(nullptr), EachKind(nullptr), EachKind(nullptr)}},
    /*toColour=*/
    {BitsToColour, NibblesToColour, BytesToColour, IndexedBytesToColour, WordsToColour<Word565>,
     WordsToColour<Word555>, CopyPixels<3>, BytesToColour<3, 2, 1, 0>, nullptr, nullptr,
     BytesToColour<4, 0, 1, 2>, BytesToColour<4, 2, 1, 0>, BytesToColour<6, 1, 3, 5>,
     BytesToColour<8, 5, 3, 1>, BytesToColour<8, 1, 3, 5>},
    /*yuvToColour=*/{YuvToColour<0, 1>, YuvToColour<1, 0>},
    /*yuvFlatToColour=*/{FlatYuvToColour<0, 1>, FlatYuvToColour<1, 0>},
};

}  // namespace velmora::internal
