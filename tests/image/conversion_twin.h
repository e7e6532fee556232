// The conversions once more, pixel by pixel and slowly, as their description reads: what the
// library's row routines are compared with. Notes how far it reads.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "velmora/image/convert_data.h"

namespace velmora::testing {

// Of each pixel format, in the order of their numbers; of YUV the luminance alone.
constexpr int kBitsPerPixel[] = {1, 1, 8, 8, 16, 16, 24, 32, 48, 64, 32, 64, 24, 8, 8, 8};
constexpr int kFormatCount = 16;
constexpr int kUsageCount = 6;

struct TwinImage {
  int stride = 0;
  basic_structures::ImagePixelFormat format{};
  std::vector<unsigned char> bytes;
  std::int64_t readEnd = 0;  // just behind the last byte that was read
};

class ConversionTwin {
 public:
  explicit ConversionTwin(const basic_structures::ConvertData& data) : data_(data) {}

  // Nothing where the conversion refuses. Sizes are small: no product wraps here.
  std::optional<TwinImage> ToGrey() {
    return Convert(1, data_.bitsPerPixel == 1 ? basic_structures::PXF_Binary8
                                              : basic_structures::PXF_Grayscale8);
  }
  std::optional<TwinImage> ToColour() { return Convert(3, basic_structures::PXF_Colour888); }

 private:
  using Pixel = std::array<int, 3>;  // B, G, R; grey uses the first alone

  std::optional<TwinImage> Convert(int channels, basic_structures::ImagePixelFormat format) {
    TwinImage image{data_.width * channels, format, {}, 0};
    for (int y = 0; y < data_.height; ++y) {
      for (int x = 0; x < data_.width; ++x) {
        const std::optional<Pixel> pixel = PixelAt(x, y, channels == 1);
        if (!pixel) return std::nullopt;
        image.bytes.insert(image.bytes.end(), pixel->begin(), pixel->begin() + channels);
      }
    }
    image.readEnd = readEnd_;
    return image;
  }

  std::optional<Pixel> PixelAt(int x, int y, bool toGrey) {
    switch (data_.bitsPerPixel) {
      case 1:
      case 4:
      case 8:
        return toGrey ? IndexToGrey(IndexAt(x, y)) : IndexToColour(IndexAt(x, y));
      case 24:
        if (data_.isYuv && !toGrey) return YuvPixel(x, y);
        [[fallthrough]];
      case 16:
      case 32:
        return toGrey ? GreyOf(WordPixel(x, y)) : WordPixel(x, y);
      case 48:
      case 64:
        if (toGrey) return std::nullopt;
        return WordPixel(x, y);
      default:
        return std::nullopt;
    }
  }

  int ByteAt(std::int64_t index) {
    readEnd_ = std::max(readEnd_, index + 1);
    return data_.bytes[index];
  }
  int InRow(int y, int index) {
    const int row = data_.bottomUp ? data_.height - 1 - y : y;
    return ByteAt(std::int64_t{row} * data_.stride + index);
  }

  // The number that a pixel of 8 bits or less holds.
  int IndexAt(int x, int y) {
    const int bits = data_.bitsPerPixel;
    const int perByte = 8 / bits;
    return InRow(y, x / perByte) >> (bits * (perByte - 1 - x % perByte)) & ((1 << bits) - 1);
  }
  int PaletteAt(int index) const {
    const auto i = static_cast<std::size_t>(index);
    return i < data_.palette.size() ? data_.palette[i] : 0;
  }
  bool IsPlain() const { return data_.bitsPerPixel == 8 && data_.palette.empty(); }
  Pixel IndexToGrey(int index) const { return {IsPlain() ? index : PaletteAt(index)}; }
  Pixel IndexToColour(int index) const {
    if (data_.bitsPerPixel == 4) index *= 15;
    if (data_.bitsPerPixel == 4 || IsPlain()) return {index, index, index};
    return {PaletteAt(3 * index + 2), PaletteAt(3 * index + 1), PaletteAt(3 * index)};
  }

