// Where lines meet.
#pragma once

#include <cstdint>

#include "velmora/foundation/internal/arithmetic.h"
#include "velmora/geometry/point.h"

namespace velmora::internal {

// A coordinate difference that cannot overflow.
constexpr std::int64_t Difference(std::int32_t to, std::int32_t from) noexcept {
  return static_cast<std::int64_t>(to) - from;
}

// from + numerator / denominator * delta, rounded half away from zero. Multiplied before it is
// divided: as long as the product is below 2^53, a half comes out as a half and not beside it.
inline std::int32_t RoundedFraction(std::int32_t from, double numerator, double denominator,
                                    double delta) noexcept {
  return RoundHalfAwayFromZero(from + numerator * delta / denominator);
}

// Where the line through a0 and a1 meets the line through b0 and b1, rounded half away from zero.
// Determinants in 64 bits, the rest in double. False, with `out` left alone, if they are parallel
// or one of them is a single point.
inline bool IntersectLines(const NxPoint_<int>& a0, const NxPoint_<int>& a1,
                           const NxPoint_<int>& b0, const NxPoint_<int>& b1,
                           NxPoint_<int>& out) noexcept {
  const std::int64_t ax = Difference(a1[0], a0[0]);
  const std::int64_t ay = Difference(a1[1], a0[1]);
  const std::int64_t bx = Difference(b1[0], b0[0]);
  const std::int64_t by = Difference(b1[1], b0[1]);
  const std::int64_t denominator = WrapSub(WrapMul(ax, by), WrapMul(ay, bx));
  if (denominator == 0) return false;
  const std::int64_t numerator =
      WrapSub(WrapMul(Difference(b0[0], a0[0]), by), WrapMul(Difference(b0[1], a0[1]), bx));
  const auto n = static_cast<double>(numerator);
  const auto d = static_cast<double>(denominator);
  out.Set(RoundedFraction(a0[0], n, d, static_cast<double>(ax)),
          RoundedFraction(a0[1], n, d, static_cast<double>(ay)));
  return true;
}

}  // namespace velmora::internal
