// What the segment, the working quadrilateral and the public one compute alike. Free functions
// over bare points, so that a question about four points costs no object.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

#include "velmora/foundation/internal/arithmetic.h"
#include "velmora/geometry/internal/line_math.h"
#include "velmora/geometry/internal/pair.h"
#include "velmora/geometry/point.h"
#include "velmora/geometry/rect.h"

namespace velmora::internal {

// The side of a directed line on which a point lies.
enum Side : std::int32_t {
  kOnLine = 0,
  kRightSide = 1,  // seen along the line on the image: the interior of a clockwise quadrilateral
  kLeftSide = 3,
};

// Where a point lies beside edges 0 to 3.
inline constexpr int kInsideQuad = 4;
inline constexpr int kOutsideQuad = 5;

// Positive if the path a, b, c turns clockwise at b.
inline std::int32_t Turn(const NxPoint_<int>& a, const NxPoint_<int>& b,
                         const NxPoint_<int>& c) noexcept {
  return WrapSub(WrapMul(WrapSub(b[0], a[0]), WrapSub(c[1], b[1])),
                 WrapMul(WrapSub(c[0], b[0]), WrapSub(b[1], a[1])));
}

// The turn at vertex i + 1 (mod 4) of a quadrilateral.
inline std::int32_t TurnAt(const NxPoint_<int>* v, int i) noexcept {
  return Turn(v[i], v[(i + 1) % 4], v[(i + 2) % 4]);
}

inline bool IsClockWiseQuad(const NxPoint_<int>* v) noexcept {
  return TurnAt(v, 0) > 0 && TurnAt(v, 1) > 0 && TurnAt(v, 2) > 0 && TurnAt(v, 3) > 0;
}

// Strictly convex: all turns are of one sign and none is 0.
inline bool IsConvexQuad(const NxPoint_<int>* v) noexcept {
  int positive = 0;
  for (int i = 0; i < 4; ++i) {
    const std::int32_t turn = TurnAt(v, i);
    if (turn == 0) return false;
    positive += turn > 0 ? 1 : 0;
  }
  return positive == 0 || positive == 4;
}

inline basic_structures::CRect BoundingRect(const NxPoint_<int>* v) noexcept {
  basic_structures::CRect rect(v[0][1], v[0][0], v[0][0], v[0][1]);
  for (int i = 1; i < 4; ++i) {
    rect.left = std::min(rect.left, v[i][0]);
    rect.right = std::max(rect.right, v[i][0]);
    rect.top = std::min(rect.top, v[i][1]);
    rect.bottom = std::max(rect.bottom, v[i][1]);
  }
  return rect;
}

inline float SegmentLength(const NxPoint_<int>& start, const NxPoint_<int>& end) noexcept {
  const auto dx = static_cast<double>(Difference(end[0], start[0]));
  const auto dy = static_cast<double>(Difference(end[1], start[1]));
  return ToFloat(std::sqrt(dx * dx + dy * dy));
}

// A directed line and how near it a point counts as on it. A tolerance of 0 never gives kOnLine; a
// zero-length line has every point at distance 0.
class DirectedLine {
 public:
  DirectedLine(const NxPoint_<int>& start, const NxPoint_<int>& end, int tolerance) noexcept
      : start_(start),
        dx_(Difference(end[0], start[0])),
        dy_(Difference(end[1], start[1])),
        tolerance_(tolerance) {
    const std::int64_t squared = WrapAdd(WrapMul(dx_, dx_), WrapMul(dy_, dy_));
    lengthSquared_ = static_cast<double>(std::max<std::int64_t>(squared, 1));
  }

  // The distance of p times the length of the line; negative on the left.
  std::int64_t Cross(const NxPoint_<int>& p) const noexcept {
    return WrapSub(WrapMul(Difference(p[1], start_[1]), dx_),
                   WrapMul(Difference(p[0], start_[0]), dy_));
  }

  Side SideOf(std::int64_t cross) const noexcept {
    if (IsNear(cross)) return kOnLine;
    return cross < 0 ? kLeftSide : kRightSide;
  }

