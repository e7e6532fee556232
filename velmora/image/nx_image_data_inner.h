/// @file
/// Images that the library makes itself.
#pragma once

#include "velmora/image/image_data.h"
#include "velmora/platform/export.h"

namespace velmora {

/// An intermediate image with a writable buffer, its own or a borrowed one: what the pixel-format
/// conversions return, for example.
///
/// The buffer holds `stride * height` bytes. The product is 32-bit and wraps, and is at the same
/// time the length that the image reports: check geometry that comes from outside before you walk
/// rows of it.
///
/// @threadsafety as `CImageData`
class VELMORA_EXPORT NxImageDataInner : public basic_structures::CImageData {
 public:
  /// A buffer of zeros, freed with the image. Orientation 0, no tag.
  /// @throws std::bad_alloc, for a negative product too
  NxImageDataInner(int width, int height, int stride, basic_structures::ImagePixelFormat format);

  /// Uses @p bytes without copying and never frees them. Orientation 0, no tag.
  NxImageDataInner(const unsigned char* bytes, int width, int height, int stride,
                   basic_structures::ImagePixelFormat format);

  ~NxImageDataInner() override;

  /// The same as the first constructor except that the buffer is not filled: for a writer that is
  /// going to set every byte of it.
  [[nodiscard]] static NxImageDataInner* CreateUninitialised(
      int width, int height, int stride, basic_structures::ImagePixelFormat format);

  /// The writable buffer. Write to a borrowed one only if its owner lets you.
  unsigned char* GetBytes() const noexcept { return const_cast<unsigned char*>(bytes_); }

  /// Stores the angle, in degrees, unchanged.
  void SetOrientationAngle(int degrees) noexcept { orientation_ = degrees; }

 private:
  bool borrowed_;
};

}  // namespace velmora