  // A little-endian word of the whole pixel, of whose three lowest channels the upper 8 bits count.
  Pixel WordPixel(int x, int y) {
    const int size = data_.bitsPerPixel / 8;
    std::uint64_t word = 0;
    for (int i = size; i-- > 0;) word = word << 8 | static_cast<unsigned>(InRow(y, x * size + i));
    if (size == 2) {
      const auto value = static_cast<int>(word);
      if (data_.is565) return {value % 32 * 8, value / 32 % 64 * 4, value / 2048 * 8};
      return {value % 32 * 8, value / 32 % 32 * 8, value / 1024 % 32 * 8};
    }
    const auto channel = [&](int i) {
      return static_cast<int>((size < 6 ? word >> 8 * i : word >> (16 * i + 8)) & 255);
    };
    const bool isRedFirst = size == 8 ? !data_.reversed : data_.reversed && size != 6;
    return {channel(isRedFirst ? 2 : 0), channel(1), channel(isRedFirst ? 0 : 2)};
  }
  Pixel GreyOf(const Pixel& pixel) const {
    const int usage = data_.colourChannelUsage;
    const bool isChannel =
        usage >= basic_structures::CCU_Red && usage <= basic_structures::CCU_Blue;
    if (isChannel) return {pixel[static_cast<std::size_t>(basic_structures::CCU_Blue - usage)]};
    return {(pixel[2] * 19562 + pixel[1] * 38550 + pixel[0] * 7424) / 65536};
  }

  Pixel YuvPixel(int x, int y) {
    const std::int64_t begin = std::int64_t{data_.stride} * data_.height;
    const auto limit = static_cast<std::int64_t>(static_cast<double>(begin) * 1.5);
    std::int64_t c = x / 2 * 2 + std::int64_t{y / 2} * data_.stride + begin;
    if (c + 1 >= limit) {
      if (fallback_ == -1) {
        while (c + 1 >= limit) c -= 2;
        fallback_ = std::max<std::int64_t>(c, 0);
      }
      c = fallback_;
    }
    const int v = ByteAt(data_.reversed ? c + 1 : c);
    const int u = ByteAt(data_.reversed ? c : c + 1);
    const int luminance = Scaled(std::max(0, ByteAt(std::int64_t{y} * data_.stride + x) - 16), 298);
    return {std::clamp(luminance + Scaled(u - 128, 517), 0, 255),
            std::clamp(luminance - Scaled(v - 128, 208) - Scaled(u - 128, 100), 0, 255),
            std::clamp(luminance + Scaled(v - 128, 409), 0, 255)};
  }
  // value * weight / 256, rounded towards minus infinity.
  static int Scaled(int value, int weight) {
    const int product = value * weight;
    return (product - (product % 256 + 256) % 256) / 256;
  }

  const basic_structures::ConvertData& data_;
  std::int64_t readEnd_ = 0;
  std::int64_t fallback_ = -1;
};

// What Nx_ConvertImageData makes of an image, by the description of its routing.
inline std::optional<TwinImage> TwinOfImage(const unsigned char* bytes, int width, int height,
                                            int stride, basic_structures::ImagePixelFormat format,
                                            basic_structures::ColourChannelUsageType usage) {
  const bool isChannel = usage >= 3 && usage <= 5;
  const bool isYuv = format == 3 || format == 14;
  const bool isByte = format == 2 || format == 13 || format == 15;
  if (isByte && width == stride) return std::nullopt;
  if (format == 6 && width * 3 == stride && !isChannel) return std::nullopt;

  basic_structures::ConvertData data(bytes, width, height, stride, 0, 0, 0, false, false, false,
                                     false, usage);
  data.UpdateByFormat(format);
  ConversionTwin twin(data);
  const bool isGrey = isYuv ? usage == 2 : isChannel || isByte || format <= 1;
  return isGrey ? twin.ToGrey() : twin.ToColour();
}

}  // namespace velmora::testing
