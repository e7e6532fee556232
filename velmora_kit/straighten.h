/// @file
/// Pixels seen through a quadrilateral.
#pragma once

#include "velmora_kit/pixels.h"
#include "velmora_kit/region_work.h"

namespace velmora::kit {

/// A turned part of an image brought upright, and the way back.
struct Straightened {
  GreyImage image;
  double originX = 0;  ///< where pixel (0, 0) lies in the source
  double originY = 0;
  double rightX = 1;  ///< one pixel to the right, in the source
  double rightY = 0;
  double downX = 0;  ///< one pixel down, in the source
  double downY = 1;

  /// The pixel of the source nearest to a pixel of the image.
  Corner ToSource(int x, int y) const;
};

/// Samples the parallelogram of the corners 0, 1 and 3, with @p margin source pixels around it, at
/// @p scale pixels for each source pixel, between pixels linearly. Outside the source its border
/// goes on.
Straightened Straighten(const GreyView& source, const Corner* corners, int margin, int scale);

}  // namespace velmora::kit
