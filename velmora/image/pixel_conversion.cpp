#include "velmora/image/pixel_conversion.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdlib>
#include <limits>
#include <memory>
#include <optional>

#include "velmora/image/internal/chroma_plane.h"
#include "velmora/image/internal/function_trace.h"
#include "velmora/image/internal/row_routines.h"
#include "velmora/image/nx_image_data_inner.h"

namespace velmora::internal {
namespace {

using basic_structures::CImageData;
using basic_structures::ColourChannelUsageType;
using basic_structures::ConvertData;
using basic_structures::ImagePixelFormat;

constexpr int kBytesPerColourPixel = 3;

enum class Target { Grey, Colour };

constexpr int BytesPerPixel(Target target) {
  return target == Target::Colour ? kBytesPerColourPixel : 1;
}

constexpr bool IsSingleChannel(ColourChannelUsageType usage) {
  return usage == basic_structures::CCU_Red || usage == basic_structures::CCU_Green ||
         usage == basic_structures::CCU_Blue;
}

constexpr bool IsYuvFormat(ImagePixelFormat format) {
  return format == basic_structures::PXF_YuvSemiPlanar ||
         format == basic_structures::PXF_YuvSemiPlanarReversed;
}

constexpr bool IsGreyFormat(ImagePixelFormat format) {
  switch (format) {
    case basic_structures::PXF_BinaryPacked:
    case basic_structures::PXF_BinaryPackedInverted:
    case basic_structures::PXF_Grayscale8:
    case basic_structures::PXF_Binary8:
    case basic_structures::PXF_Binary8Inverted:
      return true;
    default:
      return false;
  }
}

// ---- what is read ----

std::optional<SourceLayout> LayoutOf(const ConvertData& data) {
  switch (data.bitsPerPixel) {
    case 1:
      return SourceLayout::Bit;
    case 4:
      return SourceLayout::Nibble;
    case 8:
      return data.palette.empty() ? SourceLayout::Byte : SourceLayout::IndexedByte;
    case 16:
      return data.is565 ? SourceLayout::Rgb565 : SourceLayout::Rgb555;
    case 24:
      if (data.isYuv) return data.reversed ? SourceLayout::YuvUv : SourceLayout::YuvVu;
      return data.reversed ? SourceLayout::Rgb24 : SourceLayout::Bgr24;
    case 32:
      return data.reversed ? SourceLayout::Rgba32 : SourceLayout::Bgra32;
    case 48:
      return SourceLayout::Bgr48;
    case 64:
      return data.reversed ? SourceLayout::Bgra64 : SourceLayout::Rgba64;
    default:
      return std::nullopt;
  }
}

std::int64_t RowBytes(const ConvertData& data) {
  return (std::int64_t{data.width} * data.bitsPerPixel + 7) / 8;
}

// How far from `bytes`, forwards or backwards, the last row begins.
std::int64_t LastRowOffset(const ConvertData& data) {
  return std::abs(std::int64_t{data.stride}) * (data.height - 1);
}

bool HasChroma(const ConvertData& data, Target target) {
  return target == Target::Colour && data.isYuv && data.bitsPerPixel == 24;
}

// Whether the conversion reads behind the first `length` bytes. Strides are positive.
bool ReadsBeyond(const ConvertData& data, Target target, std::int64_t length) {
  if (!HasChroma(data, target)) return LastRowOffset(data) + RowBytes(data) > length;
  return LastRowOffset(data) + data.width > length ||
         ChromaPlane(data.width, data.height, data.stride).ReadEnd() > length;
}

// Whether a source of that geometry can exist in memory. Strides of any sign.
bool FitsAddressSpace(const ConvertData& data, Target target) {
  std::int64_t size = LastRowOffset(data) + RowBytes(data);
  if (HasChroma(data, target)) size += size / 2 + std::abs(std::int64_t{data.stride});
  return size <= std::numeric_limits<std::ptrdiff_t>::max();
}

// ---- what is written ----

bool IsConvertible(const ConvertData& data, Target target) {
  if (data.bytes == nullptr || data.width < 1 || data.height < 1) return false;
  // Sizes of images are 32-bit products: refused is what would wrap.
  constexpr std::int64_t kMaxLength = std::numeric_limits<std::int32_t>::max();
  const std::int64_t pixels = std::int64_t{data.width} * data.height;
  return pixels <= kMaxLength / BytesPerPixel(target) && FitsAddressSpace(data, target);
}

// Entries of one byte, as grey; what is missing is 0.
std::array<Byte, 256> GreyPalette(const ConvertData& data) {
  std::array<Byte, 256> entries{};
  std::copy_n(data.palette.begin(), std::min(data.palette.size(), entries.size()), entries.begin());
  return entries;
}

// Entries of three bytes R, G, B in the source and of four bytes B, G, R, 0 here, which can be
// loaded as one word; what is missing is 0.
std::array<Byte, 4 * 256> ColourPalette(const ConvertData& data) {
  std::array<Byte, 4 * 256> entries{};
  const std::size_t used = data.bitsPerPixel > 8 ? 0 : std::size_t{3} << data.bitsPerPixel;
  const std::size_t count = std::min(data.palette.size(), used);
  for (std::size_t i = 0; i < count; ++i) entries[i / 3 * 4 + 2 - i % 3] = data.palette[i];
  return entries;
}

// ---- the rows ----

const Byte* SourceRow(const ConvertData& data, int y) {
  const int rowInMemory = data.bottomUp ? data.height - 1 - y : y;
  return data.bytes + static_cast<std::ptrdiff_t>(std::int64_t{data.stride} * rowInMemory);
}

// Compact rows are converted as one; its width fits, as the target's length does.
int WidthAtOnce(const ConvertData& data) {
  const bool isCompact = !data.bottomUp && data.bitsPerPixel >= 8 && data.stride == RowBytes(data);
  return isCompact ? data.width * data.height : data.width;
}

void ConvertRows(const ConvertData& data, RowRoutine convertRow, const Byte* palette,
                 std::ptrdiff_t targetStride, Byte* target) {
  const int width = WidthAtOnce(data);
  if (width != data.width) return convertRow(data.bytes, target, width, palette);
  for (int y = 0; y < data.height; ++y) {
    convertRow(SourceRow(data, y), target + y * targetStride, width, palette);
  }
}

// Always top-down, whatever `bottomUp` says.
void ConvertYuvRows(const ConvertData& data, std::ptrdiff_t targetStride, Byte* target) {
  const ChromaPlane chroma(data.width, data.height, data.stride);
  const RowRoutines& routines = ChosenRowRoutines(data.width);
  const YuvRowRoutine convertRow = routines.yuvToColour[data.reversed ? 1 : 0];
  const YuvFlatRowRoutine convertFlatRow = routines.yuvFlatToColour[data.reversed ? 1 : 0];
  const Byte* fallback = nullptr;  // chosen by the first pixel that needs it, for the whole image
  for (int y = 0; y < data.height; ++y, target += targetStride) {
    const Byte* luminance = data.bytes + static_cast<std::ptrdiff_t>(std::int64_t{data.stride} * y);
    const int columns = chroma.ColumnsInside(y);
    if (columns > 0) {
      const Byte* pairs = data.bytes + static_cast<std::ptrdiff_t>(chroma.RowBegin(y));
      convertRow(luminance, pairs, target, columns);
    }
    if (columns == data.width) continue;
    if (fallback == nullptr) {
      const std::int64_t pair = chroma.Fallback(chroma.RowBegin(y) + columns);
      fallback = data.bytes + static_cast<std::ptrdiff_t>(pair);
    }
    convertFlatRow(luminance + columns, fallback, target + kBytesPerColourPixel * columns,
                   data.width - columns);
  }
}

GreyKind GreyKindOf(ColourChannelUsageType usage) {
  switch (usage) {
    case basic_structures::CCU_Red:
      return GreyKind::Red;
    case basic_structures::CCU_Green:
      return GreyKind::Green;
    case basic_structures::CCU_Blue:
      return GreyKind::Blue;
    default:
      return GreyKind::Luminance;
  }
}

std::unique_ptr<NxImageDataInner> ConvertToGrayscale(const ConvertData& data) {
  const std::optional<SourceLayout> layout = LayoutOf(data);
  if (!layout || !IsConvertible(data, Target::Grey)) return nullptr;
  const RowRoutines& chosen = ChosenRowRoutines(WidthAtOnce(data));
  const auto& routines = chosen.toGrey[static_cast<std::size_t>(*layout)];
  const RowRoutine convertRow =
      routines[static_cast<std::size_t>(GreyKindOf(data.colourChannelUsage))];
  if (convertRow == nullptr) return nullptr;

  const ImagePixelFormat format =
      data.bitsPerPixel == 1 ? basic_structures::PXF_Binary8 : basic_structures::PXF_Grayscale8;
  std::unique_ptr<NxImageDataInner> image(
      NxImageDataInner::CreateUninitialised(data.width, data.height, data.width, format));
  ConvertRows(data, convertRow, GreyPalette(data).data(), data.width, image->GetBytes());
  return image;
}

std::unique_ptr<NxImageDataInner> ConvertToColour(const ConvertData& data) {
  const std::optional<SourceLayout> layout = LayoutOf(data);
  if (!layout || !IsConvertible(data, Target::Colour)) return nullptr;
  const RowRoutines& chosen = ChosenRowRoutines(WidthAtOnce(data));
  const RowRoutine convertRow = chosen.toColour[static_cast<std::size_t>(*layout)];

  const int stride = data.width * kBytesPerColourPixel;
  std::unique_ptr<NxImageDataInner> image(NxImageDataInner::CreateUninitialised(
      data.width, data.height, stride, basic_structures::PXF_Colour888));
  if (convertRow == nullptr) {
    ConvertYuvRows(data, stride, image->GetBytes());
  } else {
    ConvertRows(data, convertRow, ColourPalette(data).data(), stride, image->GetBytes());
  }
  return image;
}

// ---- which conversion ----

// Whether the image has the target layout already.
bool NeedsNoConversion(const CImageData& image, ColourChannelUsageType usage) {
  const std::int64_t width = image.GetWidth();
  switch (image.GetImagePixelFormat()) {
    case basic_structures::PXF_Grayscale8:
    case basic_structures::PXF_Binary8:
    case basic_structures::PXF_Binary8Inverted:
      return width == image.GetStride();
    case basic_structures::PXF_Colour888:
      return width * kBytesPerColourPixel == image.GetStride() && !IsSingleChannel(usage);
    default:
      return false;
  }
}

// A single channel is taken from colours only: a YUV image becomes colour all the same.
Target TargetOf(ImagePixelFormat format, ColourChannelUsageType usage) {
  const bool isGrey = IsYuvFormat(format) ? usage == basic_structures::CCU_Luminance
                                          : IsSingleChannel(usage) || IsGreyFormat(format);
  return isGrey ? Target::Grey : Target::Colour;
}

// Whether the image is known to end before the conversion would.
bool IsTooShort(const CImageData& image, const ConvertData& data, Target target) {
  return image.IsLengthKnown() &&
         ReadsBeyond(data, target, static_cast<std::int64_t>(image.GetReadableLength()));
}

}  // namespace
}  // namespace velmora::internal

