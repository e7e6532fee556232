// Where a YUV semi-planar image has its chroma.
#pragma once

#include <algorithm>
#include <cstdint>

namespace velmora::internal {

// The plane of chroma pairs behind the `stride * height` bytes of luminance: a row of it for two
// rows of pixels, a pair for two columns. All positions are counted in bytes from the first
// luminance byte.
//
// A frame ends at `stride * height * 3 / 2`, rounded down. With an odd height, an odd stride or
// rows wider than the stride, the last pairs lie beyond; all pixels there take the one fallback
// pair.
class ChromaPlane {
 public:
  ChromaPlane(int width, int height, int stride)
      : width_(width),
        height_(height),
        stride_(stride),
        begin_(std::int64_t{stride} * height),
        end_(begin_ + begin_ / 2) {}

  // The pair of columns 0 and 1 of row y.
  std::int64_t RowBegin(int y) const { return begin_ + std::int64_t{y >> 1} * stride_; }

  // How many columns of row y have their pair inside the frame; even unless it is all of them.
  int ColumnsInside(int y) const {
    const std::int64_t room = end_ - RowBegin(y);
    return static_cast<int>(std::clamp<std::int64_t>(room & ~std::int64_t{1}, 0, width_));
  }

  // The pair that stands for all that lie outside, given the first position that does: the last
  // one inside at an even distance from there.
  std::int64_t Fallback(std::int64_t outside) const {
    const std::int64_t steps = (outside + 1 - end_) / 2 + 1;
    return std::max<std::int64_t>(outside - 2 * steps, 0);
  }

  // Just past the last chroma byte that a conversion reads.
  //
  // Three rows decide, however high the image is. Of the rows whose pairs all lie inside, the last
  // reaches furthest. The row after it takes the fallback pair. Rows that have only some pairs
  // inside read up to the end of the frame or to one byte before, in turn if the stride is odd: the
  // first two of them tell.
  std::int64_t ReadEnd() const {
    const std::int64_t rows = (std::int64_t{height_} + 1) / 2;
    const std::int64_t room = end_ - begin_ - width_ - width_ % 2;  // above the last whole row
    const std::int64_t wholeRows = room < 0 ? 0 : std::min(room / stride_ + 1, rows);
    std::int64_t end = 0;
    for (std::int64_t row = std::max<std::int64_t>(wholeRows - 1, 0);
         row < std::min(wholeRows + 2, rows); ++row) {
      const auto y = static_cast<int>(2 * row);
      const int columns = ColumnsInside(y);
      if (columns > 0) end = std::max(end, RowBegin(y) + columns + columns % 2);
      if (row == wholeRows) end = std::max(end, Fallback(RowBegin(y) + columns) + 2);
    }
    return end;
  }

 private:
  std::int32_t width_;
  std::int32_t height_;
  std::int64_t stride_;
  std::int64_t begin_;
  std::int64_t end_;
};

}  // namespace velmora::internal
