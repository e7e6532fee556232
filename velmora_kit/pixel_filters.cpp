#include "velmora_kit/pixel_filters.h"

#include <algorithm>
#include <cstdint>
#include <vector>

namespace velmora::kit {
namespace {

// The sum of a pixel and its two neighbours in a row, the middle one twice. The border goes on.
void SumOfRow(const std::uint8_t* row, int width, std::vector<int>& sums) {
  for (int x = 0; x < width; ++x) {
    sums[static_cast<std::size_t>(x)] =
        row[std::max(x - 1, 0)] + 2 * row[x] + row[std::min(x + 1, width - 1)];
  }
}

}  // namespace

GreyImage CopyOf(const GreyView& source) {
  GreyImage copy(source.width, source.height);
  for (int y = 0; y < source.height; ++y) std::copy_n(source.Row(y), source.width, copy.Row(y));
  return copy;
}

GreyImage Reduce(const GreyView& source, int factor) {
  if (factor == 1) return CopyOf(source);
  GreyImage reduced(source.width / factor, source.height / factor);
  std::vector<std::uint32_t> sums(static_cast<std::size_t>(reduced.width));
  const auto area = static_cast<std::uint32_t>(factor) * static_cast<std::uint32_t>(factor);
  for (int y = 0; y < reduced.height; ++y) {
    std::fill(sums.begin(), sums.end(), 0);
    for (int i = 0; i < factor; ++i) {
      const std::uint8_t* row = source.Row(y * factor + i);
      for (std::uint32_t& sum : sums) {
        for (int k = 0; k < factor; ++k) sum += *row++;
      }
    }
    std::transform(sums.begin(), sums.end(), reduced.Row(y),
                   [&](std::uint32_t sum) { return static_cast<std::uint8_t>(sum / area); });
  }
  return reduced;
}

GreyImage Enlarge(const GreyView& source) {
  GreyImage enlarged(source.width * 2, source.height * 2);
  const auto width = static_cast<std::size_t>(source.width);
  std::vector<int> mixed(width);
  for (int y = 0; y < enlarged.height; ++y) {
    const std::uint8_t* near = source.Row(y / 2);
    const std::uint8_t* far =
        source.Row(std::clamp(y / 2 + (y % 2 == 0 ? -1 : 1), 0, source.height - 1));
    for (std::size_t x = 0; x < width; ++x) mixed[x] = 3 * near[x] + far[x];
    std::uint8_t* to = enlarged.Row(y);
    for (std::size_t x = 0; x < width; ++x) {
      const int before = mixed[x == 0 ? 0 : x - 1];
      const int after = mixed[std::min(x + 1, width - 1)];
      *to++ = static_cast<std::uint8_t>((3 * mixed[x] + before + 8) / 16);
      *to++ = static_cast<std::uint8_t>((3 * mixed[x] + after + 8) / 16);
    }
  }
  return enlarged;
}

GreyImage Sharpen(const GreyView& source) {
  GreyImage sharp(source.width, source.height);
  const auto width = static_cast<std::size_t>(source.width);
  std::vector<int> above(width);
  std::vector<int> here(width);
  std::vector<int> below(width);
  SumOfRow(source.Row(0), source.width, here);
  above = here;
  for (int y = 0; y < source.height; ++y) {
    SumOfRow(source.Row(std::min(y + 1, source.height - 1)), source.width, below);
    const std::uint8_t* row = source.Row(y);
    std::uint8_t* to = sharp.Row(y);
    for (std::size_t x = 0; x < width; ++x) {
      const int blurred = (above[x] + 2 * here[x] + below[x] + 8) / 16;
      to[x] = static_cast<std::uint8_t>(std::clamp(3 * row[x] - 2 * blurred, 0, 255));
    }
    above.swap(here);
    here.swap(below);
  }
  return sharp;
}

GreyImage Invert(const GreyView& source) {
  GreyImage inverted = CopyOf(source);
  for (std::uint8_t& pixel : inverted.pixels) pixel = static_cast<std::uint8_t>(255 - pixel);
  return inverted;
}

}  // namespace velmora::kit
