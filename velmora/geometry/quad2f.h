/// @file
/// Four bare vertices.
#pragma once

#include "velmora/geometry/point.h"

namespace velmora::basic_structures {

/// Four vertices without an id, (0, 0) at first. The coordinates are integers, despite the name.
struct NxQuad2f {
  NxPoint_<int> vertices[4];
};

}  // namespace velmora::basic_structures
