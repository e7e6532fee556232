#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "velmora/image/pixel_conversion.h"

namespace velmora {
namespace {

using namespace basic_structures;

const char* const kFormatNames[] = {"BinaryPacked",
                                    "BinaryPackedInverted",
                                    "Grayscale8",
                                    "YuvSemiPlanar",
                                    "Colour565",
                                    "Colour555",
                                    "Colour888",
                                    "Colour8888",
                                    "Colour161616",
                                    "Colour16161616",
                                    "Colour8888Reversed",
                                    "Colour16161616Reversed",
                                    "Colour888Reversed",
                                    "Binary8",
                                    "YuvSemiPlanarReversed",
                                    "Binary8Inverted"};
const char* const kUsageNames[] = {"Unrestricted", "AllChannels", "Luminance",
                                   "Red",          "Green",       "Blue"};

std::unique_ptr<CImageData> ConvertEightPixels(int format, int usage, int stride) {
  const std::vector<unsigned char> bytes(static_cast<std::size_t>(stride) * 3);
  const CImageData image(bytes.size(), bytes.data(), nullptr, 8, 2, stride,
                         static_cast<ImagePixelFormat>(format), 0, nullptr);
  return std::unique_ptr<CImageData>(
      Nx_ConvertImageData(&image, static_cast<ColourChannelUsageType>(usage)));
}

std::string Cell(int format, int usage) {
  constexpr int kBitsPerPixel[] = {1, 1, 8, 8, 16, 16, 24, 32, 48, 64, 32, 64, 24, 8, 8, 8};
  const int row = kBitsPerPixel[format];
  const auto padded = ConvertEightPixels(format, usage, row + 8);
  const auto tight = ConvertEightPixels(format, usage, row);
  if (padded == nullptr) return tight == nullptr ? "refused" : "refused with padding";
  return kFormatNames[padded->GetImagePixelFormat()] + std::string(tight == nullptr ? " *" : "");
}

std::string Matrix() {
  std::string table = "| source |", rule = "|---|";
  for (const char* usage : kUsageNames) {
    table += std::string(" `CCU_") + usage + "` |";
    rule += "---|";
  }
  table += '\n' + rule + '\n';
  for (int format = 0; format < 16; ++format) {
    table += std::string("| `PXF_") + kFormatNames[format] + "` |";
    for (int usage = 0; usage < 6; ++usage) table += ' ' + Cell(format, usage) + " |";
    table += '\n';
  }
  return table;
}

TEST(ConversionMatrix, IsTheOneInTheDocumentation) {
  std::ifstream file(VELMORA_SOURCE_DIR "/docs/images.md", std::ios::binary);
  const std::string page(std::istreambuf_iterator<char>(file), {});
  const std::string begin = "<!-- conversion matrix: begin -->\n";
  const std::size_t from = page.find(begin);
  const std::size_t to = page.find("<!-- conversion matrix: end -->");
  ASSERT_TRUE(from != std::string::npos && to != std::string::npos);
  const std::string documented = page.substr(from + begin.size(), to - from - begin.size());
  EXPECT_EQ(documented, Matrix()) << "docs/images.md should have:\n" << Matrix();
}

}  // namespace
}  // namespace velmora
