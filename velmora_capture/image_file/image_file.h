/// @file
/// Pictures from files.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "velmora/foundation/error_code.h"
#include "velmora/image/image_data.h"
#include "velmora_capture/export.h"

namespace velmora::capture {

/// A picture, or the reason why there is none.
struct LoadedImage {
  std::unique_ptr<basic_structures::CImageData> image;  ///< with a file tag; null on failure
  ErrorCode code = EC_Ok;
  std::string reason;  ///< more than the code's message; may be empty
};

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

/// Opens a file, named in UTF-8, to read its bytes.
/// @param failure  filled in if the result is empty
VELMORA_CAPTURE_EXPORT File OpenToRead(const std::string& path, LoadedImage& failure);

/// Pixels of an image that is decoded, unless the caller says otherwise: 16384 x 16384.
inline constexpr std::int64_t kMaxPixels = std::int64_t{1} << 28;

/// Decodes the bytes of a PNG, JPEG, WebP, GIF, TIFF, BMP, PBM, PGM, PPM or PAM file, whatever its
/// name. Grey pictures stay grey, others become RGB; what is transparent shows white. Of a GIF or
/// TIFF with several pictures the first one is taken. A file that ends too early is an error.
///
/// @param bytes      @p size bytes, borrowed for the call
/// @param tag        cloned into the image
/// @param maxPixels  a larger image is not decoded: EC_ImageReadFailed
/// @return EC_FileTypeNotSupported for bytes of no such file, EC_ImageReadFailed for broken ones,
///         EC_NoMemory
VELMORA_CAPTURE_EXPORT LoadedImage DecodeImage(const unsigned char* bytes, std::size_t size,
                                               const basic_structures::CImageTag& tag,
                                               std::int64_t maxPixels = kMaxPixels);

/// Decodes a file as `DecodeImage` does.
/// @param path     kept in the file tag of the image
/// @param imageId  for the tag
VELMORA_CAPTURE_EXPORT LoadedImage LoadImageFile(const std::string& path, int imageId);

/// Whether the name ends like those of the files that `LoadImageFile` reads.
VELMORA_CAPTURE_EXPORT bool HasPictureExtension(const std::string& path);

/// The bytes of a PNG file with the picture.
/// @param image  8-bit grey, or B, G, R
VELMORA_CAPTURE_EXPORT std::vector<unsigned char> EncodePng(
    const basic_structures::CImageData& image);

}  // namespace velmora::capture
