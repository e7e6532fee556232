#include "velmora/geometry/math_utils.h"

#include <cmath>

#include "velmora/foundation/internal/arithmetic.h"

namespace velmora {

using internal::ToFloat;
using internal::WrapAdd;
using internal::WrapMul;
using internal::WrapSub;

int MathUtils::round(float v) {
  return internal::RoundHalfAwayFromZero(v);
}

float MathUtils::distance(float x1, float y1, float x2, float y2) {
  const float sum = (y1 - y2) * (y1 - y2) + (x1 - x2) * (x1 - x2);
  return ToFloat(std::sqrt(static_cast<double>(sum)));
}

float MathUtils::distance(int x1, int y1, int x2, int y2) {
  const int dx = WrapSub(x1, x2);
  const int dy = WrapSub(y1, y2);
  return ToFloat(std::sqrt(static_cast<double>(WrapAdd(WrapMul(dy, dy), WrapMul(dx, dx)))));
}

}  // namespace velmora
