/// @file
/// The smallest rectangle, turned as it may be, around a set of points.
#pragma once

#include <array>
#include <vector>

namespace velmora::modules {

struct PointD {
  double x;
  double y;
};

/// Corners in pixels, clockwise as seen on the image; the side from the first to the second corner
/// is the one that runs most nearly to the right.
using Rectangle = std::array<PointD, 4>;

/// @param points  at least one; reordered by the call
Rectangle MinAreaRectangle(std::vector<PointD>& points);

}  // namespace velmora::modules
