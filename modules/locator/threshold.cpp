#include "modules/locator/threshold.h"

#include <algorithm>
#include <cstdint>
#include <vector>

namespace velmora::modules {

using namespace kit;

namespace {

// Sums of the columns over the rows of the window. They move down with the window: one row enters,
// one leaves.
class ColumnSums {
 public:
  ColumnSums(const GreyView& grey, int radius)
      : grey_(grey), radius_(radius), sums_(static_cast<std::size_t>(grey.width)) {
    for (int y = 0; y < std::min(radius, grey.height); ++y) Enter(y);
  }

  // Centres the window on row y; to be called for y = 0, 1, 2...
  void MoveTo(int y) {
    if (y + radius_ < grey_.height) Enter(y + radius_);
    if (y - radius_ - 1 >= 0) Leave(y - radius_ - 1);
  }

  std::uint32_t operator[](int x) const { return sums_[static_cast<std::size_t>(x)]; }
  std::uint32_t RowCount() const { return rowCount_; }

 private:
  void Enter(int y) {
    const std::uint8_t* row = grey_.Row(y);
    for (std::size_t x = 0; x < sums_.size(); ++x) sums_[x] += row[x];
    ++rowCount_;
  }
  void Leave(int y) {
    const std::uint8_t* row = grey_.Row(y);
    for (std::size_t x = 0; x < sums_.size(); ++x) sums_[x] -= row[x];
    --rowCount_;
  }

  GreyView grey_;
  int radius_;
  std::vector<std::uint32_t> sums_;
  std::uint32_t rowCount_ = 0;
};

void ThresholdRow(const std::uint8_t* grey, int width, int radius, int offset,
                  const ColumnSums& columns, std::uint8_t* dark) {
  std::uint32_t sum = 0;
  std::uint32_t columnCount = 0;
  for (int x = 0; x < std::min(radius, width); ++x, ++columnCount) sum += columns[x];
  for (int x = 0; x < width; ++x) {
    if (x + radius < width) sum += columns[x + radius], ++columnCount;
    if (x - radius - 1 >= 0) sum -= columns[x - radius - 1], --columnCount;
    // grey + offset < sum / count, without the division
    const std::uint64_t count = std::uint64_t{columnCount} * columns.RowCount();
    dark[x] = (grey[x] + static_cast<std::uint64_t>(offset)) * count < sum ? 1 : 0;
  }
}

}  // namespace

GreyImage AdaptiveThreshold(const GreyView& grey, int radius, int offset) {
  GreyImage dark(grey.width, grey.height);
  ColumnSums columns(grey, radius);
  for (int y = 0; y < grey.height; ++y) {
    columns.MoveTo(y);
    ThresholdRow(grey.Row(y), grey.width, radius, offset, columns, dark.Row(y));
  }
  return dark;
}

}  // namespace velmora::modules
