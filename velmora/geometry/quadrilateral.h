/// @file
/// The quadrilateral as applications see it.
#pragma once

#include <cstdint>

#include "velmora/geometry/point.h"
#include "velmora/geometry/rect.h"
#include "velmora/platform/export.h"

namespace velmora::basic_structures {

/// Four vertices in image pixels, and an id.
///
///     points[0] ----> points[1]
///         ^               |         clockwise as seen on the image (y grows downwards)
///         |               v
///     points[3] <---- points[2]
///
/// The order is the caller's and is never changed. The library stores its own results clockwise,
/// from the vertex that their producer chose: for a region that is the one that appears upper left
/// in the reading direction of what was found, which on a turned object need not be the upper left
/// of the image. A plain value; concurrent reads are safe.
class VELMORA_EXPORT CQuadrilateral {
 public:
  NxPoint_<int> points[4];
  std::int32_t id = -1;  ///< -1 is "none"

  /// Whether @p point lies inside by a pixel or more from every edge.
  ///
  /// A point less than a pixel from an edge's line counts as on that edge and is not contained. A
  /// quadrilateral that is not stored clockwise contains no point: bring it into order first, with
  /// `ConvertQuadrilateralToClockWisePoints`.
  /// @param point may be null, which is contained nowhere
  bool Contains(const NxPoint_<int>* point) const;

  /// The area in square pixels, between the centres of the vertices: a 10 by 10 square with
  /// vertices at 0 and 10 has 100.
  ///
  /// Rounded from the areas of the triangles 0-1-2 and 2-3-0, which count against each other where
  /// the quadrilateral is folded or concave at vertex 1 or 3. 0 if two neighbouring vertices are
  /// equal; an area that does not fit is the largest int. Either orientation.
  int GetArea() const;

  /// The smallest upright rectangle around the vertices; its id is -1.
  CRect GetBoundingRect() const;
};

}  // namespace velmora::basic_structures
