// Inputs that the tests of quadrilaterals share.
#pragma once

#include "tests/support/test.h"

namespace velmora::testing {

using Point = NxPoint_<int>;
using Quad4 = std::array<Point, 4>;

// The same numbers on every target.
class Random {
 public:
  explicit Random(std::uint64_t seed) : state_(seed) {}

  std::uint32_t Bits() {  // splitmix64
    std::uint64_t z = state_ += 0x9E3779B97F4A7C15U;
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9U;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBU;
    return static_cast<std::uint32_t>((z ^ (z >> 31)) >> 32);
  }
  int Between(int low, int high) {
    return low + static_cast<int>(Bits() % static_cast<std::uint32_t>(high - low + 1));
  }
  Point PointIn(int low, int high) {
    const int x = Between(low, high);
    return {x, Between(low, high)};
  }
  Quad4 QuadIn(int low, int high) {
    Quad4 quad;
    for (Point& p : quad) p = PointIn(low, high);
    return quad;
  }
  // Any 32 bits; every fourth number is at the edge of the range.
  int Extreme() {
    const auto bits = Bits();
    if (bits % 4 != 0) return static_cast<int>(Bits());
    constexpr int kMax = 0x7FFFFFFF;
    const int edges[] = {kMax, -kMax - 1, kMax - 1, -kMax, 0, -1, 1 << 30, 65536};
    return edges[bits / 4 % 8];
  }
  Point ExtremePoint() {
    const int x = Extreme();
    return {x, Extreme()};
  }

 private:
  std::uint64_t state_;
};

// Calls visit(quad) for all quadrilaterals with coordinates 0 to side - 1: degenerate, folded,
// concave and counter-clockwise ones among them.
template <typename Visit>
void ForEachSmallQuad(int side, Visit visit) {
  const int points = side * side;
  const auto point = [side](int i) { return Point(i % side, i / side); };
  for (int a = 0; a < points; ++a) {
    for (int b = 0; b < points; ++b) {
      for (int c = 0; c < points; ++c) {
        for (int d = 0; d < points; ++d) visit(Quad4{point(a), point(b), point(c), point(d)});
      }
    }
  }
}

// The exact cross product (b - a) x (p - a): positive if p is right of the line on the image.
inline std::int64_t Cross(const Point& a, const Point& b, const Point& p) {
  const std::int64_t dx = std::int64_t{b[0]} - a[0];
  const std::int64_t dy = std::int64_t{b[1]} - a[1];
  return dx * (std::int64_t{p[1]} - a[1]) - dy * (std::int64_t{p[0]} - a[0]);
}

}  // namespace velmora::testing
