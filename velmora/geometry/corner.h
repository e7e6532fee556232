/// @file
/// Corners and the edges between them.
#pragma once

#include <cstdint>

#include "velmora/geometry/line_segment.h"
#include "velmora/geometry/point.h"

namespace velmora::basic_structures {

/// The kind of a corner. Recognition modules define the values; the core stores and copies them.
enum CornerType : std::int32_t {};

/// Where two lines meet. A value; a move is a copy.
struct CCorner {
  CornerType cornerType{};
  NxPoint_<int> crossPoint;  ///< where the lines meet
  CLineSegment lineA;
  CLineSegment lineB;
};

/// What lies between two corners. A value; a move is a copy.
struct CEdge {
  CCorner startCorner;
  CCorner endCorner;
};

}  // namespace velmora::basic_structures
