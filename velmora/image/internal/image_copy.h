// Deep copies of images.
#pragma once

#include <memory>

#include "velmora/image/image_data.h"

namespace velmora::internal {

// The same length, geometry, format and orientation, its own copy of the bytes and a clone of the
// tag. A plain CImageData, whatever the class of `image`. Throws std::bad_alloc.
inline std::unique_ptr<basic_structures::CImageData> CopyImage(
    const basic_structures::CImageData& image) {
  return std::make_unique<basic_structures::CImageData>(
      image.GetBytesLength(), image.GetBytes(), image.GetWidth(), image.GetHeight(),
      image.GetStride(), image.GetImagePixelFormat(), image.GetOrientation(), image.GetImageTag());
}

}  // namespace velmora::internal
