/// @file
/// A closed outline that may own its points.
#pragma once

#include <cstdint>

#include "velmora/geometry/point.h"
#include "velmora/platform/export.h"

namespace velmora::basic_structures {

/// The points of an outline, in image pixels.
///
/// Who frees the points is told by the releaser: the contour calls it once, when it lets go of
/// them. Without one the points are borrowed and must outlive the contour. A copy always owns its
/// points; a move hands over points and releaser.
class VELMORA_EXPORT CContour {
 public:
  /// Frees an array of points; must not throw.
  using PointsReleaser = void (*)(const NxPoint_<int>* points);

  CContour() = default;
  /// @throws std::bad_alloc
  CContour(const CContour& other);
  CContour(CContour&& other) noexcept;
  ~CContour();
  /// Lets go of the own points; a source with fewer than 1 point leaves this contour empty.
  /// @throws std::bad_alloc; the contour is unchanged then
  CContour& operator=(const CContour& other);
  CContour& operator=(CContour&& other) noexcept;

  /// Lets go of the current points and takes over @p points as they are, without copying.
  /// @param points   @p count points, or null
  /// @param releaser called with @p points when the contour lets go of them; null lends them
  void SetPoints(std::int32_t count, const NxPoint_<int>* points, PointsReleaser releaser);

  std::int32_t GetPointsCount() const { return pointsCount_; }
  const NxPoint_<int>* GetPoints() const { return points_; }  ///< null if there are none

 private:
  void Release();

  std::int32_t pointsCount_ = 0;
  const NxPoint_<int>* points_ = nullptr;
  PointsReleaser releaser_ = nullptr;
};

}  // namespace velmora::basic_structures
