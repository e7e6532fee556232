#include "velmora/geometry/nx_line_segment.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "velmora/foundation/internal/arithmetic.h"
#include "velmora/geometry/internal/direction_angle.h"
#include "velmora/geometry/internal/pixel_walk.h"
#include "velmora/geometry/internal/quad_math.h"

namespace velmora {

using internal::Difference;
using internal::RoundHalfAwayFromZero;
using internal::ToFloat;
using internal::WrapAdd;
using internal::WrapMul;
using internal::WrapSub;

void Nx_LineSegmentEnhanced::SetVertices(const NxPoint_<int>& start, const NxPoint_<int>& end) {
  const NxPoint_<int> newEnd = end;  // which may be the old start
  startPoint_ = start;
  endPoint_ = newEnd;
  Init();
}

void Nx_LineSegmentEnhanced::SetVertices(const NxPoint_<int>* two) {
  SetVertices(two[0], two[1]);
}

void Nx_LineSegmentEnhanced::Init() {
  InitEnhanced(true, true, true);
}

void Nx_LineSegmentEnhanced::InitEnhanced(bool clearLength, bool clearAngle, bool clearEquation) {
  pixelLength_ = 0;
  midPoint_[0] = kNoInt;
  if (clearLength) length_ = -1;
  if (clearAngle) angle_ = kNoInt;
  if (!clearEquation) return;
  a_ = 0;
  c_ = 0;
  b_ = slope_ = intercept_ = norm_ = kNoFloat;
}

std::int64_t Nx_LineSegmentEnhanced::Dx() const {
  return Difference(endPoint_[0], startPoint_[0]);
}

std::int64_t Nx_LineSegmentEnhanced::Dy() const {
  return Difference(endPoint_[1], startPoint_[1]);
}

void Nx_LineSegmentEnhanced::GetVertices(NxPoint_<int>* out) const {
  out[0] = startPoint_;
  out[1] = endPoint_;
}

bool Nx_LineSegmentEnhanced::FindVertex(NxPoint_<int>& out, Nx_LS_Point_Alignment which) const {
  switch (which) {
    case LSPA_START:
      out = startPoint_;
      return true;
    case LSPA_END:
      out = endPoint_;
      return true;
    case LSPA_MIDDLE:
      out = GetMidPoint();
      return true;
  }
  return false;
}

void Nx_LineSegmentEnhanced::GetVertex(NxPoint_<int>& out, Nx_LS_Point_Alignment which) const {
  FindVertex(out, which);
}

bool Nx_LineSegmentEnhanced::IsOutOfBounds(int width, int height) const {
  const auto isOut = [&](const NxPoint_<int>& p) {
    return p[0] < 0 || p[0] >= width || p[1] < 0 || p[1] >= height;
  };
  return isOut(startPoint_) || isOut(endPoint_);
}

const NxPoint_<int>& Nx_LineSegmentEnhanced::CalcMiddlePointCoord() const {
  if (midPoint_[0] == kNoInt) {
    const auto halfway = [](std::int64_t a, std::int32_t b) {
      return static_cast<std::int32_t>((a + b) >> 1);
    };
    midPoint_.Set(halfway(startPoint_[0], endPoint_[0]), halfway(startPoint_[1], endPoint_[1]));
  }
  return midPoint_;
}

float Nx_LineSegmentEnhanced::GetRealLength() const {
  if (length_ < 0) length_ = internal::SegmentLength(startPoint_, endPoint_);
  return length_;
}

int Nx_LineSegmentEnhanced::GetPixelLength() const {
  if (pixelLength_ == 0) {
    pixelLength_ = static_cast<std::int32_t>(std::max(std::abs(Dx()), std::abs(Dy())) + 1);
  }
  return pixelLength_;
}

int Nx_LineSegmentEnhanced::CalcAngle() const {
  if (angle_ == kNoInt) angle_ = internal::DirectionAngle(Dx(), Dy());
  return angle_;
}

Nx_LS_Line_Direction_Status Nx_LineSegmentEnhanced::GetLineDirectionStatus() const {
  return std::abs(Dx()) < std::abs(Dy()) ? LSLDS_STEEP : LSLDS_FLAT;
}

void Nx_LineSegmentEnhanced::CalcEquation() const {
  if (b_ != kNoFloat) return;
  a_ = ToFloat(Dy());
  b_ = ToFloat(-Dx());
  c_ = ToFloat(endPoint_[0]) * ToFloat(startPoint_[1]) -
       ToFloat(startPoint_[0]) * ToFloat(endPoint_[1]);
  if (b_ != 0) {
    const float divisor = std::fabs(b_);
    a_ /= divisor;
    c_ /= divisor;
    b_ = b_ > 0 ? 1.0F : -1.0F;
  } else if (a_ != 0) {
    c_ /= std::fabs(a_);
    a_ = a_ > 0 ? 1.0F : -1.0F;
  }
  norm_ = std::sqrt(a_ * a_ + b_ * b_);
  if (std::fabs(b_) < kLeastDivisor) return;
  slope_ = -a_ / b_;
  intercept_ = -c_ / b_;
}

void Nx_LineSegmentEnhanced::GetLineEquation(float* coefficients) const {
  CalcEquation();
  coefficients[0] = a_;
  coefficients[1] = b_;
  coefficients[2] = c_;
}

bool Nx_LineSegmentEnhanced::GetLineEquation(Nx_Coordinates_Axis axis, float& slope,
                                             float& intercept) const {
  if (axis != CA_X && axis != CA_Y) return false;
  CalcEquation();
  if (axis == CA_Y) {
    slope = slope_;
    intercept = intercept_;
    return slope_ != kNoFloat;
  }
  const bool isValid = std::fabs(a_) >= kLeastDivisor;
  slope = isValid ? -b_ / a_ : kNoFloat;
  intercept = isValid ? -c_ / a_ : kNoFloat;
  return isValid;
}

float Nx_LineSegmentEnhanced::CalcX(int y) const {
  bool isValid = false;
  return CalcX(y, isValid);
}

float Nx_LineSegmentEnhanced::CalcX(int y, bool& isValid) const {
  CalcEquation();
  isValid = std::fabs(a_) >= kLeastDivisor;
  return isValid ? -(b_ * ToFloat(y) + c_) / a_ : kNoFloat;
}

float Nx_LineSegmentEnhanced::CalcY(int x) const {
  bool isValid = false;
  return CalcY(x, isValid);
}

float Nx_LineSegmentEnhanced::CalcY(int x, bool& isValid) const {
  CalcEquation();
  isValid = std::fabs(b_) >= kLeastDivisor;
  return isValid ? -(a_ * ToFloat(x) + c_) / b_ : kNoFloat;
}

float Nx_LineSegmentEnhanced::CalcDistanceToPoint(const NxPoint_<int>& p) const {
  CalcEquation();
  return (a_ * ToFloat(p[0]) + b_ * ToFloat(p[1]) + c_) / norm_;
}

int Nx_LineSegmentEnhanced::CalcPointStatusOnLineEquation(const NxPoint_<int>& p) const {
  CalcEquation();
  const float value = a_ * ToFloat(p[0]) + b_ * ToFloat(p[1]) + c_;
  if (internal::TruncateToInt(value) == 0) return 0;
  return value > 0 ? 1 : -1;
}

int Nx_LineSegmentEnhanced::CalcVectorCrossProductOfTwoLines(const Nx_LineSegment& other) const {
  const auto difference = [](const CLineSegment& segment, int axis) {
    return WrapSub(segment.GetEndPoint()[axis], segment.GetStartPoint()[axis]);
  };
  return WrapSub(WrapMul(difference(other, 1), difference(*this, 0)),
                 WrapMul(difference(other, 0), difference(*this, 1)));
}

void Nx_LineSegmentEnhanced::CalcProjectionPtOfLine(const NxPoint_<int>& p,
                                                    NxPoint_<int>& out) const {
  const float dx = ToFloat(Dx());
  const float dy = ToFloat(Dy());
  const float px = ToFloat(Difference(p[0], startPoint_[0]));
  const float py = ToFloat(Difference(p[1], startPoint_[1]));
  const float squared = dx * dx + dy * dy;
  CalcPointFromRelativeCoord(squared > 0 ? (px * dx + py * dy) / squared : 0, out);
}

float Nx_LineSegmentEnhanced::CalcRelativeCoordFromPoint(const NxPoint_<int>& p) const {
  const int axis = std::abs(Dx()) > std::abs(Dy()) ? 0 : 1;
  return ToFloat(Difference(p[axis], startPoint_[axis])) / ToFloat(axis == 0 ? Dx() : Dy());
}

void Nx_LineSegmentEnhanced::CalcPointFromRelativeCoord(float t, NxPoint_<int>& out) const {
  out.Set(WrapAdd(startPoint_[0], RoundHalfAwayFromZero(ToFloat(Dx()) * t)),
          WrapAdd(startPoint_[1], RoundHalfAwayFromZero(ToFloat(Dy()) * t)));
}

bool Nx_LineSegmentEnhanced::JudgePtIsInLineSeg(const NxPoint_<int>& p, float ratio) const {
  const int angle = CalcAngle() % 180;
  const int axis = angle >= 46 && angle <= 135 ? 1 : 0;
  const std::int64_t margin = RoundHalfAwayFromZero(ToFloat(GetPixelLength()) * ratio);
  const auto [least, most] = std::minmax(startPoint_[axis], endPoint_[axis]);
  return least - margin <= p[axis] && p[axis] <= most + margin;
}

Nx_LS_Point_Position_Relation Nx_LineSegmentEnhanced::CalcPointPositionStatus(
    const NxPoint_<int>& p, int tolerance) const {
  return static_cast<Nx_LS_Point_Position_Relation>(
      internal::SideOfLine(startPoint_, endPoint_, p, tolerance));
}

int Nx_LineSegmentEnhanced::CalcPositionStatusOfInputLine(const Nx_LineSegmentEnhanced& other,
                                                          int tolerance) const {
  int difference = std::abs(CalcAngle() % 180 - other.CalcAngle() % 180);
  if (difference > 90) difference = 180 - difference;
  if (difference < tolerance) return 0;
  return 90 - difference < tolerance ? 1 : -1;
}

int Nx_LineSegmentEnhanced::CalcAngleBetweenLines(const Nx_LineSegmentEnhanced& other,
                                                  Nx_Angle_Domain domain) const {
  std::int32_t between = WrapSub(other.CalcAngle() % 360, CalcAngle());
  if (between < 0) between = WrapAdd(between, 360);
  switch (domain) {
    case AD_360:
      return between;
    case AD_180:
      return between > 180 ? WrapSub(360, between) : between;
    case AD_90:
      if (between <= 90) return between;
      if (between <= 180) return 180 - between;
      return between <= 270 ? between - 180 : WrapSub(360, between);
  }
  return 0;
}

void Nx_LineSegmentEnhanced::Pixelate(std::vector<NxPoint_<int>>& out, Nx_Pixelate_Mode mode,
                                      int step, int maxCount) const {
  const internal::PixelWalk walk(startPoint_, endPoint_);
  const std::int64_t lastStep = walk.GetLastStep();
  out.clear();
  out.reserve(static_cast<std::size_t>(lastStep) + 1);
  if (mode == PXM_CHAIN) {
    walk.ForEachPixel(0, lastStep, true, [&](const NxPoint_<int>& p) { out.push_back(p); });
    return;
  }
  if (mode != PXM_SAMPLED || step < 1) return;
  const auto isFull = [&] {
    return maxCount != -1 && static_cast<std::int64_t>(out.size()) >= maxCount;
  };
  for (std::int64_t i = 0; i <= lastStep && !isFull(); i += step) out.push_back(walk.PixelAt(i));
  if (!isFull() && out.back() != endPoint_) out.push_back(endPoint_);
}

}  // namespace velmora
