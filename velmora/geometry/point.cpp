#include "velmora/geometry/point.h"

#include <cmath>

#include "velmora/foundation/internal/arithmetic.h"
#include "velmora/geometry/internal/quad_math.h"

namespace velmora {
namespace basic_structures {

using internal::TruncateToInt;
using internal::WrapSub;

template <>
double NxPoint_<int>::DistanceTo(const NxPoint_& other) const {
  const double dx = WrapSub(other[0], coordinate[0]);
  const double dy = WrapSub(other[1], coordinate[1]);
  return std::sqrt(dx * dx + dy * dy);
}

template <>
NxPoint_<int> NxPoint_<int>::TransformCoordinates(const NxPoint_& p, const double m[9]) {
  const double x = p[0];
  const double y = p[1];
  const double reciprocal = 1 / (m[6] * x + m[7] * y + m[8]);
  return {TruncateToInt((m[0] * x + m[1] * y + m[2]) * reciprocal),
          TruncateToInt((m[3] * x + m[4] * y + m[5]) * reciprocal)};
}

}  // namespace basic_structures

bool IsPointsClockWise(const NxPoint_<int>* const v) {
  return internal::IsClockWiseQuad(v);
}

}  // namespace velmora
