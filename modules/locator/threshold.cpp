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

// Sums of the columns left of each column: any window's sum is a difference of two, so that the
// pixels of a row do not wait for each other.
void SumUp(const ColumnSums& columns, std::vector<std::uint32_t>& sumsBefore) {
  std::uint32_t sum = 0;
  for (std::size_t x = 0; x + 1 < sumsBefore.size(); ++x) {
    sumsBefore[x] = sum;
    sum += columns[static_cast<int>(x)];
  }
  sumsBefore.back() = sum;
}

// grey + offset < sum / count, without the division. Nothing overflows: a window has at most 2001 *
// 2001 pixels, and the left factor is below 512.
void ThresholdRow(const std::uint8_t* grey, int width, int radius, std::uint32_t offset,
                  std::uint32_t rowCount, const std::uint32_t* sumsBefore, std::uint8_t* dark) {
  const auto atBorder = [&](int x) {
    const int begin = std::max(0, x - radius);
    const int end = std::min(width, x + radius + 1);
    const std::uint32_t count = static_cast<std::uint32_t>(end - begin) * rowCount;
    dark[x] = (grey[x] + offset) * count < sumsBefore[end] - sumsBefore[begin] ? 1 : 0;
  };
  const int inside = std::min(radius, width);
  const int insideEnd = std::max(inside, width - radius);
  const std::uint32_t count = static_cast<std::uint32_t>(2 * radius + 1) * rowCount;
  for (int x = 0; x < inside; ++x) atBorder(x);
  for (int x = inside; x < insideEnd; ++x) {
    dark[x] = (grey[x] + offset) * count < sumsBefore[x + radius + 1] - sumsBefore[x - radius];
  }
  for (int x = insideEnd; x < width; ++x) atBorder(x);
}

}  // namespace

GreyImage AdaptiveThreshold(const GreyView& grey, int radius, int offset) {
  GreyImage dark(grey.width, grey.height);
  ColumnSums columns(grey, radius);
  std::vector<std::uint32_t> sumsBefore(static_cast<std::size_t>(grey.width) + 1);
  for (int y = 0; y < grey.height; ++y) {
    columns.MoveTo(y);
    SumUp(columns, sumsBefore);
    ThresholdRow(grey.Row(y), grey.width, radius, static_cast<std::uint32_t>(offset),
                 columns.RowCount(), sumsBefore.data(), dark.Row(y));
  }
  return dark;
}

}  // namespace velmora::modules
