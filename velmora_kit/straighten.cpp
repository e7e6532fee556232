#include "velmora_kit/straighten.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace velmora::kit {
namespace {

// Coordinates in 1/65536 of a pixel, so that a row is sampled with additions alone.
constexpr int kFraction = 16;
constexpr double kOne = 1 << kFraction;

std::uint8_t Sample(const GreyView& source, std::int64_t x, std::int64_t y) {
  x = std::clamp<std::int64_t>(x, 0, std::int64_t{source.width - 1} << kFraction);
  y = std::clamp<std::int64_t>(y, 0, std::int64_t{source.height - 1} << kFraction);
  const auto left = static_cast<int>(x >> kFraction);
  const auto top = static_cast<int>(y >> kFraction);
  const int right = std::min(left + 1, source.width - 1);
  const std::uint8_t* above = source.Row(top);
  const std::uint8_t* below = source.Row(std::min(top + 1, source.height - 1));
  // 8 of the 16 bits weigh the four pixels.
  const int fx = static_cast<int>(x >> 8) & 255;
  const int fy = static_cast<int>(y >> 8) & 255;
  const int upper = above[left] * (256 - fx) + above[right] * fx;
  const int lower = below[left] * (256 - fx) + below[right] * fx;
  return static_cast<std::uint8_t>((upper * (256 - fy) + lower * fy + 32768) >> 16);
}

std::int64_t ToFixed(double value) {
  return std::llround(value * kOne);
}

struct Side {
  double x;
  double y;
  double length;
};

// The vector from a to b, of length 1, and the length it had.
Side SideBetween(const Corner& a, const Corner& b) {
  const double x = b[0] - a[0];
  const double y = b[1] - a[1];
  const double length = std::sqrt(x * x + y * y);
  return length == 0 ? Side{1, 0, 0} : Side{x / length, y / length, length};
}

}  // namespace

Corner Straightened::ToSource(int x, int y) const {
  return {static_cast<int>(std::lround(originX + x * rightX + y * downX)),
          static_cast<int>(std::lround(originY + x * rightY + y * downY))};
}

Straightened Straighten(const GreyView& source, const Corner* corners, int margin, int scale) {
  const Side right = SideBetween(corners[0], corners[1]);
  const Side down = SideBetween(corners[0], corners[3]);
  Straightened result;
  result.image = GreyImage((static_cast<int>(right.length) + 1 + 2 * margin) * scale,
                           (static_cast<int>(down.length) + 1 + 2 * margin) * scale);
  result.originX = corners[0][0] - (right.x + down.x) * margin;
  result.originY = corners[0][1] - (right.y + down.y) * margin;
  result.rightX = right.x / scale;
  result.rightY = right.y / scale;
  result.downX = down.x / scale;
  result.downY = down.y / scale;
  const std::int64_t stepX = ToFixed(result.rightX);
  const std::int64_t stepY = ToFixed(result.rightY);
  for (int y = 0; y < result.image.height; ++y) {
    std::uint8_t* row = result.image.Row(y);
    std::int64_t atX = ToFixed(result.originX + y * result.downX);
    std::int64_t atY = ToFixed(result.originY + y * result.downY);
    for (int x = 0; x < result.image.width; ++x, atX += stepX, atY += stepY) {
      row[x] = Sample(source, atX, atY);
    }
  }
  return result;
}

}  // namespace velmora::kit
