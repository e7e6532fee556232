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
    if (data_.width < 1 || data_.height < 1) return std::nullopt;
    TwinImage image;
    image.stride = data_.width * channels;
    image.format = format;
    for (int y = 0; y < data_.height; ++y) {
      for (int x = 0; x < data_.width; ++x) {
        const std::optional<Pixel> pixel = channels == 1 ? GreyAt(x, y) : ColourAt(x, y);
        if (!pixel) return std::nullopt;
        for (int i = 0; i < channels; ++i) {
          image.bytes.push_back(static_cast<unsigned char>((*pixel)[static_cast<std::size_t>(i)]));
        }
      }
    }
    image.readEnd = readEnd_;
    return image;
  }

  int ByteAt(std::int64_t index) {
    readEnd_ = std::max(readEnd_, index + 1);
    return data_.bytes[index];
  }
  int InRow(int y, int index) {
    const int row = data_.bottomUp ? data_.height - 1 - y : y;
    return ByteAt(std::int64_t{row} * data_.stride + index);
  }
  int PaletteAt(int index) const {
    const auto i = static_cast<std::size_t>(index);
    return i < data_.palette.size() ? data_.palette[i] : 0;
  }
  // The index of a 1- or 4-bit pixel.
  int IndexAt(int x, int y) {
    const int bits = data_.bitsPerPixel;
    const int perByte = 8 / bits;
    return InRow(y, x / perByte) >> (bits * (perByte - 1 - x % perByte)) & ((1 << bits) - 1);
  }
  Pixel WordPixel(int x, int y) {
    const int word = InRow(y, 2 * x) + 256 * InRow(y, 2 * x + 1);
    const int red = data_.is565 ? word / 2048 : word / 1024 % 32;
    const int green = data_.is565 ? word / 32 % 64 * 4 : word / 32 % 32 * 8;
    return {word % 32 * 8, green, red * 8};
  }
  // Three channels of a pixel, `step` bytes wide, at multiples of `size` bytes (the high byte of
  // each); the whole pixel counts as read, alpha too.
  Pixel BytePixel(int x, int y, int step, int size, bool redFirst) {
    Pixel pixel{};
    for (int i = 0; i < 3; ++i) {
      pixel[static_cast<std::size_t>(redFirst ? 2 - i : i)] =
          InRow(y, x * step + i * size + size - 1);
    }
    InRow(y, x * step + step - 1);
    return pixel;
  }

  std::optional<Pixel> GreyAt(int x, int y) {
    switch (data_.bitsPerPixel) {
      case 1:
      case 4:
        return Pixel{PaletteAt(IndexAt(x, y))};
      case 8:
        return Pixel{data_.palette.empty() ? InRow(y, x) : PaletteAt(InRow(y, x))};
      case 16:
        return Pixel{GreyOf(WordPixel(x, y))};
      case 24:
      case 32: {
        const int step = data_.bitsPerPixel / 8;
        return Pixel{GreyOf(BytePixel(x, y, step, 1, data_.reversed))};
      }
      default:
        return std::nullopt;
    }
  }
  int GreyOf(const Pixel& pixel) const {
    switch (data_.colourChannelUsage) {
      case basic_structures::CCU_Red:
        return pixel[2];
      case basic_structures::CCU_Green:
        return pixel[1];
      case basic_structures::CCU_Blue:
        return pixel[0];
      default:
        return (pixel[2] * 19562 + pixel[1] * 38550 + pixel[0] * 7424) / 65536;
    }
  }

  std::optional<Pixel> ColourAt(int x, int y) {
    switch (data_.bitsPerPixel) {
      case 1:
        return PaletteColour(IndexAt(x, y));
      case 4: {
        const int grey = IndexAt(x, y) * 15;
        return Pixel{grey, grey, grey};
      }
      case 8: {
        const int value = InRow(y, x);
        return data_.palette.empty() ? Pixel{value, value, value} : PaletteColour(value);
      }
      case 16:
        return WordPixel(x, y);
      case 24:
        return data_.isYuv ? YuvPixel(x, y) : BytePixel(x, y, 3, 1, data_.reversed);
      case 32:
        return BytePixel(x, y, 4, 1, data_.reversed);
      case 48:
        return BytePixel(x, y, 6, 2, false);
      case 64:
        return BytePixel(x, y, 8, 2, !data_.reversed);
      default:
        return std::nullopt;
    }
  }
  Pixel PaletteColour(int index) const {
    return {PaletteAt(3 * index + 2), PaletteAt(3 * index + 1), PaletteAt(3 * index)};
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
    const int first = ByteAt(c);
    const int second = ByteAt(c + 1);
    const int v = data_.reversed ? second : first;
    const int u = data_.reversed ? first : second;
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
  if (width < 1 || height < 1 || stride < 1) return std::nullopt;
  const bool isChannel = usage >= 3 && usage <= 5;
  const bool isYuv = format == 3 || format == 14;
  const bool isByte = format == 2 || format == 13 || format == 15;
  if (isByte && width == stride) return std::nullopt;
  if (format == 6 && width * 3 == stride && !isChannel) return std::nullopt;

  basic_structures::ConvertData data(bytes, width, height, stride, 0, 0, 0, false, false, false,
                                     false, usage);
  data.UpdateByFormat(format);
  ConversionTwin twin(data);
  if (isChannel) return isYuv ? twin.ToColour() : twin.ToGrey();
  if (isYuv) return usage == 2 ? twin.ToGrey() : twin.ToColour();
  return isByte || format == 0 || format == 1 ? twin.ToGrey() : twin.ToColour();
}

}  // namespace velmora::testing
