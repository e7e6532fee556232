// The pixels that a quadrilateral covers.
#pragma once

#include <vector>

#include "velmora/geometry/nx_line_segment.h"
#include "velmora/geometry/point.h"
#include "velmora/geometry/rect.h"

namespace velmora::internal {

// Lists what Nx_Quad::GetAllPixels promises of four vertices, inside `window`, in place of what
// `out` held. The window lies in the bounding box of the vertices or is empty; std::length_error if
// it has more rows than an int counts.
void CollectQuadPixels(const NxPoint_<int>* vertices, Nx_Pixelate_Mode mode,
                       const basic_structures::CRect& window, std::vector<NxPoint_<int>>& out);

}  // namespace velmora::internal
