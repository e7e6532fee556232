// The walk along a segment, pixel by pixel of its longer axis.
#pragma once

#include <cmath>
#include <cstdint>

#include "velmora/foundation/internal/arithmetic.h"
#include "velmora/geometry/internal/line_math.h"
#include "velmora/geometry/point.h"

namespace velmora::internal {

class PixelWalk {
 public:
  PixelWalk(const NxPoint_<int>& start, const NxPoint_<int>& end) noexcept : start_(start) {
    const std::int64_t dx = Difference(end[0], start[0]);
    const std::int64_t dy = Difference(end[1], start[1]);
    major_ = std::abs(dx) < std::abs(dy) ? 1 : 0;
    const std::int64_t dMajor = major_ == 0 ? dx : dy;
    const std::int64_t dMinor = major_ == 0 ? dy : dx;
    lastStep_ = std::abs(dMajor);
    sign_ = dMajor < 0 ? -1 : 1;
    if (lastStep_ > 0) slope_ = static_cast<float>(dMinor) / static_cast<float>(dMajor);
  }

  // Steps run from 0 at the start to this at the end.
  std::int64_t GetLastStep() const noexcept { return lastStep_; }
  // The axis that is walked: 0 is x, 1 is y.
  int GetAxis() const noexcept { return major_; }
  // The step at which the walked axis has this coordinate.
  std::int64_t StepAt(std::int32_t coordinate) const noexcept {
    return sign_ * Difference(coordinate, start_[major_]);
  }

  NxPoint_<int> PixelAt(std::int64_t step) const noexcept { return Pixel(step, Minor(step)); }

  // Calls visit(pixel) for the steps from first to last; with `isChain` also for the pixels that
  // avoid the diagonal steps, the one before `first` included.
  template <typename Visit>
  void ForEachPixel(std::int64_t first, std::int64_t last, bool isChain, Visit visit) const {
    std::int32_t before = Minor(first > 0 ? first - 1 : 0);
    for (std::int64_t step = first; step <= last; ++step) {
      const std::int32_t minor = Minor(step);
      if (isChain && minor != before) visit(BridgingPixel(step, before, minor));
      visit(Pixel(step, minor));
      before = minor;
    }
  }

 private:
  NxPoint_<int> Pixel(std::int64_t step, std::int32_t minor) const noexcept {
    const auto major = static_cast<std::int32_t>(start_[major_] + sign_ * step);
    return major_ == 0 ? NxPoint_<int>(major, minor) : NxPoint_<int>(minor, major);
  }

  // In float, then a half in double, then truncated: which pixels a segment has depends on it.
  std::int32_t Minor(std::int64_t step) const noexcept {
    const std::int32_t start = start_[1 - major_];
    if (lastStep_ == 0) return start;
    const float exact = static_cast<float>(sign_ * step) * slope_ + ToFloat(start);
    return TruncateToInt(static_cast<double>(exact) + 0.5);
  }

  // Between step - 1 and `step`, where the minor coordinate changes: still beside the former if
  // the line has crossed over by halfway, else beside the latter.
  NxPoint_<int> BridgingPixel(std::int64_t step, std::int32_t before,
                              std::int32_t after) const noexcept {
    const double halfway = (static_cast<double>(step) - 0.5) * sign_ * static_cast<double>(slope_) +
                           start_[1 - major_];
    const double middle = (static_cast<double>(before) + after) / 2;
    const bool hasCrossed = after > before ? halfway > middle : halfway < middle;
    return hasCrossed ? Pixel(step - 1, after) : Pixel(step, before);
  }

  NxPoint_<int> start_;
  int major_ = 0;
  int sign_ = 1;
  std::int64_t lastStep_ = 0;
  float slope_ = 0;
};

}  // namespace velmora::internal
