#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "tests/image/conversion_twin.h"
#include "velmora/image/pixel_conversion.h"

namespace velmora {
namespace {

using namespace basic_structures;

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
  for (int usage = 0; usage < testing::kUsageCount; ++usage) {
    const auto convertEightPixels = [&](int stride) {
      const std::vector<unsigned char> bytes(static_cast<std::size_t>(stride) * 3);
      const CImageData image(bytes.size(), bytes.data(), nullptr, 8, 2, stride,
                             static_cast<ImagePixelFormat>(format), 0, nullptr);
      return std::unique_ptr<CImageData>(
          Nx_ConvertImageData(&image, static_cast<ColourChannelUsageType>(usage)));
    };
    const int row = testing::kBitsPerPixel[format];
    const auto padded = convertEightPixels(row + 8), tight = convertEightPixels(row);
    text += ' ';
    text += padded ? kFormats[static_cast<std::size_t>(padded->GetImagePixelFormat())] : "refused";
    text += padded && !tight ? " * |" : " |";
  }
  return text + '\n';
}

TEST(ConversionMatrix, IsTheOneInTheDocumentation) {
  std::ifstream file(VELMORA_SOURCE_DIR "/docs/images.md", std::ios::binary);
  const std::string page(std::istreambuf_iterator<char>(file), {});
  std::string want;
  for (std::size_t format = 0; format < kFormats.size(); ++format) want += MatrixRow(format);
  EXPECT_NE(page.find(want), std::string::npos) << "docs/images.md should have:\n" << want;
}

}  // namespace
}  // namespace velmora
