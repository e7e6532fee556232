#include "modules/locator/min_rectangle.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>

namespace velmora::modules {
namespace {

double Cross(const PointD& o, const PointD& a, const PointD& b) {
  return (a.x - o.x) * (b.y - o.y) - (a.y - o.y) * (b.x - o.x);
}

// One half of the hull: points sorted by x, every turn of the chain to the same side.
template <typename Iterator>
void AppendChain(Iterator begin, Iterator end, std::vector<PointD>& hull) {
  const std::size_t first = hull.size();
  for (auto point = begin; point != end; ++point) {
    while (hull.size() >= first + 2 && Cross(hull[hull.size() - 2], hull.back(), *point) <= 0) {
      hull.pop_back();
    }
    hull.push_back(*point);
  }
  hull.pop_back();  // the other chain begins with it
}

// Andrew's monotone chain. A single point, or points in a line, give a hull without area.
std::vector<PointD> ConvexHull(std::vector<PointD>& points) {
  std::sort(points.begin(), points.end(),
            [](const PointD& a, const PointD& b) { return a.x != b.x ? a.x < b.x : a.y < b.y; });
  std::vector<PointD> hull;
  AppendChain(points.begin(), points.end(), hull);
  AppendChain(points.rbegin(), points.rend(), hull);
  if (hull.empty()) hull.push_back(points.front());
  return hull;
}

// The box around the hull in axes turned so that the first one runs along (dx, dy), of length 1.
struct TurnedBox {
  double dx = 1;
  double dy = 0;
  double left = std::numeric_limits<double>::max();
  double right = std::numeric_limits<double>::lowest();
  double top = std::numeric_limits<double>::max();
  double bottom = std::numeric_limits<double>::lowest();

  TurnedBox(double x, double y, const std::vector<PointD>& hull) : dx(x), dy(y) {
    for (const PointD& p : hull) {
      const double along = p.x * dx + p.y * dy;
      const double across = p.y * dx - p.x * dy;
      left = std::min(left, along);
      right = std::max(right, along);
      top = std::min(top, across);
      bottom = std::max(bottom, across);
    }
  }
  double Area() const { return (right - left) * (bottom - top); }
  PointD Corner(double along, double across) const {
    return {along * dx - across * dy, along * dy + across * dx};
  }
};

}  // namespace

Rectangle MinAreaRectangle(std::vector<PointD>& points) {
  const std::vector<PointD> hull = ConvexHull(points);
  TurnedBox best(1, 0, hull);
  // One side of the smallest rectangle lies along an edge of the hull.
  for (std::size_t i = 0; i < hull.size(); ++i) {
    const PointD& a = hull[i];
    const PointD& b = hull[(i + 1) % hull.size()];
    const double length = std::sqrt((b.x - a.x) * (b.x - a.x) + (b.y - a.y) * (b.y - a.y));
    if (length == 0) continue;
    double dx = (b.x - a.x) / length;
    double dy = (b.y - a.y) / length;
    // Of the four directions of a rectangle's sides, the one nearest to the right.
    while (dx < std::abs(dy) || dx <= -dy) {
      const double turned = -dy;
      dy = dx;
      dx = turned;
    }
    const TurnedBox box(dx, dy, hull);
    if (box.Area() < best.Area()) best = box;
  }
  return {best.Corner(best.left, best.top), best.Corner(best.right, best.top),
          best.Corner(best.right, best.bottom), best.Corner(best.left, best.bottom)};
}

}  // namespace velmora::modules
