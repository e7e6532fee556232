/// @file
/// Finds EAN and UPC codes in an image.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "modules/code_reader/ean_reader.h"
#include "velmora_kit/pixels.h"
#include "velmora_kit/region_work.h"

namespace velmora::modules {

struct EanCode {
  EanKind kind;
  std::string digits;
  std::string addOn;
  kit::Corner corners[4];  ///< of the part that scan lines have read, clockwise; in pixels
};

/// Reads rows and columns of the image in both directions. A text counts if two lines agree on it,
/// or if one line leaves no doubt; of two texts in the same place, the better founded one counts.
///
/// @param mustStop  asked every few dozen lines; once it says yes, what was found until then is
/// returned
std::vector<EanCode> FindEan(const kit::GreyView& image, const std::function<bool()>& mustStop);

}  // namespace velmora::modules
