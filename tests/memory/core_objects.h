// What the operations of the core's rooms share.
#pragma once

#include "tests/engine/engine_objects.h"
#include "tests/memory/operation.h"

namespace velmora::testing {

// Long enough not to fit into a string object.
inline const std::string kLong(100, 'x');
inline const std::string kOther(90, 'y');

inline const unsigned char kPixels[4096] = {1, 2, 3, 4, 5, 6, 7, 8, 9};

inline const basic_structures::CFileImageTag& Tag() {
  static const basic_structures::CFileImageTag tag("a file with a name that is long", 1, 2);
  return tag;
}

inline NxRef<NxImageData> MakeImage() {
  return new NxImageData(sizeof kPixels, kPixels, 16, 16, 128, basic_structures::PXF_Grayscale8, 0,
                         &Tag());
}

}  // namespace velmora::testing
