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
  float lengths[4];
  for (int i = 0; i < 4; ++i) {
    if (points[i] == points[(i + 1) % 4]) return 0;
    lengths[i] = internal::SegmentLength(points[i], points[(i + 1) % 4]);
  }
  return internal::QuadArea(points, lengths);
}

CRect CQuadrilateral::GetBoundingRect() const {
  return internal::BoundingRect(points);
}

}  // namespace velmora::basic_structures
