/// @file
/// The public image buffer.
#pragma once

#include <cstddef>
#include <cstdint>

#include "velmora/image/image_tag.h"
#include "velmora/platform/export.h"

namespace velmora::basic_structures {

/// The pixel formats; the numbers are part of the interface. For the order of the channels in
/// memory see docs/images.md.
enum ImagePixelFormat : std::int32_t {
  PXF_BinaryPacked = 0,             ///< 1 bit a pixel, most significant bit first; 0 is black
  PXF_BinaryPackedInverted = 1,     ///< the same; 0 is white
  PXF_Grayscale8 = 2,               ///< one luminance byte
  PXF_YuvSemiPlanar = 3,            ///< luminance plane, then a plane of V, U pairs
  PXF_Colour565 = 4,                ///< little-endian word, red in the high bits
  PXF_Colour555 = 5,                ///< little-endian word, red in bits 10 to 14
  PXF_Colour888 = 6,                ///< B, G, R
  PXF_Colour8888 = 7,               ///< B, G, R, A
  PXF_Colour161616 = 8,             ///< B, G, R, little-endian words
  PXF_Colour16161616 = 9,           ///< R, G, B, A, little-endian words
  PXF_Colour8888Reversed = 10,      ///< R, G, B, A
  PXF_Colour16161616Reversed = 11,  ///< B, G, R, A, little-endian words
  PXF_Colour888Reversed = 12,       ///< R, G, B
  PXF_Binary8 = 13,                 ///< one byte a pixel, two values
  PXF_YuvSemiPlanarReversed = 14,   ///< luminance plane, then a plane of U, V pairs
  PXF_Binary8Inverted = 15          ///< one byte a pixel, two values, inverted
};

/// A buffer of pixels with its geometry, its orientation and a tag that tells where it came from.
///
/// Row r starts at `GetBytes() + r * GetStride()`; the YUV formats have their chroma plane behind
/// the `stride * height` bytes of luminance. Who frees the bytes is settled once, by the
/// constructor: the copying one makes a private copy, the adopting one takes the caller's buffer
/// together with the function that releases it, or borrows it when there is none.
///
///     CImageData copy(size, pixels, 640, 480, 640, PXF_Grayscale8, 0, nullptr);
///     CImageData adopted(size, pixels, &ReleaseFrame, 640, 480, 640, PXF_Grayscale8, 0, nullptr);
///     CImageData borrowed(size, pixels, nullptr, 640, 480, 640, PXF_Grayscale8, 0, nullptr);
///
/// Geometry is stored as it is given; whoever reads the pixels checks it.
///
/// @threadsafety concurrent reads are safe. The release function runs on the thread that destroys
///               the image.
class VELMORA_EXPORT CImageData {
 public:
  /// Releases a pixel buffer; must not throw.
  using ReleaseBytes = void (*)(const unsigned char*);

  /// No bytes, every field 0.
  CImageData() = default;

  /// Copies the pixels and the tag.
  ///
  /// @param bytesLength  stored whole; of a length of 4 GiB or more only the low 32 bits are
  ///                     copied, of an unknown one, 0, nothing
  /// @param bytes        @p bytesLength bytes, borrowed for the call; null makes an image without a
  ///                     buffer, which keeps the length it was given
  /// @param stride       bytes from the start of a row to the start of the next
  /// @param orientation  rotation of the image in degrees
  /// @param tag          cloned; may be null
  /// @throws std::bad_alloc; nothing leaks
  CImageData(unsigned long long bytesLength, const unsigned char* bytes, int width, int height,
             int stride, ImagePixelFormat format, int orientation, const CImageTag* tag);

  /// Takes over the buffer itself; the tag is cloned.
  ///
  /// @param bytes         stored as it is; may be null
  /// @param releaseBytes  called exactly once with @p bytes when the image dies, even if they are
  ///                      null. Null: the caller keeps the buffer, and keeps it alive longer than
  ///                      the image
  /// @throws std::bad_alloc; the buffer still belongs to the caller then
  CImageData(unsigned long long bytesLength, const unsigned char* bytes, ReleaseBytes releaseBytes,
             int width, int height, int stride, ImagePixelFormat format, int orientation,
             const CImageTag* tag);

  CImageData(const CImageData&) = delete;
  CImageData& operator=(const CImageData&) = delete;

  virtual ~CImageData();

  const unsigned char* GetBytes() const noexcept { return bytes_; }
  /// Bytes in the buffer; 0 also stands for "unknown" if the buffer is the application's.
  unsigned long long GetBytesLength() const noexcept { return bytesLength_; }
  /// Whether `GetBytesLength()` tells how long the buffer is: it is not 0, or the image allocated
  /// the buffer itself.
  bool IsLengthKnown() const noexcept { return bytesLength_ != 0 || hasOwnBuffer_; }
  /// How many bytes may be read if the length is known. An adopted or borrowed buffer has all that
  /// the application says, as far as the address space goes; of a length of 4 GiB or more an own
  /// buffer has only the low 32 bits, and so has a length of 2^63 or more, a product that wrapped.
  std::uint64_t GetReadableLength() const noexcept {
    const bool isLow = hasOwnBuffer_ || bytesLength_ >> 63 != 0;
    return isLow ? static_cast<std::uint32_t>(bytesLength_)
                 : static_cast<std::size_t>(bytesLength_);
  }
  int GetWidth() const noexcept { return width_; }
  int GetHeight() const noexcept { return height_; }
  int GetStride() const noexcept { return stride_; }
  ImagePixelFormat GetImagePixelFormat() const noexcept { return format_; }
  int GetOrientation() const noexcept { return orientation_; }

  /// The image's own tag, null if it has none; valid until `SetImageTag` or the end of the image.
  const CImageTag* GetImageTag() const noexcept { return imageTag_; }

  /// Replaces the tag by a clone of @p tag; null removes it. The pointer that `GetImageTag()`
  /// returns changes nothing.
  /// @throws std::bad_alloc; the old tag stays then
  void SetImageTag(const CImageTag* tag);

 protected:
  std::uint64_t bytesLength_ = 0;
  const unsigned char* bytes_ = nullptr;
  std::int32_t width_ = 0;
  std::int32_t height_ = 0;
  std::int32_t stride_ = 0;
  ImagePixelFormat format_ = PXF_BinaryPacked;
  std::int32_t orientation_ = 0;
  CImageTag* imageTag_ = nullptr;  // owned
  ReleaseBytes releaseBytes_ = nullptr;
  bool hasOwnBuffer_ = false;  // allocated here, of the low 32 bits of bytesLength_, 0 included
};

}  // namespace velmora::basic_structures
