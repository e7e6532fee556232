#include "velmora_capture/image_file/raw_format.h"

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <filesystem>
#include <limits>
#include <stdexcept>
#include <system_error>

namespace velmora::capture {

using namespace basic_structures;

namespace {

constexpr int kMaxSide = 16384;

int ParseSide(const std::string& digits, const std::string& text) {
  const int side = digits.size() <= 5 ? std::stoi(digits) : kMaxSide + 1;
  if (side < 1 || side > kMaxSide) {
    throw std::invalid_argument("the sides of '" + text + "' must be 1 to " +
                                std::to_string(kMaxSide));
  }
  return side;
}

// Takes what stands before the separator off the text.
std::string TakeUntil(char separator, std::string& text) {
  const std::size_t at = std::min(text.find(separator), text.size());
  std::string part = text.substr(0, at);
  text.erase(0, at + 1);
  return part;
}

bool IsNumber(const std::string& text, const char* characters) {
  return !text.empty() && std::isdigit(static_cast<unsigned char>(text[0])) != 0 &&
         text.find_first_not_of(characters) == std::string::npos &&
         std::count(text.begin(), text.end(), '.') <= 1;
}

}  // namespace

int RawFormat::Stride() const {
  return pixels == PXF_Colour888Reversed ? width * 3 : width;
}

std::size_t RawFormat::FrameBytes() const {
  const auto plane = static_cast<std::size_t>(Stride()) * static_cast<std::size_t>(height);
  return pixels == PXF_Colour888Reversed ? plane : plane / 2 * 3;
}

int RawFormat::CountFrames(const std::vector<std::string>& files) const {
  std::uintmax_t frames = 0;
  for (const std::string& file : files) {
    std::error_code error;
    const std::uintmax_t bytes = std::filesystem::file_size(file, error);
    if (error) return 0;
    frames += bytes / FrameBytes();
  }
  return static_cast<int>(std::min<std::uintmax_t>(frames, std::numeric_limits<int>::max()));
}

RawFormat ParseRawFormat(const std::string& text) {
  std::string rest = text;
  const std::string width = TakeUntil('x', rest);
  const std::string height = TakeUntil(':', rest);
  const std::string format = TakeUntil('@', rest);
  const bool hasRate = text.find('@') != std::string::npos;
  if (!IsNumber(width, "0123456789") || !IsNumber(height, "0123456789") ||
      (format != "nv12" && format != "nv21" && format != "rgb") ||
      (hasRate && (!IsNumber(rest, "0123456789.") || rest.size() > 8))) {
    throw std::invalid_argument(
        "'" + text + "' is not WIDTHxHEIGHT:FORMAT[@RATE] with a format nv12, nv21 or rgb");
  }
  RawFormat raw;
  raw.width = ParseSide(width, text);
  raw.height = ParseSide(height, text);
  // The chroma pairs of nv12 are U, V: the reversed twin of the semi-planar format.
  raw.pixels = format == "nv12"   ? PXF_YuvSemiPlanarReversed
               : format == "nv21" ? PXF_YuvSemiPlanar
                                  : PXF_Colour888Reversed;
  if (raw.pixels != PXF_Colour888Reversed && (raw.width % 2 != 0 || raw.height % 2 != 0)) {
    throw std::invalid_argument("the sides of '" + text +
                                "' must be even: four pixels share a colour");
  }
  if (hasRate) raw.framesPerSecond = std::stod(rest);
  return raw;
}

}  // namespace velmora::capture
