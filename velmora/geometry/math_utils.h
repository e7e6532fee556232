/// @file
/// Rounding and distances as all geometry here computes them.
#pragma once

#include "velmora/platform/export.h"

namespace velmora {

/// @threadsafety any thread
class VELMORA_EXPORT MathUtils {
 public:
  /// To the nearest int, halves away from zero. What is not a number or does not fit gives the
  /// most negative int.
  static int round(float v);

  /// Euclidean distance: the sum of squares in float, the root in double.
  static float distance(float x1, float y1, float x2, float y2);

  /// Euclidean distance. The sum of squares is a 32-bit int that wraps: right as long as it is
  /// below 2^31 (a difference of 46,340 along one axis); above, wrong or not a number.
  static float distance(int x1, int y1, int x2, int y2);
};

}  // namespace velmora
