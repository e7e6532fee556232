/// @file
/// Matrix codes as a library of the target reads them.
#pragma once

#include <string>
#include <vector>

#include "velmora_kit/pixels.h"
#include "velmora_kit/region_work.h"

namespace velmora::modules {

/// What can be read on this target, by the names that templates and results use.
const std::vector<std::string>& MatrixSymbologies();

struct MatrixCode {
  std::string symbology;
  std::string text;
  std::string bytes;
  kit::Corner corners[4];  ///< clockwise, in pixels of the image that was read
};

/// How to tell dark from light.
enum class Threshold {
  kLocal,  ///< by the surroundings of each pixel
  kGlobal  ///< the same for all pixels
};

/// Reads the codes of an image, whatever their direction. Parts of a series come as one code if all
/// are there, otherwise as what they are: "QR part 2 of 3".
///
/// @param image        at most `kMostPixelsAtOnce` pixels
/// @param symbologies  names of `MatrixSymbologies()`
std::vector<MatrixCode> ReadMatrixCodes(const kit::GreyView& image,
                                        const std::vector<std::string>& symbologies,
                                        Threshold threshold);

}  // namespace velmora::modules
