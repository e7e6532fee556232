#include "tests/image/conversion_twin.h"

namespace velmora {
namespace {

using namespace basic_structures;
using namespace testing;

using Image = std::unique_ptr<const CImageData>;
using Byte = unsigned char;
using Bytes = std::vector<Byte>;

constexpr int kMax = std::numeric_limits<int>::max();
constexpr int kMin = std::numeric_limits<int>::min();

Image Convert(const CImageData& image, ColourChannelUsageType usage = {}) {
  return Image(Nx_ConvertImageData(&image, usage));
}
Image ToGrey(ConvertData data) {
  return Image(Nx_ConvertToGrayscale(&data));
}
Image ToColour(ConvertData data) {
  return Image(Nx_ConvertToRGB(&data));
}
ConvertData Descriptor(const unsigned char* bytes, int width, int height, int stride, int bits) {
  return {bytes, width, height, stride, bits, 0, 0, false, false, false, false, {}};
}
Bytes BytesOf(const Image& image) {
  return Bytes(image->GetBytes(), image->GetBytes() + image->GetBytesLength());
}

// Random bytes that are the same everywhere.
Bytes RandomBytes(std::size_t count, unsigned seed) {
  std::mt19937 random(seed);
  Bytes bytes(count);
  for (unsigned char& byte : bytes) byte = static_cast<unsigned char>(random() >> 24);
  return bytes;
}

Converted Read(const Image& image) {
  if (image == nullptr) return std::nullopt;
  return std::tuple(image->GetWidth(), image->GetHeight(), image->GetStride(),
                    image->GetImagePixelFormat(), BytesOf(image));
}

// Every format, usage and width with rows that are tight, padded, odd, or shorter than they should
// be; each image in a buffer that holds what the conversion reads and nothing else, and in one that
// lacks the last byte. All bytes are random, padding included.
TEST(PixelConversion, EqualsThePixelwiseTwinForEveryImage) {
  const Bytes source = RandomBytes(8192, 5);
  for (int f = 0; f < kFormatCount; ++f) {
    const auto format = static_cast<ImagePixelFormat>(f);
    for (int u = 0; u < kUsageCount; ++u) {
      const auto usage = static_cast<ColourChannelUsageType>(u);
      for (int width = 1; width <= 67; ++width) {
        const int row = (width * kBitsPerPixel[f] + 7) / 8;
        for (const int stride : {row, row + 1, row + 4, row + 13, row / 2 + 1}) {
          const int height = 1 + (width + stride) % 5;
          SCOPED_TRACE(::testing::Message() << "format " << f << " usage " << u << " size " << width
                                            << 'x' << height << " stride " << stride);
          std::int64_t needed = 0;
          const Converted twin =
              TwinOfImage(source.data(), width, height, stride, format, usage, needed);
          // Exactly `length` bytes on the heap: the address sanitizer sees a byte too far.
          const auto convert = [&](std::int64_t length) {
            const Bytes exact(source.begin(), source.begin() + static_cast<std::ptrdiff_t>(length));
            return Convert(CImageData(exact.size(), exact.data(), nullptr, width, height, stride,
                                      format, 0, nullptr),
                           usage);
          };
          EXPECT_EQ(Read(convert(needed)), twin);
          EXPECT_TRUE(needed == 1 || convert(needed - 1) == nullptr);
          if (HasFailure()) return;
        }
      }
    }
  }
}

// Everything else that a descriptor can say.
TEST(PixelConversion, EqualsThePixelwiseTwinForEveryDescriptor) {
  const Bytes source = RandomBytes(4096, 6);
  const Bytes colours = RandomBytes(1000, 7);
  for (const int bits : {0, 1, 2, 4, 7, 8, 16, 24, 32, 48, 64, 128}) {
    for (int flags = 0; flags < 16; ++flags) {
      for (const int paletteSize : {0, 1, 2, 5, 6, 16, 255, 256, 768, 1000}) {
        const int width = 1 + (bits + 5 * flags + paletteSize) % 23;
        const int padding = (flags + paletteSize) % 3;
        const int stride = (width * bits + 7) / 8 + padding;
        ConvertData data(source.data(), width, 5, stride, bits, 11, 22, (flags & 1) != 0,
                         (flags & 2) != 0, (flags & 4) != 0, (flags & 8) != 0,
                         static_cast<ColourChannelUsageType>((flags + paletteSize) % kUsageCount));
        data.palette.assign(colours.begin(), colours.begin() + paletteSize);
        SCOPED_TRACE(::testing::Message() << bits << " bits, flags " << flags << ", palette "
                                          << paletteSize << ", width " << width);
        EXPECT_EQ(Read(ToGrey(data)), ConversionTwin(data).ToGrey());
        EXPECT_EQ(Read(ToColour(data)), ConversionTwin(data).ToColour());
        if (HasFailure()) return;
      }
    }
  }
}

// Each byte in each place of a block, with palettes that have no pattern of their own.
TEST(PixelConversion, EqualsThePixelwiseTwinForEveryIndex) {
  Bytes indices(4 * 256);
  for (std::size_t i = 0; i < indices.size(); ++i) indices[i] = static_cast<Byte>(i * 37 + i / 256);
  for (const int bits : {1, 4, 8}) {
    for (int width = 16; width <= 272; width += width < 144 ? 1 : 16) {
      const int row = (width * bits + 7) / 8, stride = row + width % 2;
      const int height = static_cast<int>(indices.size()) / stride;
      // Ends with the last row, which has no padding.
      const Bytes exact(indices.begin(), indices.begin() + (height - 1) * stride + row);
      ConvertData data = Descriptor(exact.data(), width, height, stride, bits);
      data.palette = RandomBytes(768, static_cast<unsigned>(width));
      SCOPED_TRACE(::testing::Message() << bits << " bits, width " << width);
      ASSERT_EQ(Read(ToGrey(data)), ConversionTwin(data).ToGrey());
      ASSERT_EQ(Read(ToColour(data)), ConversionTwin(data).ToColour());
    }
  }
}

TEST(PixelConversion, EqualsThePixelwiseTwinForEveryWord) {
  Bytes words;
  for (int word = 0; word < 65536; ++word) {
    words.push_back(static_cast<Byte>(word % 256));
    words.push_back(static_cast<Byte>(word / 256));
  }
  for (const bool is565 : {false, true}) {
    ConvertData data = Descriptor(words.data(), 65536, 1, 131072, 16);
    data.is565 = is565;
    for (int usage = 2; usage < kUsageCount; ++usage) {
      data.colourChannelUsage = static_cast<ColourChannelUsageType>(usage);
      EXPECT_TRUE(Read(ToGrey(data)) == ConversionTwin(data).ToGrey()) << is565 << usage;
    }
    EXPECT_TRUE(Read(ToColour(data)) == ConversionTwin(data).ToColour()) << is565;
  }
}

// Each luminance with each pair, in an even and in an odd column; with U first some V will do.
TEST(PixelConversion, ComputesTheColourOfEveryYuvTriple) {
  const auto offsets = [](int offset, int weight) {
    std::array<int, 256> table;
    for (std::size_t i = 0; i < 256; ++i) {
      table[i] = static_cast<int>(std::floor((static_cast<int>(i) - offset) * weight / 256.0));
    }
    return table;
  };
  const auto y = offsets(16, 298), redV = offsets(128, 409), greenV = offsets(128, 208),
             greenU = offsets(128, 100), blueU = offsets(128, 517);
  const auto clamped = [](int value) { return static_cast<Byte>(std::clamp(value, 0, 255)); };
  // A row of pairs for each U serves a row of ascending luminance and one of descending.
  Bytes frame;
  for (int i = 0; i < 512 * 256; ++i) frame.push_back(static_cast<Byte>(i / 256 % 2 ? ~i : i));
  frame.resize(frame.size() * 3 / 2);
  for (const bool isUFirst : {false, true}) {
    for (std::size_t v = 0; v < 256; v += isUFirst ? 15 : 1) {
      for (std::size_t i = 0; i < 256 * 256; ++i) {
        frame[512 * 256 + i] = static_cast<Byte>((i % 2 == 0) == isUFirst ? i / 256 : v);
      }
      ConvertData data = Descriptor(frame.data(), 256, 512, 256, 24);
      data.isYuv = true;
      data.reversed = isUFirst;
      const Image image = ToColour(data);
      const Byte* pixel = image->GetBytes();
      for (std::size_t i = 0; i < 512 * 256; ++i, pixel += 3) {
        const std::size_t u = i / 512;
        const int luminance = std::max(y[frame[i]], 0);
        const bool isRight = pixel[0] == clamped(luminance + blueU[u]) &&
                             pixel[1] == clamped(luminance - greenV[v] - greenU[u]) &&
                             pixel[2] == clamped(luminance + redV[v]);
        ASSERT_TRUE(isRight) << "Y " << int{frame[i]} << ", U " << u << ", V " << v;
      }
    }
  }
}

// Worked out by hand: the twin may share a misunderstanding. Each with its tag and orientation.
TEST(PixelConversion, KnownPixels) {
  const Bytes redFirst = {0x00, 0xFF, 0, 0, 0, 0, 0xFF, 0xFF};
  const Bytes yuv = {126, 126, 126, 126, 255, 128};
  struct Row {
    const char* name;
    ImagePixelFormat format;
    ColourChannelUsageType usage;
    int width, height, stride;
    Bytes bytes, want;
  };
  const Row rows[] = {
      {"1 bit", PXF_BinaryPacked, CCU_Red, 3, 1, 1, {0xA0}, {255, 0, 255}},
      {"1 bit inverted", PXF_BinaryPackedInverted, CCU_Luminance, 3, 1, 1, {0xA0}, {0, 255, 0}},
      {"inverted bytes stay", PXF_Binary8Inverted, CCU_Unrestricted, 1, 2, 2, {7, 8, 9, 1}, {7, 9}},
      {"5-6-5", PXF_Colour565, CCU_Unrestricted, 1, 1, 2, {0xE0, 0x07}, {0, 252, 0}},
      {"5-5-5", PXF_Colour555, CCU_Unrestricted, 1, 1, 2, {0xE0, 0x03}, {0, 248, 0}},
      {"R, G, B", PXF_Colour888Reversed, CCU_Red, 1, 1, 3, {9, 8, 7}, {9}},
      {"red of BGRA", PXF_Colour8888, CCU_Red, 1, 1, 4, {9, 8, 254, 1}, {254}},
      {"red of RGBA", PXF_Colour8888Reversed, CCU_Red, 1, 1, 4, {9, 8, 254, 1}, {9}},
      {"48 bits", PXF_Colour161616, CCU_Unrestricted, 1, 1, 6, {1, 2, 3, 4, 5, 6}, {2, 4, 6}},
      {"luminance", PXF_YuvSemiPlanar, CCU_Luminance, 1, 2, 2, yuv, {126, 126}},
      {"64 bits, red first", PXF_Colour16161616, CCU_AllChannels, 1, 1, 8, redFirst, {0, 0, 255}},
      {"its twin", PXF_Colour16161616Reversed, CCU_AllChannels, 1, 1, 8, redFirst, {255, 0, 0}},
      {"V, U", PXF_YuvSemiPlanar, CCU_Red, 1, 2, 2, yuv, {128, 25, 255, 128, 25, 255}},
      {"U, V", PXF_YuvSemiPlanarReversed, CCU_Red, 1, 2, 2, yuv, {255, 79, 128, 255, 79, 128}}};
  const CFileImageTag tag("page", 4, 9);
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    const CImageData source(row.bytes.size(), row.bytes.data(), nullptr, row.width, row.height,
                            row.stride, row.format, 270, &tag);
    const Image image = Convert(source, row.usage);
    EXPECT_EQ(BytesOf(image), row.want);
    EXPECT_EQ(image->GetOrientation(), 270);
    ASSERT_NE(image->GetImageTag(), nullptr);
    EXPECT_NE(image->GetImageTag(), source.GetImageTag());
    EXPECT_EQ(static_cast<const CFileImageTag*>(image->GetImageTag())->GetPageNumber(), 4);
  }
  const unsigned char whiteAndRed[] = {255, 255, 255, 0, 0, 255};
  EXPECT_EQ(BytesOf(ToGrey(Descriptor(whiteAndRed, 2, 1, 6, 24))), (Bytes{255, 76}));
}

TEST(PixelConversion, TrustsGeometryOnlyIfTheLengthIsUnknown) {
  const Bytes bytes(12, 200);
  const CImageData unknown(0, bytes.data(), nullptr, 3, 1, 12, PXF_Colour8888, 0, nullptr);
  const CImageData huge(1ULL << 32, bytes.data(), nullptr, 3, 1, 12, PXF_Colour8888, 0, nullptr);
  const CImageData copy(1ULL << 32, bytes.data(), 3, 1, 12, PXF_Colour8888, 0, nullptr);
  const CImageData endless(~0U, bytes.data(), nullptr, 1, kMax, 1, PXF_YuvSemiPlanar, 0, nullptr);
  const NxImageDataInner wrapped(16, 65536, 65536, PXF_Grayscale8);
  const Image raw(NxImageDataInner::CreateUninitialised(16, 65536, 65536, PXF_Grayscale8));
  EXPECT_NE(Convert(unknown), nullptr);
  EXPECT_EQ(Convert(huge) != nullptr, sizeof(void*) == 8) << "4 GiB, where there can be so many";
  EXPECT_EQ(Convert(copy), nullptr) << "an own buffer of 0 bytes, the low 32 bits of 4 GiB";
  EXPECT_EQ(Convert(endless), nullptr) << "at once, and without an overflow";
  EXPECT_EQ(Convert(wrapped), nullptr) << "another whose length wraps to 0";
  EXPECT_EQ(Convert(*raw), nullptr) << "a third";
}

TEST(PixelConversion, RefusesNoPixelsAndSizesThatWrap) {
  const unsigned char bytes[8] = {};
  EXPECT_EQ(ToGrey(Descriptor(nullptr, 2, 2, 2, 8)), nullptr);
  for (const auto& [width, height] :
       {std::pair{0, 5}, {-2, -3}, {65536, 65537}, {65536, 65536}, {46341, 46341}, {kMin, kMin}}) {
    EXPECT_EQ(ToGrey(Descriptor(bytes, width, height, 0, 8)), nullptr) << width;
    EXPECT_EQ(ToColour(Descriptor(bytes, width, height, 0, 8)), nullptr) << width;
  }
  // 3 * 715827883 is 1 more than 2^31; a stride of it would be negative.
  EXPECT_EQ(ToColour(Descriptor(bytes, 715827883, 1, 0, 8)), nullptr);
  EXPECT_EQ(Nx_ConvertImageData(nullptr, {}), nullptr);
  EXPECT_EQ(Nx_ConvertToGrayscale(nullptr), nullptr);
  EXPECT_EQ(Nx_ConvertToRGB(nullptr), nullptr);
}

TEST(PixelConversion, UpdateByFormatOnlySets) {
  ConvertData data(nullptr, 1, 1, 1, 3, 0, 0, true, true, true, true, {});
  data.UpdateByFormat(PXF_BinaryPacked);
  data.UpdateByFormat(PXF_BinaryPackedInverted);
  EXPECT_EQ(data.palette, (Bytes{0, 255, 255, 0}));
  EXPECT_TRUE(data.bottomUp && data.is565 && data.reversed && data.isYuv);
}

std::vector<std::string> Words(const char* text) {
  std::istringstream words(text);
  return {std::istream_iterator<std::string>(words), {}};
}

const std::vector<std::string> kFormats = Words(
    "BinaryPacked BinaryPackedInverted Grayscale8 YuvSemiPlanar Colour565 Colour555 Colour888 "
    "Colour8888 Colour161616 Colour16161616 Colour8888Reversed Colour16161616Reversed "
    "Colour888Reversed Binary8 YuvSemiPlanarReversed Binary8Inverted");

// What becomes of a format for each usage.
std::string MatrixRow(std::size_t format) {
  std::string text = "| `PXF_" + kFormats[format] + "` |";
  for (int usage = 0; usage < kUsageCount; ++usage) {
    const auto convertEightPixels = [&](int stride) {
      const Bytes bytes(static_cast<std::size_t>(stride) * 3);
      return Convert(CImageData(bytes.size(), bytes.data(), nullptr, 8, 2, stride,
                                static_cast<ImagePixelFormat>(format), 0, nullptr),
                     static_cast<ColourChannelUsageType>(usage));
    };
    const int row = kBitsPerPixel[format];
    const auto padded = convertEightPixels(row + 8), tight = convertEightPixels(row);
    text += ' ';
    text += padded ? kFormats[static_cast<std::size_t>(padded->GetImagePixelFormat())] : "refused";
    text += padded && !tight ? " * |" : " |";
  }
  return text + '\n';
}

TEST(ConversionMatrix, IsTheOneInTheDocumentation) {
  const std::string page = ReadFile(VELMORA_SOURCE_DIR "/docs/images.md");
  std::string want;
  for (std::size_t format = 0; format < kFormats.size(); ++format) want += MatrixRow(format);
  EXPECT_NE(page.find(want), std::string::npos) << "docs/images.md should have:\n" << want;
}

// What a conversion of a 2x2 image with rows of 16 bytes writes, with the durations as "N".
std::string LoggedBy(LogMode mode, int level, int format, ColourChannelUsageType usage) {
  const ScopedLog log(mode, level);
  const unsigned char bytes[32] = {};
  Convert(
      CImageData(32, bytes, nullptr, 2, 2, 16, static_cast<ImagePixelFormat>(format), 0, nullptr),
      usage);
  return std::regex_replace(log.Messages(), std::regex("duration [^\n]*"), "duration N");
}

TEST(ConversionLog, WritesTheStepsOfAConversion) {
  struct Row {
    const char* name;
    int level, format;
    ColourChannelUsageType usage;
    std::string steps;
  };
  for (const Row& row :
       {Row{"formats are at level 9", 9, PXF_Colour8888, CCU_Unrestricted,
            "before convert imagePixelFormat: 7\n\n"
            "FuncStart Nx_ConvertToRGB\n"
            "FuncEnd Nx_ConvertToRGB, duration N\n"
            "after convert imagePixelFormat: 6\n\n"},
        Row{"functions at level 1", 1, PXF_Grayscale8, CCU_Unrestricted,
            "FuncStart Nx_ConvertToGrayscale\n"
            "FuncEnd Nx_ConvertToGrayscale, duration N\n"},
        Row{"a refusal has no end", 1, PXF_Colour161616, CCU_Green,
            "FuncStart Nx_ConvertToGrayscale\n"},
        Row{"to colour neither", 1, -1, CCU_Unrestricted, "FuncStart Nx_ConvertToRGB\n"}}) {
    EXPECT_EQ(
        LoggedBy(LM_Text, row.level, row.format, row.usage),
        "FuncStart Nx_ConvertImageData\n" + row.steps + "FuncEnd Nx_ConvertImageData, duration N\n")
        << row.name;
  }
  EXPECT_EQ(LoggedBy(LM_Image, 9, PXF_Colour8888, CCU_Unrestricted), "");
}

}  // namespace
}  // namespace velmora
