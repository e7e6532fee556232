#include "velmora/image/pixel_conversion.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "tests/image/conversion_twin.h"
#include "velmora/image/image_tag.h"
#include "velmora/image/nx_image_data_inner.h"

namespace velmora {
namespace {

using basic_structures::CImageData;
using basic_structures::ColourChannelUsageType;
using basic_structures::ConvertData;
using basic_structures::ImagePixelFormat;
using testing::ConversionTwin;
using testing::TwinImage;

using Image = std::unique_ptr<const CImageData>;
using Bytes = std::vector<unsigned char>;

constexpr int kMax = std::numeric_limits<int>::max();
constexpr int kMin = std::numeric_limits<int>::min();
constexpr int kFormatCount = 16;
constexpr int kUsageCount = 6;

// Random bytes that are the same everywhere.
Bytes RandomBytes(std::size_t count, unsigned seed) {
  std::mt19937 random(seed);
  Bytes bytes(count);
  for (unsigned char& byte : bytes) byte = static_cast<unsigned char>(random() >> 24);
  return bytes;
}

// One number for everything that was converted (FNV-1a).
class Signature {
 public:
  void Add(const CImageData* image) {
    AddByte(image != nullptr ? image->GetImagePixelFormat() : 255);
    if (image == nullptr) return;
    for (unsigned long long i = 0; i < image->GetBytesLength(); ++i) AddByte(image->GetBytes()[i]);
  }
  std::uint64_t Get() const { return hash_; }

 private:
  void AddByte(int byte) { hash_ = (hash_ ^ static_cast<std::uint64_t>(byte)) * 0x100000001B3U; }
  std::uint64_t hash_ = 0xCBF29CE484222325U;
};

// Borrows exactly `length` bytes, which it holds on the heap, so that the address sanitizer sees a
// byte too far.
Image ConvertExactly(const Bytes& source, std::int64_t length, int width, int height, int stride,
                     ImagePixelFormat format, ColourChannelUsageType usage) {
  const auto size = static_cast<std::size_t>(length);
  const auto exact = std::make_unique<unsigned char[]>(size);
  std::copy_n(source.begin(), size, exact.get());
  const CImageData image(size, exact.get(), nullptr, width, height, stride, format, 0, nullptr);
  return Image(Nx_ConvertImageData(&image, usage));
}

void ExpectSame(const CImageData* image, const std::optional<TwinImage>& twin, int width,
                int height) {
  ASSERT_EQ(image != nullptr, twin.has_value());
  if (image == nullptr) return;
  EXPECT_EQ(image->GetWidth(), width);
  EXPECT_EQ(image->GetHeight(), height);
  EXPECT_EQ(image->GetStride(), twin->stride);
  EXPECT_EQ(image->GetImagePixelFormat(), twin->format);
  ASSERT_EQ(image->GetBytesLength(), twin->bytes.size());
  EXPECT_EQ(Bytes(image->GetBytes(), image->GetBytes() + twin->bytes.size()), twin->bytes);
}

int BytesOfRow(ImagePixelFormat format, int width) {
  constexpr int kBits[] = {1, 1, 8, 8, 16, 16, 24, 32, 48, 64, 32, 64, 24, 8, 8, 8};
  return (width * kBits[format] + 7) / 8;
}

// Every format, usage and width with rows that are tight, padded, odd, or shorter than they should
// be; each image in a buffer that holds what the conversion reads and nothing else, and in one that
// lacks the last byte. All bytes are random, padding included.
TEST(PixelConversion, EqualsThePixelwiseTwinForEveryImage) {
  const Bytes source = RandomBytes(8192, 5);
  Signature signature;
  for (int f = 0; f < kFormatCount; ++f) {
    const auto format = static_cast<ImagePixelFormat>(f);
    for (int u = 0; u < kUsageCount; ++u) {
      const auto usage = static_cast<ColourChannelUsageType>(u);
      for (int width = 1; width <= 67; ++width) {
        const int row = BytesOfRow(format, width);
        for (const int stride : {row, row + 1, row + 4, row + 13, row / 2 + 1}) {
          const int height = 1 + (width + stride) % 5;
          SCOPED_TRACE(::testing::Message() << "format " << f << " usage " << u << " size " << width
                                            << 'x' << height << " stride " << stride);
          const auto twin =
              testing::TwinOfImage(source.data(), width, height, stride, format, usage);
          const std::int64_t needed = twin ? twin->readEnd : std::int64_t{stride} * height;
          const Image image = ConvertExactly(source, needed, width, height, stride, format, usage);
          ExpectSame(image.get(), twin, width, height);
          if (HasFailure()) return;
          signature.Add(image.get());
          if (needed > 1) {
            EXPECT_EQ(ConvertExactly(source, needed - 1, width, height, stride, format, usage),
                      nullptr);
          }
        }
      }
    }
  }
  EXPECT_EQ(signature.Get(), 0xB4AA57AC8E2D0BD6U);
}

// Everything else that a descriptor can say.
TEST(PixelConversion, EqualsThePixelwiseTwinForEveryDescriptor) {
  const Bytes source = RandomBytes(4096, 6);
  const Bytes colours = RandomBytes(1000, 7);
  Signature signature;
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
        const Image grey(Nx_ConvertToGrayscale(&data));
        ExpectSame(grey.get(), ConversionTwin(data).ToGrey(), width, 5);
        const Image colour(Nx_ConvertToRGB(&data));
        ExpectSame(colour.get(), ConversionTwin(data).ToColour(), width, 5);
        if (HasFailure()) return;
        signature.Add(grey.get());
        signature.Add(colour.get());
      }
    }
  }
  EXPECT_EQ(signature.Get(), 0x536C864D8FBA35FCU);
}