 private:
  // tolerance > |cross| / sqrt(lengthSquared), in double. The root and the division are needed only
  // where the squares of both sides agree to six digits; elsewhere their rounding cannot matter.
  bool IsNear(std::int64_t cross) const noexcept {
    if (tolerance_ <= 0) return false;
    const double distance = std::fabs(static_cast<double>(cross));
    const double limit = static_cast<double>(tolerance_) * tolerance_ * lengthSquared_;
    if (distance * distance > limit * 1.000001) return false;
    if (distance * distance < limit * 0.999999) return true;
    return tolerance_ > distance / std::sqrt(lengthSquared_);
  }

  NxPoint_<int> start_;
  std::int64_t dx_;
  std::int64_t dy_;
  int tolerance_;
  double lengthSquared_;
};

inline Side SideOfLine(const NxPoint_<int>& start, const NxPoint_<int>& end, const NxPoint_<int>& p,
                       int tolerance) noexcept {
  const DirectedLine line(start, end, tolerance);
  return line.SideOf(line.Cross(p));
}

// Where p lies: on edge 0 to 3, kInsideQuad or kOutsideQuad. The first edge that decides wins, so
// a vertex belongs to the lower-numbered of its two edges. `sideOfEdge(i)` gives the side of p
// beside edge i, with the same tolerance.
template <typename SideOfEdge>
int PositionRelation(const NxPoint_<int>* v, const NxPoint_<int>& p, int tolerance,
                     SideOfEdge sideOfEdge) noexcept {
  for (int i = 0; i < 4; ++i) {
    const int side = sideOfEdge(i);
    if (side == kRightSide) continue;
    if (side == kLeftSide) return kOutsideQuad;
    const NxPoint_<int>& a = v[i];
    const NxPoint_<int>& b = v[(i + 1) % 4];
    // Positive where p lies beyond both ends.
    const std::int32_t px = WrapMul(WrapSub(p[0], b[0]), WrapSub(p[0], a[0]));
    const std::int32_t py = WrapMul(WrapSub(p[1], b[1]), WrapSub(p[1], a[1]));
    const bool isBeyond = tolerance == 1 ? px > 0 || py > 0 : px >= 0 && py >= 0;
    return isBeyond ? kOutsideQuad : i;
  }
  return kInsideQuad;
}

// The lengths of edges 0 and 2, of edges 1 and 3, and twice that of the diagonal from vertex 0 to
// vertex 2: each as `SegmentLength` gives it.
template <typename P>
struct QuadLengths {
  P even;
  P odd;
  P diagonal;
};

// `startOf(i)` and `endOf(i)` give the ends of edge i.
template <typename P, typename StartOf, typename EndOf>
QuadLengths<P> MeasureQuad(const NxPoint_<int>* v, StartOf startOf, EndOf endOf) noexcept {
  const auto squares = [](const NxPoint_<int>& start, const NxPoint_<int>& end) {
    const P difference = P::Coordinates(end) - P::Coordinates(start);
    return difference * difference;
  };
  const P diagonal = squares(v[0], v[2]);
  QuadLengths<P> lengths = {P::Sums(squares(startOf(0), endOf(0)), squares(startOf(2), endOf(2))),
                            P::Sums(squares(startOf(1), endOf(1)), squares(startOf(3), endOf(3))),
                            P::Sums(diagonal, diagonal)};
  P::TakeFloatRoots(lengths.even, lengths.odd, lengths.diagonal);
  return lengths;
}

// The area from the vertices and the lengths of the edges, of which none is zero-length: Heron's
// formula in double for the triangles on both sides of the diagonal, where the product of a flat
// triangle may come out below 0. Triangles on the same side (folded, concave) are subtracted.
template <typename P>
inline std::int32_t QuadArea(const NxPoint_<int>* v, P even, P odd, P diagonal) noexcept {
  const P s = (even + diagonal + odd) * P::Both(0.5);
  const P products = (s - diagonal) * s * (s - even) * (s - odd);
  const P triangles = products.NotNegative().Root();
  const double first = triangles.First();
  const double second = triangles.Second();
  const bool isFolded = SideOfLine(v[0], v[2], v[3], 0) == SideOfLine(v[0], v[2], v[1], 0);
  const float area = std::fabs(ToFloat(isFolded ? first - second : first + second));
  constexpr float kTooLarge = 2147483648.0F;
  // NOLINTNEXTLINE(bugprone-incorrect-roundings): of a float, so the sum is exact in double
  return area < kTooLarge ? static_cast<std::int32_t>(static_cast<double>(area) + 0.5)
                          : std::numeric_limits<std::int32_t>::max();
}

}  // namespace velmora::internal
