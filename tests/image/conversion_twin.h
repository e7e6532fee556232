// The conversions once more, pixel by pixel and slowly, as their description reads: what the
// library's row routines are compared with. Notes how far it reads.
#pragma once

#include "tests/support/test.h"

namespace velmora::testing {

// Of each pixel format, in the order of their numbers; of YUV the luminance alone.
constexpr int kBitsPerPixel[] = {1, 1, 8, 8, 16, 16, 24, 32, 48, 64, 32, 64, 24, 8, 8, 8};
constexpr int kFormatCount = 16;
constexpr int kUsageCount = 6;

using namespace basic_structures;

// Width, height, stride, format and bytes; nothing where the conversion refuses.
using Converted =
    std::optional<std::tuple<int, int, int, ImagePixelFormat, std::vector<unsigned char>>>;

class ConversionTwin {
 public:
  explicit ConversionTwin(const ConvertData& data) : data_(data) {}

  // Sizes are small: no product wraps here.
  Converted ToGrey() { return Convert(1, data_.bitsPerPixel == 1 ? PXF_Binary8 : PXF_Grayscale8); }
  Converted ToColour() { return Convert(3, PXF_Colour888); }

  // Just behind the last byte that was read.
  std::int64_t ReadEnd() const { return readEnd_; }

 private:
  using Pixel = std::array<int, 3>;  // B, G, R; grey uses the first alone

  Converted Convert(int channels, ImagePixelFormat format) {
    std::vector<unsigned char> bytes;
    for (int y = 0; y < data_.height; ++y) {
      for (int x = 0; x < data_.width; ++x) {
        const std::optional<Pixel> pixel = PixelAt(x, y, channels == 1);
        if (!pixel) return std::nullopt;
        bytes.insert(bytes.end(), pixel->begin(), pixel->begin() + channels);
      }
    }
    return std::tuple(data_.width, data_.height, data_.width * channels, format, bytes);
  }

  std::optional<Pixel> PixelAt(int x, int y, bool toGrey) {
    const int bits = data_.bitsPerPixel;
    if (bits == 1 || bits == 4 || bits == 8) {
      return toGrey ? IndexToGrey(IndexAt(x, y)) : IndexToColour(IndexAt(x, y));
    }
    if (bits == 24 && data_.isYuv && !toGrey) return YuvPixel(x, y);
    if (bits == 16 || bits == 24 || bits == 32) {
      return toGrey ? GreyOf(WordPixel(x, y)) : WordPixel(x, y);
    }
    if ((bits == 48 || bits == 64) && !toGrey) return WordPixel(x, y);
    return std::nullopt;
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
    const bool isChannel = usage >= CCU_Red && usage <= CCU_Blue;
    if (isChannel) return {pixel[static_cast<std::size_t>(CCU_Blue - usage)]};
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

  const ConvertData& data_;
  std::int64_t readEnd_ = 0;
  std::int64_t fallback_ = -1;
};

// What Nx_ConvertImageData makes of an image, by the description of its routing.
// An image without a conversion needs as many bytes as its rows have.
inline Converted TwinOfImage(const unsigned char* bytes, int width, int height, int stride,
                             ImagePixelFormat format, ColourChannelUsageType usage,
                             std::int64_t& needed) {
  const bool isChannel = usage >= 3 && usage <= 5;
  const bool isYuv = format == 3 || format == 14;
  const bool isByte = format == 2 || format == 13 || format == 15;
  needed = std::int64_t{stride} * height;
  if (isByte && width == stride) return std::nullopt;
  if (format == 6 && width * 3 == stride && !isChannel) return std::nullopt;

  ConvertData data(bytes, width, height, stride, 0, 0, 0, false, false, false, false, usage);
  data.UpdateByFormat(format);
  ConversionTwin twin(data);
  const bool isGrey = isYuv ? usage == 2 : isChannel || isByte || format <= 1;
  Converted image = isGrey ? twin.ToGrey() : twin.ToColour();
  if (image) needed = twin.ReadEnd();
  return image;
}

}  // namespace velmora::testing
