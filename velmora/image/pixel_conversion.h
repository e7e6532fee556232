/// @file
/// Conversion of every pixel format to the two layouts that recognition works on.
#pragma once

#include "velmora/image/convert_data.h"
#include "velmora/image/image_data.h"
#include "velmora/platform/export.h"

extern "C" {

/// Brings an image into a layout that recognition works on: 8 bits of grey (`PXF_Binary8` if the
/// source has 1 bit a pixel, else `PXF_Grayscale8`) or `PXF_Colour888`, rows without padding.
/// docs/images.md has the table of source format and usage.
///
/// The result has a clone of the source's tag and its orientation.
///
/// Refused, with null, are: no image or no bytes; a width, height or stride below 1; an image that
/// is in the target layout already; a single channel of a 48- or 64-bit format; an unknown format;
/// a result of 2 GiB or more; and an image whose length is known (`IsLengthKnown`) and shorter than
/// what the conversion would read.
///
/// @param image  borrowed for the call and left unchanged; may be null
/// @return a new image owned by the caller, destroyed with `delete`; or null: go on with @p image
/// @throws std::bad_alloc
/// @threadsafety concurrent calls are safe while nobody writes to @p image
[[nodiscard]] VELMORA_EXPORT velmora::basic_structures::CImageData* Nx_ConvertImageData(
    const velmora::basic_structures::CImageData* image,
    velmora::basic_structures::ColourChannelUsageType usage);

/// Converts what @p data describes to 8 bits of grey, `PXF_Binary8` if it has 1 bit a pixel, else
/// `PXF_Grayscale8`. A colour usage takes that channel, any other the luminance
/// (19562 R + 38550 G + 7424 B) / 65536. 24 bits a pixel are read as colour even if `isYuv` is set.
///
/// @param data  borrowed; null is refused
/// @return a new image owned by the caller; null if width or height is below 1, the result would
///         have 2 GiB or more, or the bits per pixel are not 1, 4, 8, 16, 24 or 32
/// @throws std::bad_alloc
/// @threadsafety concurrent calls are safe while nobody writes to the pixels
[[nodiscard]] VELMORA_EXPORT velmora::basic_structures::CImageData* Nx_ConvertToGrayscale(
    velmora::basic_structures::ConvertData* data);

/// Converts what @p data describes to `PXF_Colour888`. The usage is not consulted, a palette of a
/// 4-bit source not used (the nibble times 15 becomes grey), and `bottomUp` not honoured for YUV.
///
/// @param data  borrowed; null is refused
/// @return a new image owned by the caller; null if width or height is below 1, the result would
///         have 2 GiB or more, or the bits per pixel are not among those of `ConvertData`
/// @throws std::bad_alloc
/// @threadsafety concurrent calls are safe while nobody writes to the pixels
[[nodiscard]] VELMORA_EXPORT velmora::basic_structures::CImageData* Nx_ConvertToRGB(
    velmora::basic_structures::ConvertData* data);
}

namespace velmora {
using ::Nx_ConvertImageData;
using ::Nx_ConvertToGrayscale;
using ::Nx_ConvertToRGB;
}  // namespace velmora
