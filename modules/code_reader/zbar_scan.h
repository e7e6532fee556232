/// @file
/// Linear and QR codes as ZBar reads them.
#pragma once

#include <string>
#include <vector>

#include "velmora_kit/pixels.h"
#include "velmora_kit/region_work.h"

namespace velmora::modules {

/// What ZBar can read, by the names that templates and results use.
const std::vector<std::string>& ZBarSymbologies();

struct ZBarCode {
  std::string symbology;
  std::string bytes;
  kit::Corner corners[4];  ///< clockwise, in pixels of the image that was scanned
};

/// Reads the codes of an image.
///
/// @param image        at most `kMostPixelsAtOnce` pixels
/// @param symbologies  names of `ZBarSymbologies()`; others are left out
/// @param density      reads each row and column whose number is a multiple of it
/// @return what at least two scan lines agree on, and what is long enough not to be a part of
///         another code or a piece of print
std::vector<ZBarCode> ScanWithZBar(const kit::GreyImage& image,
                                   const std::vector<std::string>& symbologies, int density);

}  // namespace velmora::modules
