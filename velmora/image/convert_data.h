/// @file
/// What a pixel-format conversion reads.
#pragma once

#include <cstdint>
#include <vector>

#include "velmora/image/image_data.h"
#include "velmora/platform/export.h"

namespace velmora::basic_structures {

/// Which part of the colour information a consumer wants.
enum ColourChannelUsageType : std::int32_t {
  CCU_Unrestricted = 0,  ///< whatever the format holds
  CCU_AllChannels = 1,   ///< the same to the conversions
  CCU_Luminance = 2,     ///< of a YUV image only the luminance plane
  CCU_Red = 3,           ///< one channel of a colour image, as grey
  CCU_Green = 4,
  CCU_Blue = 5
};

/// What a conversion reads: borrowed pixels and how they are laid out.
///
/// Can describe more than an `ImagePixelFormat` can: palettes, 4-bit pixels, bottom-up rows. The
/// conversions trust it, there is no length to check against:
///  - row r is read at `bytes + r * stride`, whatever the stride: 0 repeats a row, a negative one
///    walks backwards from the first;
///  - palette entries that are missing count as 0, surplus ones are ignored.
///
/// @threadsafety as a plain value
struct VELMORA_EXPORT ConvertData {
  const unsigned char* bytes;  ///< the row that is first in memory
  std::int32_t width;
  std::int32_t height;
  std::int32_t stride;        ///< bytes from the start of a row to the start of the next
  std::int32_t bitsPerPixel;  ///< 1, 4, 8, 16, 24, 32, 48 or 64
  std::int32_t unread1;       ///< the conversions do not read it
  std::int32_t unread2;       ///< likewise
  bool bottomUp;              ///< the first row of the image is the last in memory
  bool is565;                 ///< 16 bits a pixel: 5-6-5 rather than 5-5-5
  bool reversed;              ///< the order of the channels is that of the ...Reversed format
  bool isYuv;                 ///< a luminance plane and, at 24 bits a pixel, a chroma plane
  ColourChannelUsageType colourChannelUsage;
  std::vector<unsigned char> palette;  ///< 1 byte an entry for grey, 3 bytes (R, G, B) for colour

  /// Every field but the palette, which starts empty.
  ConvertData(const unsigned char* sourceBytes, int sourceWidth, int sourceHeight, int sourceStride,
              int sourceBitsPerPixel, int firstUnread, int secondUnread, bool isBottomUp,
              bool isRgb565, bool isReversed, bool isYuvSemiPlanar, ColourChannelUsageType usage);
  ConvertData(const ConvertData&);
  ConvertData(ConvertData&&) noexcept;
  ~ConvertData();
  ConvertData& operator=(const ConvertData&);
  ConvertData& operator=(ConvertData&&) noexcept;

  /// Sets bits per pixel, flags and palette as @p format has them, for the `colourChannelUsage` set
  /// before. It only sets: flags of an earlier format stay, and a binary format appends its two
  /// palette bytes to what is there. An unknown format sets nothing.
  void UpdateByFormat(ImagePixelFormat format);
};

}  // namespace velmora::basic_structures
