/// @file
/// The point in which every position of an image is stated.
#pragma once

#include "velmora/platform/export.h"

namespace velmora::basic_structures {

/// A position in an image, in pixels: x grows to the right, y grows downwards.
///
///     (0,0) ---> x
///       |
///       v y
///
/// A plain value. The library exports it for `int` only.
template <typename T>
class NxPoint_ {
 public:
  T coordinate[2] = {};  ///< x, then y

  NxPoint_() = default;  ///< (0, 0)
  constexpr NxPoint_(T x, T y) : coordinate{x, y} {}

  void Set(T x, T y) {
    coordinate[0] = x;
    coordinate[1] = y;
  }

  /// Coordinate @p i: 0 is x, 1 is y. The index is not checked.
  T& operator[](int i) { return coordinate[i]; }
  const T& operator[](int i) const { return coordinate[i]; }

  /// Euclidean distance. The coordinate differences are 32-bit and wrap.
  double DistanceTo(const NxPoint_& other) const;

  /// The image of @p p under a projective transform.
  /// @param m row-major 3x3 matrix; the results are truncated toward zero, and one that is not a
  ///          number or does not fit (the point maps to infinity) is the most negative int
  static NxPoint_ TransformCoordinates(const NxPoint_& p, const double m[9]);
};

template <>
VELMORA_EXPORT double NxPoint_<int>::DistanceTo(const NxPoint_& other) const;
template <>
VELMORA_EXPORT NxPoint_<int> NxPoint_<int>::TransformCoordinates(const NxPoint_& p,
                                                                 const double m[9]);

template <typename T>
bool operator==(const NxPoint_<T>& a, const NxPoint_<T>& b) {
  return a[0] == b[0] && a[1] == b[1];
}
template <typename T>
bool operator!=(const NxPoint_<T>& a, const NxPoint_<T>& b) {
  return !(a == b);
}

}  // namespace velmora::basic_structures

namespace velmora {

using basic_structures::NxPoint_;

/// Whether four points turn strictly clockwise, as seen on the image, at every vertex.
///
///     0 ----> 1
///     ^       |      clockwise with y downwards
///     |       v
///     3 <---- 2
///
/// A true answer also means that they are strictly convex: four turns of less than 180 degrees each
/// make one full turn. False as soon as three consecutive points are collinear. 32-bit: from 46,341
/// pixels a side on the turns wrap; ask with coordinates of a smaller scale then.
/// @param v four points
VELMORA_EXPORT bool IsPointsClockWise(const NxPoint_<int>* const v);

}  // namespace velmora
