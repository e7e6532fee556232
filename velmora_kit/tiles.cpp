#include "velmora_kit/tiles.h"

#include <algorithm>
#include <cmath>

namespace velmora::kit {
namespace {

std::int64_t PixelsOf(const Window& window) {
  return std::int64_t{window.width} * window.height;
}

// How many tiles cover a side of this length.
int CountFor(int length, int tile) {
  if (length <= tile) return 1;
  const int step = tile * 3 / 4;
  return (length - tile + step - 1) / step + 1;
}

}  // namespace

int ReductionOf(const Window& window, std::int64_t mostPixels) {
  int factor = 1;
  while (PixelsOf(window) / factor / factor > mostPixels) ++factor;
  return factor;
}

std::vector<Window> TilesOf(const Window& window) {
  if (PixelsOf(window) <= kMostPixelsAtOnce) return {window};
  // Squares, unless the window is narrower than one.
  const auto side = static_cast<int>(std::sqrt(static_cast<double>(kMostPixelsAtOnce)));
  const int width =
      std::min(window.width, std::max(side, static_cast<int>(kMostPixelsAtOnce / window.height)));
  const int height = std::min(window.height, static_cast<int>(kMostPixelsAtOnce / width));
  const int columns = CountFor(window.width, width);
  const int rows = CountFor(window.height, height);
  std::vector<Window> tiles;
  for (int row = 0; row < rows; ++row) {
    for (int column = 0; column < columns; ++column) {
      const int left =
          columns == 1
              ? 0
              : static_cast<int>(std::int64_t{window.width - width} * column / (columns - 1));
      const int top =
          rows == 1 ? 0 : static_cast<int>(std::int64_t{window.height - height} * row / (rows - 1));
      tiles.push_back({window.left + left, window.top + top, width, height});
    }
  }
  return tiles;
}

}  // namespace velmora::kit
