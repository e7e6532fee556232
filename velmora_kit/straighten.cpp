#include "velmora_kit/straighten.h"

#include <algorithm>
#include <cmath>

namespace velmora::kit {
namespace {

std::uint8_t Sample(const GreyView& source, double x, double y) {
  x = std::clamp(x, 0.0, source.width - 1.0);
  y = std::clamp(y, 0.0, source.height - 1.0);
  const int left = std::min(static_cast<int>(x), source.width - 1);
  const int top = std::min(static_cast<int>(y), source.height - 1);
  const int right = std::min(left + 1, source.width - 1);
  const std::uint8_t* above = source.Row(top);
  const std::uint8_t* below = source.Row(std::min(top + 1, source.height - 1));
  const double fx = x - left;
  const double fy = y - top;
  const double upper = above[left] + (above[right] - above[left]) * fx;
  const double lower = below[left] + (below[right] - below[left]) * fx;
  // Never negative, and `lround` for each pixel would be slow.
  // NOLINTNEXTLINE(bugprone-incorrect-roundings)
  return static_cast<std::uint8_t>(upper + (lower - upper) * fy + 0.5);
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
  for (int y = 0; y < result.image.height; ++y) {
    std::uint8_t* row = result.image.Row(y);
    for (int x = 0; x < result.image.width; ++x)
      row[x] = Sample(source, result.originX + x * result.rightX + y * result.downX,
                      result.originY + x * result.rightY + y * result.downY);
  }
  return result;
}

}  // namespace velmora::kit
