#include "velmora/geometry/contour.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace velmora::basic_structures {
namespace {

// The releaser of copied points: they were allocated here and must be freed here.
void DeletePoints(const NxPoint_<int>* points) {
  delete[] points;
}

}  // namespace

CContour::CContour(const CContour& other) {
  *this = other;
}

CContour::CContour(CContour&& other) noexcept
    : pointsCount_(std::exchange(other.pointsCount_, 0)),
      points_(std::exchange(other.points_, nullptr)),
      releaser_(std::exchange(other.releaser_, nullptr)) {}

CContour::~CContour() {
  Release();
}

CContour& CContour::operator=(const CContour& other) {
  if (this == &other) return *this;
  if (other.pointsCount_ < 1 || other.points_ == nullptr) {
    SetPoints(0, nullptr, nullptr);
    return *this;
  }
  auto* copy = new NxPoint_<int>[static_cast<std::size_t>(other.pointsCount_)];
  std::copy_n(other.points_, other.pointsCount_, copy);
  SetPoints(other.pointsCount_, copy, DeletePoints);
  return *this;
}

CContour& CContour::operator=(CContour&& other) noexcept {
  if (this == &other) return *this;
  Release();
  pointsCount_ = std::exchange(other.pointsCount_, 0);
  points_ = std::exchange(other.points_, nullptr);
  releaser_ = std::exchange(other.releaser_, nullptr);
  return *this;
}

void CContour::SetPoints(std::int32_t count, const NxPoint_<int>* points, PointsReleaser releaser) {
  Release();
  pointsCount_ = count;
  points_ = points;
  releaser_ = releaser;
}

void CContour::Release() {
  if (releaser_ != nullptr) releaser_(points_);
}

}  // namespace velmora::basic_structures
