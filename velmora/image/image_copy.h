/// @file
/// Deep copies of images.
#pragma once

#include <memory>

#include "velmora/image/image_data.h"

namespace velmora {

/// The same length, geometry, format and orientation, its own copy of the bytes and a clone of the
/// tag. A plain `CImageData`, whatever the class of @p image.
///
/// @throws std::bad_alloc
/// @threadsafety concurrent calls are safe while no thread writes to @p image
inline std::unique_ptr<basic_structures::CImageData> CopyImage(
    const basic_structures::CImageData& image) {
  return std::make_unique<basic_structures::CImageData>(
      image.GetBytesLength(), image.GetBytes(), image.GetWidth(), image.GetHeight(),
      image.GetStride(), image.GetImagePixelFormat(), image.GetOrientation(), image.GetImageTag());
}

}  // namespace velmora
