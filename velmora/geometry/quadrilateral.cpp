#include "velmora/geometry/quadrilateral.h"

#include "velmora/geometry/internal/quad_math.h"

namespace velmora::basic_structures {

bool CQuadrilateral::Contains(const NxPoint_<int>* point) const {
  if (point == nullptr) return false;
  const auto sideOfEdge = [&](int i) {
    return internal::SideOfLine(points[i], points[(i + 1) % 4], *point, 1);
  };
  return internal::PositionRelation(points, *point, 1, sideOfEdge) == internal::kInsideQuad;
}

int CQuadrilateral::GetArea() const {
  const auto startOf = [this](int i) -> const NxPoint_<int>& { return points[i]; };
  const auto endOf = [this](int i) -> const NxPoint_<int>& { return points[(i + 1) % 4]; };
  const auto [even, odd, diagonal] = internal::MeasureQuad<internal::Pair>(points, startOf, endOf);
  return (even * odd).HasZero() ? 0 : internal::QuadArea(points, even, odd, diagonal);
}

CRect CQuadrilateral::GetBoundingRect() const {
  return internal::BoundingRect(points);
}

}  // namespace velmora::basic_structures
