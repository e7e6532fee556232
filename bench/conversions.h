// The conversions that are measured: every source layout to every target it has.
#pragma once

#include <cstddef>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "velmora/image/pixel_conversion.h"

namespace velmora::bench {

using Byte = unsigned char;

// A source with rows of 16 more pixels than are used, so that no conversion is one long row.
struct Frame {
  Frame(int frameWidth, int frameHeight, int bits)
      : width(frameWidth),
        height(frameHeight),
        stride((width + 16) * bits / 8),
        source(static_cast<std::size_t>(stride) * static_cast<std::size_t>(height + 1) * 3 / 2) {
    std::mt19937 random(1);
    for (Byte& byte : source) byte = static_cast<Byte>(random() >> 24);
  }

  int width, height, stride;
  std::vector<Byte> source;
};

enum Flag { kNone = 0, k565 = 1, kReversed = 2, kYuv = 4, kPalette = 8 };

struct Conversion {
  std::string name;
  int bits, flags, channels;  // of the source, the source, the target
  int usage;

  bool Has(Flag flag) const { return (flags & flag) != 0; }
  // Bits per pixel of the plane at the start of the source.
  int Depth() const { return Has(kYuv) ? 8 : bits; }

  basic_structures::ConvertData Describe(const Frame& frame) const {
    basic_structures::ConvertData data(
        frame.source.data(), frame.width, frame.height, frame.stride, bits, 0, 0, false, Has(k565),
        Has(kReversed), Has(kYuv), static_cast<basic_structures::ColourChannelUsageType>(usage));
    if (Has(kPalette)) {
      for (int i = 0; i < 768; ++i) data.palette.push_back(static_cast<Byte>(i * 7));
    }
    return data;
  }

  std::unique_ptr<basic_structures::CImageData> Run(basic_structures::ConvertData& data) const {
    return std::unique_ptr<basic_structures::CImageData>(
        channels == 1 ? Nx_ConvertToGrayscale(&data) : Nx_ConvertToRGB(&data));
  }
};

inline std::vector<Conversion> Conversions() {
  std::vector<Conversion> conversions = {
      {"bit -> grey", 1, kPalette, 1, 0},
      {"nibble -> grey", 4, kPalette, 1, 0},
      {"byte -> grey", 8, kNone, 1, 0},
      {"indexed -> grey", 8, kPalette, 1, 0},
      {"565 -> grey", 16, k565, 1, 0},
      {"555 -> grey", 16, kNone, 1, 0},
      {"BGR -> grey", 24, kNone, 1, 0},
      {"RGB -> grey", 24, kReversed, 1, 0},
      {"BGRA -> grey", 32, kNone, 1, 0},
      {"RGBA -> grey", 32, kReversed, 1, 0},
      {"bit -> colour", 1, kPalette, 3, 0},
      {"nibble -> colour", 4, kNone, 3, 0},
      {"byte -> colour", 8, kNone, 3, 0},
      {"indexed -> colour", 8, kPalette, 3, 0},
      {"565 -> colour", 16, k565, 3, 0},
      {"555 -> colour", 16, kNone, 3, 0},
      {"BGR -> colour", 24, kNone, 3, 0},
      {"RGB -> colour", 24, kReversed, 3, 0},
      {"BGRA -> colour", 32, kNone, 3, 0},
      {"RGBA -> colour", 32, kReversed, 3, 0},
      {"BGR 48 -> colour", 48, kNone, 3, 0},
      {"RGBA 64 -> colour", 64, kNone, 3, 0},
      {"BGRA 64 -> colour", 64, kReversed, 3, 0},
      {"NV21 -> colour", 24, kYuv, 3, 0},
      {"NV12 -> colour", 24, kYuv | kReversed, 3, 0},
  };
  const Conversion colours[] = {{"565", 16, k565, 1, 0},   {"555", 16, kNone, 1, 0},
                                {"BGR", 24, kNone, 1, 0},  {"RGB", 24, kReversed, 1, 0},
                                {"BGRA", 32, kNone, 1, 0}, {"RGBA", 32, kReversed, 1, 0}};
  for (const Conversion& layout : colours) {
    for (const auto& [channel, usage] : {std::pair{"red", basic_structures::CCU_Red},
                                         std::pair{"green", basic_structures::CCU_Green},
                                         std::pair{"blue", basic_structures::CCU_Blue}}) {
      conversions.push_back(layout);
      conversions.back().name += std::string(" -> ") + channel;
      conversions.back().usage = usage;
    }
  }
  return conversions;
}

}  // namespace velmora::bench
