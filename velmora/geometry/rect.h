/// @file
/// Upright rectangles.
#pragma once

#include <cstdint>

namespace velmora::basic_structures {

/// A rectangle of pixels. All four bounds belong to it: one pixel has top == bottom and
/// left == right.
struct CRect {
  std::int32_t top = 0;  ///< smallest y
  std::int32_t left = 0;
  std::int32_t right = 0;
  std::int32_t bottom = 0;  ///< largest y
  std::int32_t id = -1;     ///< -1 is "none"

  CRect() = default;
  CRect(std::int32_t topY, std::int32_t leftX, std::int32_t rightX, std::int32_t bottomY,
        std::int32_t rectId = -1)
      : top(topY), left(leftX), right(rightX), bottom(bottomY), id(rectId) {}
};

/// A rectangle on a PDF page, in the units of the page.
template <typename T>
struct NxRect_ {
  T left{};
  T top{};
  T right{};
  T bottom{};
};

}  // namespace velmora::basic_structures

namespace velmora {
using basic_structures::NxRect_;
}  // namespace velmora