TEST(PixelConversion, DescriptorsMayRepeatARowOrWalkBackwards) {
  const unsigned char pixels[] = {1, 2, 3, 4, 5, 6};
  ConvertData data(pixels + 4, 2, 3, -2, 8, 0, 0, false, false, false, false, {});
  const Image flipped(Nx_ConvertToGrayscale(&data));
  EXPECT_EQ(Bytes(flipped->GetBytes(), flipped->GetBytes() + 6), (Bytes{5, 6, 3, 4, 1, 2}));
  data.stride = 0;
  const Image repeated(Nx_ConvertToGrayscale(&data));
  EXPECT_EQ(Bytes(repeated->GetBytes(), repeated->GetBytes() + 6), (Bytes{5, 6, 5, 6, 5, 6}));
}

// Worked out by hand: the twin may share a misunderstanding.
TEST(PixelConversion, KnownPixels) {
  using namespace basic_structures;
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
      {"1 bit",
       PXF_BinaryPacked,
       CCU_Red,
       9,
       1,
       2,
       {0xA0, 0x80},
       {255, 0, 255, 0, 0, 0, 0, 0, 255}},
      {"1 bit inverted", PXF_BinaryPackedInverted, CCU_Luminance, 3, 1, 1, {0xA0}, {0, 255, 0}},
      {"inverted bytes stay", PXF_Binary8Inverted, CCU_Unrestricted, 1, 2, 2, {7, 8, 9, 1}, {7, 9}},
      {"red of BGRA", PXF_Colour8888, CCU_Red, 1, 1, 4, {9, 8, 254, 1}, {254}},
      {"64 bits, red first", PXF_Colour16161616, CCU_AllChannels, 1, 1, 8, redFirst, {0, 0, 255}},
      {"its twin", PXF_Colour16161616Reversed, CCU_AllChannels, 1, 1, 8, redFirst, {255, 0, 0}},
      {"V, U", PXF_YuvSemiPlanar, CCU_Red, 1, 2, 2, yuv, {128, 25, 255, 128, 25, 255}},
      {"U, V", PXF_YuvSemiPlanarReversed, CCU_Red, 1, 2, 2, yuv, {255, 79, 128, 255, 79, 128}}};
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    const CImageData source(row.bytes.size(), row.bytes.data(), nullptr, row.width, row.height,
                            row.stride, row.format, 0, nullptr);
    const Image image(Nx_ConvertImageData(&source, row.usage));
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(Bytes(image->GetBytes(), image->GetBytes() + image->GetBytesLength()), row.want);
  }
  const unsigned char pixels[] = {255, 255, 255, 0, 0, 255};
  ConvertData data(pixels, 2, 1, 6, 24, 0, 0, false, false, false, false, {});
  const Image grey(Nx_ConvertToGrayscale(&data));
  EXPECT_EQ(grey->GetBytes()[0], 255);
  EXPECT_EQ(grey->GetBytes()[1], 76) << "pure red";
}

TEST(PixelConversion, CarriesTagAndOrientation) {
  const basic_structures::CFileImageTag tag("page", 4, 9);
  const Bytes bytes(16);
  const CImageData source(16, bytes.data(), nullptr, 2, 2, 8, basic_structures::PXF_Colour8888, 270,
                          &tag);
  const Image image(Nx_ConvertImageData(&source, {}));
  EXPECT_EQ(image->GetOrientation(), 270);
  ASSERT_NE(image->GetImageTag(), nullptr);
  EXPECT_NE(image->GetImageTag(), source.GetImageTag());
  EXPECT_EQ(
      static_cast<const basic_structures::CFileImageTag*>(image->GetImageTag())->GetPageNumber(),
      4);
}

TEST(PixelConversion, RefusesNothingToConvert) {
  EXPECT_EQ(Nx_ConvertImageData(nullptr, {}), nullptr);
  EXPECT_EQ(Nx_ConvertToGrayscale(nullptr), nullptr);
  EXPECT_EQ(Nx_ConvertToRGB(nullptr), nullptr);
  const CImageData noBytes(4, nullptr, 2, 2, 4, basic_structures::PXF_Colour565, 0, nullptr);
  EXPECT_EQ(Nx_ConvertImageData(&noBytes, {}), nullptr);
  ConvertData data(nullptr, 2, 2, 2, 8, 0, 0, false, false, false, false, {});
  EXPECT_EQ(Nx_ConvertToGrayscale(&data), nullptr);
  EXPECT_EQ(Nx_ConvertToRGB(&data), nullptr);
}

