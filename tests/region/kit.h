// What the tests of this room share. The concrete region and unit are those of the example for
// module authors.
#pragma once

#include "tests/support/test.h"

namespace velmora::testing {

// The hash id of a picture depends on its bytes alone, so few of them do for any size.
inline NxRef<NxImageData> MakeImage(const std::string& bytes, int width, int height,
                                    const basic_structures::CImageTag* tag = nullptr) {
  return new NxImageData(bytes.size(), reinterpret_cast<const unsigned char*>(bytes.data()), width,
                         height, width, basic_structures::PXF_Grayscale8, 0, tag);
}

}  // namespace velmora::testing
