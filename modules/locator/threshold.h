/// @file
/// From grey to dark and light, whatever the lighting.
#pragma once

#include "velmora_kit/pixels.h"

namespace velmora::modules {

/// Marks the pixels that are darker than their surroundings.
///
/// A pixel is dark if it lies more than @p offset below the mean of the square of
/// 2 * @p radius + 1 pixels around it, cut off at the borders of the image. The cost does not
/// depend on the radius.
///
/// @return one byte a pixel: 1 dark, 0 light
kit::GreyImage AdaptiveThreshold(const kit::GreyView& grey, int radius, int offset);

}  // namespace velmora::modules
