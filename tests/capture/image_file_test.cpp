// Picture files of every format, whole and spoilt; fuzz/make-corpus says what the seeds show.
#include "velmora_capture/image_file/image_file.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>

namespace velmora::capture {
namespace {

using namespace basic_structures;

using Bytes = std::vector<unsigned char>;
using Colours = std::array<unsigned, 4>;  // 0xRRGGBB clockwise from the top left

LoadedImage Decode(const Bytes& bytes, std::int64_t maxPixels = 1 << 16) {
  return DecodeImage(bytes.data(), bytes.size(), CFileImageTag(nullptr, 0, 0), maxPixels);
}

LoadedImage Decode(const std::string& text, std::int64_t maxPixels = 1 << 16) {
  return Decode(Bytes(text.begin(), text.end()), maxPixels);
}

Bytes PixelsOf(const LoadedImage& loaded) {
  const unsigned char* const first = loaded.image->GetBytes();
  return Bytes(first, first + loaded.image->GetBytesLength());
}

// All seeds, with their names as FORMAT/NAME.
std::vector<std::pair<std::string, Bytes>> ReadSeeds() {
  std::vector<std::pair<std::string, Bytes>> seeds;
  for (const char* format : {"png", "jpeg", "webp", "gif", "tiff", "bmp", "pnm"}) {
    const std::filesystem::path folder = std::filesystem::path(VELMORA_FUZZ_CORPUS) / format;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
      std::ifstream file(entry.path(), std::ios::binary);
      seeds.emplace_back(format + ("/" + entry.path().filename().string()),
                         Bytes(std::istreambuf_iterator<char>(file), {}));
    }
  }
  return seeds;
}

Colours ColoursOf(const std::string& picture) {
  if (picture == "colour") return {0xFF0000, 0x00FF00, 0x808080, 0x0000FF};
  if (picture == "alpha") return {0xFFFFFF, 0x00FF00, 0x808080, 0x7F7FFF};
  if (picture == "holes") return {0xFFFFFF, 0x00FF00, 0x808080, 0x0000FF};
  if (picture == "grey") return {0x000000, 0xFFFFFF, 0x808080, 0x404040};
  return {0x000000, 0xFFFFFF, 0x000000, 0xFFFFFF};
}

int ChannelsOf(const CImageData& image) {
  return image.GetImagePixelFormat() == PXF_Grayscale8 ? 1 : 3;
}

void ExpectColour(const CImageData& image, int x, int y, unsigned colour, int tolerance) {
  const int channels = ChannelsOf(image);
  const unsigned char* pixel =
      image.GetBytes() + std::ptrdiff_t{y} * image.GetStride() + std::ptrdiff_t{x} * channels;
  for (int c = 0; c < 3; ++c) {
    EXPECT_NEAR(pixel[channels == 1 ? 0 : c], colour >> (16 - 8 * c) & 255, tolerance)
        << "channel " << c << " at " << x << ", " << y;
  }
}

TEST(DecodeImage, ReadsEveryFormat) {
  const auto seeds = ReadSeeds();
  ASSERT_GE(seeds.size(), 40U);
  for (const auto& [name, bytes] : seeds) {
    SCOPED_TRACE(name);
    const LoadedImage loaded = Decode(bytes);
    ASSERT_NE(loaded.image, nullptr) << loaded.reason;
    const CImageData& image = *loaded.image;
    ASSERT_EQ(image.GetWidth(), 17);
    ASSERT_EQ(image.GetHeight(), 13);
    const std::size_t slash = name.find('/');
    const std::string picture = name.substr(slash + 1, name.find('-') - slash - 1);
    const bool isGrey = picture == "grey" || picture == "bits";
    EXPECT_EQ(ChannelsOf(image), isGrey ? 1 : 3);
    const bool isLossy = name.find("jpeg") != name.npos || name.find("lossy") != name.npos;
    const int tolerance = isLossy ? 16 : name.find("bmp/colour-16") == 0 ? 8 : 1;
    const Colours colours = ColoursOf(picture);
    const int step = isLossy ? 12 : 1;  // lossy formats blur the border of the fields
    for (int y = 0; y < 13; y += step) {
      for (int x = 0; x < 17; x += step) {
        ExpectColour(image, x, y, colours[y < 8 ? (x < 8 ? 0 : 1) : (x < 8 ? 3 : 2)], tolerance);
      }
    }
  }
}

// Half a file is never half a picture. A few bytes fewer may be no loss of pixels, or half of the
// last number of a text, which cannot be seen.
TEST(DecodeImage, RefusesTruncatedFiles) {
  for (const auto& [name, bytes] : ReadSeeds()) {
    const Bytes whole = PixelsOf(Decode(bytes));
    for (std::size_t size = 0; size < bytes.size(); ++size) {
      SCOPED_TRACE(name + " to " + std::to_string(size));
      const LoadedImage loaded = Decode(Bytes(bytes.data(), bytes.data() + size));
      if (loaded.image == nullptr) {
        EXPECT_EQ(loaded.code, size < 12 && loaded.code != EC_ImageReadFailed
                                   ? EC_FileTypeNotSupported
                                   : EC_ImageReadFailed);
      } else {
        ASSERT_GT(size, bytes.size() / 2);
        Bytes pixels = PixelsOf(loaded);
        pixels.back() = whole.back();
        ASSERT_EQ(pixels, whole);
      }
    }
  }
}

TEST(DecodeImage, SurvivesFlippedBits) {
  std::mt19937 random(15);
  int pictures = 0;
  int errors = 0;
  for (const auto& [name, bytes] : ReadSeeds()) {
    SCOPED_TRACE(name);
    for (int round = 0; round < 100; ++round) {
      Bytes spoilt = bytes;
      for (int i = round % 3; i >= 0; --i) {
        spoilt[random() % spoilt.size()] ^= static_cast<unsigned char>(1U << random() % 8);
      }
      const LoadedImage loaded = Decode(spoilt);
      ASSERT_NE(loaded.image == nullptr, loaded.code == EC_Ok);
      ++(loaded.image == nullptr ? errors : pictures);
      if (loaded.image == nullptr) continue;
      const CImageData& image = *loaded.image;
      ASSERT_EQ(PixelsOf(loaded).size(), static_cast<std::size_t>(image.GetStride()) *
                                             static_cast<unsigned>(image.GetHeight()));
    }
  }
  EXPECT_GT(errors, 500);
  EXPECT_GT(pictures, 500);
}

// A TIFF of two rows of a grey pixel of 16 bits, each in a strip of its own, behind the directory.
std::string TinyTiff(const std::string& pixels) {
  std::string bytes("II*\0\x08\0\0\0\x08\0", 10);
  constexpr unsigned kEntries[][3] = {{256, 1, 1}, {257, 1, 2},          {258, 1, 16},
                                      {259, 1, 1}, {262, 1, 1},          {273, 2, 110 | 112 << 16},
                                      {278, 1, 1}, {279, 2, 2 | 2 << 16}};
  for (const auto& [tag, count, value] : kEntries) {
    for (const unsigned byte :
         {tag, tag >> 8, 3U, 0U, count, 0U, 0U, 0U, value, value >> 8, value >> 16, value >> 24}) {
      bytes += static_cast<char>(byte & 255);
    }
  }
  return bytes + std::string(4, '\0') + pixels;
}

TEST(DecodeImage, SaysWhatIsWrong) {
  for (const char* text : {"", "Picture"}) {
    EXPECT_EQ(Decode(text).code, EC_FileTypeNotSupported) << text;
  }
  using Row = std::pair<std::string, const char*>;
  using namespace std::string_literals;
  for (const auto& [bytes, reason] : {
           Row{"P5 4 0 255\n    ", "a picture of 4 x 0 pixels"},
           Row{"P1 0 4 0000", "a picture of 0 x 4 pixels"},
           Row{"P5 99999999999 1 255\n ", "a number is too large"},
           Row{"P6 257 256 255\n", "too large: 257 x 256 pixels, the limit is 65536"},
           Row{"P5 2 2 255\nabc", "the file ends within the picture"},
           Row{"P2 2 2 9 1 2 3", "the file ends within the picture"},
           Row{"P2 1 1 0 0", "a faulty header"},
           Row{"P7\nWIDTH 1\nHEIGHT 1\nDEPTH 5\nMAXVAL 255\nENDHDR\n     ", "a faulty header"},
           Row{TinyTiff("\x01\x20\x02"), ""},  // a strip cut short
           Row{"BM....\0\0\0\0\x1A\0\0\0\x0C\0\0\0\x01\0\x01\0\x01\0\x03\0    "s,
               "pixels of 3 bits"},
       }) {
    SCOPED_TRACE(bytes);
    const LoadedImage loaded = Decode(bytes);
    EXPECT_EQ(loaded.image, nullptr);
    EXPECT_EQ(loaded.code, EC_ImageReadFailed);
    EXPECT_EQ(loaded.reason.rfind(reason, 0), 0U) << loaded.reason;
  }
}

// Rules of the formats that no seed shows.
TEST(DecodeImage, KnowsTheFineprint) {
  struct Row {
    const char* name;
    std::string bytes;
    Bytes pixels;
  };
  using namespace std::string_literals;
  const auto bmp32 = [](const std::string& height, const std::string& pixels) {
    return "BM....\0\0\0\0\x46\0\0\0\x38\0\0\0\x01\0\0\0"s + height + "\x01\0\x20\0\x03\0\0\0"s +
           std::string(20, '\0') + "\0\0\xFF\0\0\xFF\0\0\xFF\0\0\0\0\0\0\xFF"s + pixels;
  };
  const std::string two = "\x02\0\0\0"s;
  const std::string opaque = "abc\xFF" + "def\xFF"s;
  for (const Row& row : {
           Row{"comments", "P2#a\n# b\n2 1#c\n255\n0 #d\n7", {0, 7}},
           Row{"a small maximum", "P5 3 1 2\n\0\1\3"s, {0, 128, 255}},
           Row{"bits without spaces", "P1 3 1 101", {0, 255, 0}},
           Row{"words", "P5 2 1 65535\n\x80\0\xFF\xFF"s, {128, 255}},
           Row{"grey with alpha",
               "P7\nWIDTH 2\nHEIGHT 1\nDEPTH 2\nMAXVAL 255\nENDHDR\n\x64\xFF\x64\0"s,
               {100, 255}},
           Row{"a size once more", "P5 1 1 255\n1P5 1 1 255\n2", {'1'}},
           Row{"16 bits of a TIFF", TinyTiff("\x01\x20\x02\x40"), {0x20, 0x40}},
           Row{"BMP from the top",
               bmp32("\xFE\xFF\xFF\xFF", opaque),
               {'c', 'b', 'a', 'f', 'e', 'd'}},
           Row{"BMP from the bottom", bmp32(two, opaque), {'f', 'e', 'd', 'c', 'b', 'a'}},
           Row{"BMP without any alpha", bmp32(two, "abc\0def\0"s), {'f', 'e', 'd', 'c', 'b', 'a'}},
           Row{"BMP with some alpha", bmp32(two, "abc\0def\xFF"s), {'f', 'e', 'd', 255, 255, 255}},
       }) {
    SCOPED_TRACE(row.name);
    const LoadedImage loaded = Decode(row.bytes);
    ASSERT_NE(loaded.image, nullptr) << loaded.reason;
    EXPECT_EQ(PixelsOf(loaded), row.pixels);
  }
}

}  // namespace
}  // namespace velmora::capture