TEST(PixelConversion, UnknownLengthIsTrusted) {
  const Bytes bytes(12, 200);
  const CImageData source(0, bytes.data(), nullptr, 3, 1, 12, basic_structures::PXF_Colour8888, 0,
                          nullptr);
  EXPECT_NE(Image(Nx_ConvertImageData(&source, {})), nullptr);
  const CImageData huge(1ULL << 32, bytes.data(), nullptr, 3, 1, 12,
                        basic_structures::PXF_Colour8888, 0, nullptr);
  EXPECT_EQ(Image(Nx_ConvertImageData(&huge, {})), nullptr)
      << "of 4 GiB the low 32 bits count, and they are 0";
}

TEST(PixelConversion, LengthZeroOfAnOwnBufferIsNotUnknown) {
  const Bytes bytes(12, 200);
  const CImageData copy(0, bytes.data(), 3, 1, 12, basic_structures::PXF_Colour8888, 0, nullptr);
  const NxImageDataInner wrapped(16, 65536, 65536, basic_structures::PXF_Grayscale8);
  for (const CImageData* image : {&copy, static_cast<const CImageData*>(&wrapped)}) {
    EXPECT_EQ(image->GetBytesLength(), 0U);
    EXPECT_TRUE(image->IsLengthKnown());
    EXPECT_EQ(Image(Nx_ConvertImageData(image, {})), nullptr);
  }
}

// Whatever an image says of itself, nothing outside its 64 bytes is touched, and no time is lost.
TEST(PixelConversion, SurvivesAnyGeometry) {
  constexpr int kValues[] = {kMin,  kMin + 1, -65536, -3,     -1,        0,        1,     2,
                             3,     7,        8,      21,     32767,     32768,    46340, 46341,
                             65535, 65536,    65537,  131072, 715827882, kMax - 1, kMax};
  const Bytes bytes = RandomBytes(64, 8);
  std::mt19937 random(9);
  const auto pick = [&] {
    const auto index = random() % (std::size(kValues) + 2);
    return index < std::size(kValues) ? kValues[index] : static_cast<int>(random() % 64);
  };
  int converted = 0;
  for (int i = 0; i < 200'000; ++i) {
    const int width = pick(), height = pick(), stride = pick();
    const auto format = static_cast<ImagePixelFormat>(random() % (kFormatCount + 2));
    const auto usage = static_cast<ColourChannelUsageType>(random() % (kUsageCount + 1));
    const CImageData image(bytes.size(), bytes.data(), nullptr, width, height, stride, format, 0,
                           nullptr);
    if (Image(Nx_ConvertImageData(&image, usage)) != nullptr) ++converted;
  }
  EXPECT_GT(converted, 1000) << "the draw has images that are fine, too";
}

TEST(PixelConversion, RefusesASizeThatWraps) {
  struct Row {
    const char* name;
    int width, height;
  };
  const Bytes bytes(8);
  for (const Row& row :
       {Row{"wraps to a small product", 65536, 65537}, Row{"wraps to 0", 65536, 65536},
        Row{"wraps to less than 0", 46341, 46341}, Row{"both negative", -2, -3},
        Row{"all of it", kMin, kMin}, Row{"nothing", 0, 5}}) {
    SCOPED_TRACE(row.name);
    ConvertData data(bytes.data(), row.width, row.height, 0, 8, 0, 0, false, false, false, false,
                     {});
    EXPECT_EQ(Nx_ConvertToGrayscale(&data), nullptr);
    EXPECT_EQ(Nx_ConvertToRGB(&data), nullptr);
  }
  // 3 * 715827883 is 1 more than 2^31; a stride of it would be negative.
  ConvertData data(bytes.data(), 715827883, 1, 0, 8, 0, 0, false, false, false, false, {});
  EXPECT_EQ(Nx_ConvertToRGB(&data), nullptr);
}

TEST(PixelConversion, UpdateByFormatOnlySets) {
  ConvertData data(nullptr, 1, 1, 1, 3, 0, 0, true, false, true, true, {});
  data.UpdateByFormat(static_cast<ImagePixelFormat>(16));
  EXPECT_EQ(data.bitsPerPixel, 3);
  data.UpdateByFormat(basic_structures::PXF_BinaryPacked);
  data.UpdateByFormat(basic_structures::PXF_BinaryPackedInverted);
  EXPECT_EQ(data.palette, (Bytes{0, 255, 255, 0}));
  data.UpdateByFormat(basic_structures::PXF_Colour565);
  EXPECT_TRUE(data.bottomUp && data.is565 && data.reversed && data.isYuv);
  EXPECT_EQ(data.bitsPerPixel, 16);
}

}  // namespace
}  // namespace velmora
