// The direction of a segment in whole degrees.
#pragma once

#include <cstdint>

namespace velmora::internal {

// pi as the angles of this library know it; it is part of their rounding.
inline constexpr double kAnglePi = 3.141592653;

// Of a difference of 32-bit coordinates: 0 to 359, clockwise on the image from the +x axis
// (straight down is 90), to the nearest degree; (0, 0) gives 0.
int DirectionAngle(std::int64_t dx, std::int64_t dy) noexcept;

}  // namespace velmora::internal
