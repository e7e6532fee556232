#include "examples/capture/raw_format.h"

#include <regex>
#include <stdexcept>

namespace velmora::capture {

using namespace basic_structures;

namespace {

constexpr int kMaxSide = 16384;

int ParseSide(const std::string& digits, const std::string& text) {
  const int side = digits.size() <= 5 ? std::stoi(digits) : kMaxSide + 1;
  if (side < 1 || side > kMaxSide)
    throw std::invalid_argument("the sides of '" + text + "' must be 1 to " +
                                std::to_string(kMaxSide));
  return side;
}

}  // namespace

int RawFormat::Stride() const {
  return pixels == PXF_Colour888Reversed ? width * 3 : width;
}

std::size_t RawFormat::FrameBytes() const {
  const auto plane = static_cast<std::size_t>(Stride()) * static_cast<std::size_t>(height);
  return pixels == PXF_Colour888Reversed ? plane : plane / 2 * 3;
}

RawFormat ParseRawFormat(const std::string& text) {
  static const std::regex kShape(R"((\d+)x(\d+):(nv12|nv21|rgb)(@(\d{1,4}(\.\d{1,3})?))?)");
  std::smatch match;
  if (!std::regex_match(text, match, kShape))
    throw std::invalid_argument(
        "'" + text + "' is not WIDTHxHEIGHT:FORMAT[@RATE] with a format nv12, nv21 or rgb");
  RawFormat raw;
  raw.width = ParseSide(match[1], text);
  raw.height = ParseSide(match[2], text);
  // The chroma pairs of nv12 are U, V: the reversed twin of the semi-planar format.
  raw.pixels = match[3] == "nv12"   ? PXF_YuvSemiPlanarReversed
               : match[3] == "nv21" ? PXF_YuvSemiPlanar
                                    : PXF_Colour888Reversed;
  if (raw.pixels != PXF_Colour888Reversed && (raw.width % 2 != 0 || raw.height % 2 != 0))
    throw std::invalid_argument("the sides of '" + text +
                                "' must be even: four pixels share a colour");
  if (match[5].matched) raw.framesPerSecond = std::stod(match[5]);
  return raw;
}

}  // namespace velmora::capture
