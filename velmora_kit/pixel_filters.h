/// @file
/// Whole pictures made easier to read. Each function returns an image of its own.
#pragma once

#include "velmora_kit/pixels.h"

namespace velmora::kit {

/// A copy with tight rows.
GreyImage CopyOf(const GreyView& source);

/// Each pixel is the mean of a square of @p factor by @p factor pixels; what is left of the last
/// rows and columns is left out.
///
/// @param factor  1 or more, not above the shorter side
GreyImage Reduce(const GreyView& source, int factor);

/// Twice as wide and as high, between pixels linearly.
GreyImage Enlarge(const GreyView& source);

/// Sets off each pixel from its eight neighbours, against a slight blur.
GreyImage Sharpen(const GreyView& source);

/// Light for dark.
GreyImage Invert(const GreyView& source);

}  // namespace velmora::kit
