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
const std::vector<std::string> kUsages = Words("Unrestricted AllChannels Luminance Red Green Blue");

std::string Cell(std::size_t format, std::size_t usage) {
  const int row = testing::kBitsPerPixel[format];
  const auto convertEightPixels = [&](int stride) {
    const std::vector<unsigned char> bytes(static_cast<std::size_t>(stride) * 3);
    const CImageData image(bytes.size(), bytes.data(), nullptr, 8, 2, stride,
                           static_cast<ImagePixelFormat>(format), 0, nullptr);
    return std::unique_ptr<CImageData>(
        Nx_ConvertImageData(&image, static_cast<ColourChannelUsageType>(usage)));
  };
  const auto padded = convertEightPixels(row + 8), tight = convertEightPixels(row);
  if (padded == nullptr) return tight == nullptr ? "refused" : "refused with padding";
  const auto result = static_cast<std::size_t>(padded->GetImagePixelFormat());
  return kFormats[result] + (tight == nullptr ? " *" : "");
}

std::string Matrix() {
  std::string table = "| source |", rule = "|---|";
  for (const std::string& usage : kUsages) {
    table += " `CCU_" + usage + "` |";
    rule += "---|";
  }
  table += '\n' + rule + '\n';
  for (std::size_t format = 0; format < kFormats.size(); ++format) {
    table += "| `PXF_" + kFormats[format] + "` |";
    for (std::size_t usage = 0; usage < kUsages.size(); ++usage) {
      table += ' ' + Cell(format, usage) + " |";
    }
    table += '\n';
  }
  return table;
}

TEST(ConversionMatrix, IsTheOneInTheDocumentation) {
  std::ifstream file(VELMORA_SOURCE_DIR "/docs/images.md", std::ios::binary);
  const std::string page(std::istreambuf_iterator<char>(file), {});
  const std::string want =
      "<!-- conversion matrix: begin -->\n" + Matrix() + "<!-- conversion matrix: end -->";
  EXPECT_NE(page.find(want), std::string::npos) << "docs/images.md should have:\n" << want;
}

}  // namespace
}  // namespace velmora