using velmora::basic_structures::CImageData;
using velmora::basic_structures::ColourChannelUsageType;
using velmora::basic_structures::ConvertData;

CImageData* Nx_ConvertToGrayscale(ConvertData* data) {
  const velmora::internal::FunctionTrace trace("Nx_ConvertToGrayscale");
  if (data == nullptr) return nullptr;
  auto image = velmora::internal::ConvertToGrayscale(*data);
  if (image != nullptr) trace.End();
  return image.release();
}

CImageData* Nx_ConvertToRGB(ConvertData* data) {
  const velmora::internal::FunctionTrace trace("Nx_ConvertToRGB");
  if (data == nullptr) return nullptr;
  auto image = velmora::internal::ConvertToColour(*data);
  if (image != nullptr) trace.End();
  return image.release();
}

CImageData* Nx_ConvertImageData(const CImageData* image, ColourChannelUsageType usage) {
  using namespace velmora::internal;
  const FunctionTrace trace("Nx_ConvertImageData");
  if (image == nullptr || image->GetBytes() == nullptr) return nullptr;
  if (image->GetWidth() < 1 || image->GetHeight() < 1 || image->GetStride() < 1) return nullptr;
  if (NeedsNoConversion(*image, usage)) return nullptr;

  const auto format = image->GetImagePixelFormat();
  const Target target = TargetOf(format, usage);
  ConvertData data(image->GetBytes(), image->GetWidth(), image->GetHeight(), image->GetStride(), 0,
                   0, 0, false, false, false, false, usage);
  data.UpdateByFormat(format);
  if (IsTooShort(*image, data, target)) return nullptr;

  VELMORA_LOG_TEXT(9, "before convert imagePixelFormat: %d\n", static_cast<int>(format));
  std::unique_ptr<velmora::NxImageDataInner> result(static_cast<velmora::NxImageDataInner*>(
      target == Target::Colour ? Nx_ConvertToRGB(&data) : Nx_ConvertToGrayscale(&data)));
  if (result != nullptr) {
    result->SetImageTag(image->GetImageTag());
    result->SetOrientationAngle(image->GetOrientation());
    VELMORA_LOG_TEXT(9, "after convert imagePixelFormat: %d\n",
                     static_cast<int>(result->GetImagePixelFormat()));
  }
  trace.End();
  return result.release();
}
