// Two quadrilaterals: whether and where they overlap.

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "velmora/foundation/internal/arithmetic.h"
#include "velmora/geometry/internal/line_math.h"
#include "velmora/geometry/internal/quad_math.h"
#include "velmora/geometry/nx_quad.h"

namespace velmora {

using internal::DirectedLine;
using internal::kLeftSide;
using internal::kRightSide;
using internal::RoundHalfAwayFromZero;
using internal::Side;
using internal::ToFloat;
using internal::WrapAdd;
using internal::WrapMul;
using internal::WrapSub;

namespace {

bool IsAnyVertexNotOutside(const Nx_Quad& inner, const Nx_Quad& outer) {
  const NxPoint_<int>* v = inner.GetVertices();
  return std::any_of(v, v + 4, [&](const NxPoint_<int>& vertex) {
    return outer.CalcPointPositionRelation(vertex, 1) != QPPR_OUTSIDE;
  });
}

bool IsCentreNotOutside(const Nx_Quad& inner, const Nx_Quad& outer) {
  return outer.CalcPointPositionRelation(inner.GetCentralPoint(), 1) != QPPR_OUTSIDE;
}

bool OverlapsAsTheyAre(const Nx_Quad& a, const Nx_Quad& b) {
  return IsAnyVertexNotOutside(b, a) || IsCentreNotOutside(b, a) || IsCentreNotOutside(a, b) ||
         IsAnyVertexNotOutside(a, b);
}

// A clip of n points leaves at most n / 2 of them beside n crossings (or fewer of both): 4, 6, 9,
// 13, 19.
constexpr int kMaxOverlapPoints = 20;

// The coordinates lie apart because each point is read soon after it was written: as a pair it
// would be loaded in one piece and wait for both halves (150 ns a clip instead of 95).
struct Polygon {
  std::int32_t x[kMaxOverlapPoints];
  std::int32_t y[kMaxOverlapPoints];
  int count = 4;
};

// Takes away what lies left of a line.
void ClipByLine(const DirectedLine& line, Polygon& polygon) {
  std::int32_t x[kMaxOverlapPoints + 1];  // the first point again after the last
  std::int32_t y[kMaxOverlapPoints + 1];
  std::int64_t crosses[kMaxOverlapPoints + 1];
  Side sides[kMaxOverlapPoints + 1];
  const int count = polygon.count;
  int leftCount = 0;
  for (int j = 0; j < count; ++j) {
    x[j] = polygon.x[j];
    y[j] = polygon.y[j];
    crosses[j] = line.Cross({x[j], y[j]});
    sides[j] = line.SideOf(crosses[j]);
    leftCount += sides[j] == kLeftSide ? 1 : 0;
  }
  if (leftCount == 0) return;
  x[count] = x[0];
  y[count] = y[0];
  crosses[count] = crosses[0];
  sides[count] = sides[0];
  int kept = 0;
  for (int j = 0; j < count; ++j) {
    polygon.x[kept] = x[j];
    polygon.y[kept] = y[j];
    kept += sides[j] != kLeftSide ? 1 : 0;
    // Left to right or back; a point on the line is kept itself and makes no crossing.
    if (sides[j] + sides[j + 1] != kLeftSide + kRightSide) continue;
    const auto numerator = static_cast<double>(crosses[j]);
    const auto denominator = static_cast<double>(WrapSub(crosses[j], crosses[j + 1]));
    const auto between = [&](std::int32_t from, std::int32_t to) {
      return internal::RoundedFraction(from, numerator, denominator,
                                       static_cast<double>(internal::Difference(to, from)));
    };
    polygon.x[kept] = between(x[j], x[j + 1]);
    polygon.y[kept] = between(y[j], y[j + 1]);
    ++kept;
  }
  polygon.count = kept;
}

// What is left of one quadrilateral when it is clipped by the edges of another: the edge objects,
// which may have been moved away from its vertices.
Polygon Overlap(const Nx_Quad& clipper, const Nx_Quad& other) {
  const NxPoint_<int>* clipped = other.GetVertices();
  Polygon polygon;
  for (int i = 0; i < 4; ++i) {
    polygon.x[i] = clipped[i][0];
    polygon.y[i] = clipped[i][1];
  }
  for (int i = 0; i < 4 && polygon.count >= 3; ++i) {
    const Nx_LineSegmentEnhanced& edge = clipper.GetEdges()[i];
    ClipByLine(DirectedLine(edge.GetStartPoint(), edge.GetEndPoint(), 1), polygon);
  }
  return polygon;
}

}  // namespace

bool Nx_Quad::IsOverlapWithOtherQuad(const Nx_Quad& other, float expandRatio) const {
  const double ratio = expandRatio;  // compared as double: 0.001F is a little more than 0.001
  if (!(ratio > 0.001 || ratio < -0.001)) return OverlapsAsTheyAre(*this, other);
  const auto expansion = [&](float length, float otherLength) {
    const int shorter = internal::TruncateToInt(std::min(length, otherLength));
    return RoundHalfAwayFromZero(ToFloat(shorter) * expandRatio);
  };
  const int alongOrientation = expansion(GetOrientationLength(), other.GetOrientationLength());
  const int alongVertical = expansion(GetVerticalLength(), other.GetVerticalLength());
  Nx_Quad a(*this);
  Nx_Quad b(other);
  a.ExpandQuad(alongOrientation, alongVertical);
  b.ExpandQuad(alongOrientation, alongVertical);
  return OverlapsAsTheyAre(a, b);
}

void Nx_Quad::GetOverlappingPolygonPointsWithOtherQuad(const Nx_Quad* other,
                                                       std::vector<NxPoint_<int>>& out) const {
  out.clear();
  if (other == nullptr) return;
  const Polygon polygon = Overlap(*this, *other);
  for (int i = 0; i < polygon.count; ++i) out.emplace_back(polygon.x[i], polygon.y[i]);
}

float Nx_Quad::CalcOverlappingAreaWithOtherQuad(const Nx_Quad* other) const {
  if (other == nullptr) return 0;
  const Polygon polygon = Overlap(*this, *other);
  const int count = polygon.count;
  if (count < 3) return 0;
  std::int32_t sum = 0;
  for (int i = 0; i < count; ++i) {
    const int before = i == 0 ? count - 1 : i - 1;
    const int after = i + 1 == count ? 0 : i + 1;
    sum = WrapAdd(sum, WrapMul(polygon.y[i], WrapSub(polygon.x[before], polygon.x[after])));
  }
  return ToFloat(std::fabs(static_cast<double>(sum)) * 0.5);
}

}  // namespace velmora
