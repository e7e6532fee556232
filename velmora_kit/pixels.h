/// @file
/// How the modules look at pixels.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace velmora::kit {

/// Borrowed 8-bit grey pixels: 0 is black. Row y starts at `pixels + y * stride`.
struct GreyView {
  const std::uint8_t* pixels = nullptr;
  int width = 0;
  int height = 0;
  std::ptrdiff_t stride = 0;  ///< bytes from row to row

  const std::uint8_t* Row(int y) const { return pixels + y * stride; }
};

/// 8-bit pixels of one's own, rows without padding.
struct GreyImage {
  int width = 0;
  int height = 0;
  std::vector<std::uint8_t> pixels;

  GreyImage() = default;
  GreyImage(int w, int h)
      : width(w), height(h), pixels(static_cast<std::size_t>(w) * static_cast<std::size_t>(h)) {}

  std::uint8_t* Row(int y) { return pixels.data() + static_cast<std::ptrdiff_t>(y) * width; }
  const std::uint8_t* Row(int y) const {
    return pixels.data() + static_cast<std::ptrdiff_t>(y) * width;
  }
  GreyView View() const { return {pixels.data(), width, height, width}; }
};

}  // namespace velmora::kit
