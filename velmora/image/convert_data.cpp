#include "velmora/image/convert_data.h"

namespace velmora::basic_structures {

ConvertData::ConvertData(const unsigned char* sourceBytes, int sourceWidth, int sourceHeight,
                         int sourceStride, int sourceBitsPerPixel, int firstUnread,
                         int secondUnread, bool isBottomUp, bool isRgb565, bool isReversed,
                         bool isYuvSemiPlanar, ColourChannelUsageType usage)
    : bytes(sourceBytes),
      width(sourceWidth),
      height(sourceHeight),
      stride(sourceStride),
      bitsPerPixel(sourceBitsPerPixel),
      unread1(firstUnread),
      unread2(secondUnread),
      bottomUp(isBottomUp),
      is565(isRgb565),
      reversed(isReversed),
      isYuv(isYuvSemiPlanar),
      colourChannelUsage(usage) {}

ConvertData::ConvertData(const ConvertData&) = default;
ConvertData::ConvertData(ConvertData&&) noexcept = default;
ConvertData::~ConvertData() = default;
ConvertData& ConvertData::operator=(const ConvertData&) = default;
ConvertData& ConvertData::operator=(ConvertData&&) noexcept = default;

void ConvertData::UpdateByFormat(ImagePixelFormat format) {
  switch (format) {
    case PXF_BinaryPacked:
      bitsPerPixel = 1;
      palette.insert(palette.end(), {0, 255});
      break;
    case PXF_BinaryPackedInverted:
      bitsPerPixel = 1;
      palette.insert(palette.end(), {255, 0});
      break;
    case PXF_YuvSemiPlanarReversed:
      reversed = true;
      [[fallthrough]];
    case PXF_YuvSemiPlanar:
      isYuv = true;
      bitsPerPixel = colourChannelUsage == CCU_Luminance ? 8 : 24;
      break;
    case PXF_Colour565:
      is565 = true;
      [[fallthrough]];
    case PXF_Colour555:
      bitsPerPixel = 16;
      break;
    case PXF_Colour888Reversed:
      reversed = true;
      [[fallthrough]];
    case PXF_Colour888:
      bitsPerPixel = 24;
      break;
    case PXF_Colour8888Reversed:
      reversed = true;
      [[fallthrough]];
    case PXF_Colour8888:
      bitsPerPixel = 32;
      break;
    case PXF_Colour161616:
      bitsPerPixel = 48;
      break;
    case PXF_Colour16161616Reversed:
      reversed = true;
      [[fallthrough]];
    case PXF_Colour16161616:
      bitsPerPixel = 64;
      break;
    case PXF_Grayscale8:
    case PXF_Binary8:
    case PXF_Binary8Inverted:
      bitsPerPixel = 8;
      break;
  }
}

}  // namespace velmora::basic_structures
