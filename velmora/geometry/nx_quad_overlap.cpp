// Two quadrilaterals: whether and where they overlap.

#include <algorithm>
#include <cmath>

#include "velmora/foundation/internal/arithmetic.h"
#include "velmora/geometry/internal/line_math.h"
#include "velmora/geometry/internal/quad_math.h"
#include "velmora/geometry/nx_quad.h"

namespace velmora {

using internal::RoundHalfAwayFromZero;
using internal::Side;
using internal::ToFloat;
using internal::WrapAdd;
using internal::WrapMul;
using internal::WrapSub;

namespace {

// A clip of n points leaves at most n / 2 of them beside n crossings (or fewer of both): 4, 6, 9,
// 13, 19.
constexpr int kMaxOverlapPoints = 20;

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

// Clips a polygon by one line; returns the number of points left.
int ClipByLine(const NxPoint_<int>& start, const NxPoint_<int>& end, const NxPoint_<int>* points,
               int count, NxPoint_<int>* out) {
  int outCount = 0;
  const Side firstSide = internal::SideOfLine(start, end, points[0], 1);
  Side side = firstSide;
  for (int j = 0; j < count; ++j) {
    const bool isLast = j + 1 == count;
    const NxPoint_<int>& next = points[isLast ? 0 : j + 1];
    const Side nextSide = isLast ? firstSide : internal::SideOfLine(start, end, next, 1);
    if (side != internal::kLeftSide) out[outCount++] = points[j];
    // A point on the line is kept itself and makes no crossing.
    const bool crosses =
        side != nextSide && side != internal::kOnLine && nextSide != internal::kOnLine;
    if (crosses && internal::IntersectLines(points[j], next, start, end, out[outCount])) ++outCount;
    side = nextSide;
  }
  return outCount;
}

}  // namespace

bool Nx_Quad::IsOverlapWithOtherQuad(const Nx_Quad& other, float expandRatio) const {
  if (!(expandRatio > 0.001F || expandRatio < -0.001F)) return OverlapsAsTheyAre(*this, other);
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

// Leaves the overlap polygon in `out`, which has room for kMaxOverlapPoints; returns its number of
// points.
int Nx_Quad::ClipOtherQuad(const Nx_Quad& other, NxPoint_<int>* out) const {
  NxPoint_<int> work[kMaxOverlapPoints];
  NxPoint_<int>* from = out;  // four clips: the last one writes to `out` again
  NxPoint_<int>* to = work;
  std::copy_n(other.vertices_, 4, from);
  int count = 4;
  for (const Nx_LineSegmentEnhanced& edge : edges_) {
    if (count >= 3) {
      count = ClipByLine(edge.GetStartPoint(), edge.GetEndPoint(), from, count, to);
      std::swap(from, to);
    }
  }
  if (from != out) std::copy_n(from, count, out);
  return count;
}

void Nx_Quad::GetOverlappingPolygonPointsWithOtherQuad(const Nx_Quad* other,
                                                       std::vector<NxPoint_<int>>& out) const {
  out.clear();
  if (other == nullptr) return;
  NxPoint_<int> points[kMaxOverlapPoints];
  const int count = ClipOtherQuad(*other, points);
  out.assign(points, points + count);
}

float Nx_Quad::CalcOverlappingAreaWithOtherQuad(const Nx_Quad* other) const {
  if (other == nullptr) return 0;
  NxPoint_<int> points[kMaxOverlapPoints];
  const int count = ClipOtherQuad(*other, points);
  if (count < 3) return 0;
  std::int32_t sum = 0;
  for (int i = 0; i < count; ++i) {
    const NxPoint_<int>& before = points[i == 0 ? count - 1 : i - 1];
    const NxPoint_<int>& after = points[i + 1 == count ? 0 : i + 1];
    sum = WrapAdd(sum, WrapMul(points[i][1], WrapSub(before[0], after[0])));
  }
  return ToFloat(std::fabs(static_cast<double>(sum)) * 0.5);
}

}  // namespace velmora
