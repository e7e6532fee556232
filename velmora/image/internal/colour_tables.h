// The arithmetic of colours, in integers, the tables made by the compiler.
#pragma once

#include <array>
#include <cstdint>

namespace velmora::internal {

// The luminance of a colour, times 65536, to be rounded down. The weights add up to 65536.
constexpr std::uint32_t WeightedSum(std::uint32_t red, std::uint32_t green, std::uint32_t blue) {
  return red * 19562U + green * 38550U + blue * 7424U;
}

constexpr unsigned char Luminance(std::uint32_t red, std::uint32_t green, std::uint32_t blue) {
  return static_cast<unsigned char>(WeightedSum(red, green, blue) >> 16);
}

// YUV to RGB with 8 fractional bits, as studio-range video has it: blue = y + ub[U],
// green = y - vg[V] - ug[U], red = y + vr[V], each clamped to a byte.
struct YuvTables {
  using Table = std::array<std::int16_t, 256>;
  Table y, vr, vg, ug, ub;
};

// (offset value * weight) / 256, rounded down. The shift of a negative number is arithmetic on
// every compiler we build with.
constexpr YuvTables MakeYuvTables() {
  static_assert((-1 >> 8) == -1);
  YuvTables tables{};
  for (int i = 0; i < 256; ++i) {
    const auto index = static_cast<std::size_t>(i);
    tables.y[index] = static_cast<std::int16_t>(((i > 16 ? i - 16 : 0) * 298) >> 8);
    tables.vr[index] = static_cast<std::int16_t>(((i - 128) * 409) >> 8);
    tables.vg[index] = static_cast<std::int16_t>(((i - 128) * 208) >> 8);
    tables.ug[index] = static_cast<std::int16_t>(((i - 128) * 100) >> 8);
    tables.ub[index] = static_cast<std::int16_t>(((i - 128) * 517) >> 8);
  }
  return tables;
}

inline constexpr YuvTables kYuv = MakeYuvTables();

}  // namespace velmora::internal
