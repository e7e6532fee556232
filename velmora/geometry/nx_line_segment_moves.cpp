// What changes an Nx_LineSegmentEnhanced: translations, rotations, scaling, clipping.

#include <cstdint>

#include "velmora/foundation/internal/arithmetic.h"
#include "velmora/geometry/internal/direction_angle.h"
#include "velmora/geometry/internal/line_math.h"
#include "velmora/geometry/internal/trigonometry.h"
#include "velmora/geometry/nx_line_segment.h"

namespace velmora {

using internal::Difference;
using internal::kAnglePi;
using internal::RoundHalfAwayFromZero;
using internal::SinCos;
using internal::ToFloat;
using internal::WrapAdd;
using internal::WrapSub;

namespace {

// The division in float comes first, in some operations: 60 degrees are then a little more.
double RadiansByFloat(int angle) {
  return static_cast<double>(ToFloat(angle) / 180) * kAnglePi;
}

// A number from 0 to 1 along a segment.
struct Fraction {
  double numerator;
  double denominator;  // positive
};

// Exact as long as the products are below 2^53, which holds for coordinates below 2^26.
bool operator<(const Fraction& a, const Fraction& b) {
  return a.numerator * b.denominator < b.numerator * a.denominator;
}

// Narrows [enter, leave], the part of a segment that lies inside, to 0 <= from + t * delta <= most.
// False if nothing is left.
bool ClipAxis(double from, double delta, double most, Fraction& enter, Fraction& leave) {
  if (delta == 0) return from >= 0 && from <= most;
  const Fraction low = delta > 0 ? Fraction{-from, delta} : Fraction{from - most, -delta};
  const Fraction high = delta > 0 ? Fraction{most - from, delta} : Fraction{from, -delta};
  if (enter < low) enter = low;
  if (high < leave) leave = high;
  return !(leave < enter);
}

}  // namespace

Nx_LineSegmentEnhanced::Nx_LineSegmentEnhanced(const NxPoint_<int>& start, int angle, int length)
    : Nx_LineSegment(start, start), length_(ToFloat(length)), angle_(angle) {
  const SinCos direction = internal::CalcSinCos(RadiansByFloat(angle));
  // Narrowed to float before it is rounded: half of an odd length at 30 degrees is a half.
  const auto end = [&](int from, double ratio) {
    return WrapAdd(from, RoundHalfAwayFromZero(ToFloat(ratio * length)));
  };
  endPoint_.Set(end(start[0], direction.cosine), end(start[1], direction.sine));
}

void Nx_LineSegmentEnhanced::SwapVertices() {
  SetVertices(endPoint_, startPoint_);
}

void Nx_LineSegmentEnhanced::Translate(const NxPoint_<int>& offset) {
  for (NxPoint_<int>* p : {&startPoint_, &endPoint_}) {
    p->Set(WrapAdd((*p)[0], offset[0]), WrapAdd((*p)[1], offset[1]));
  }
  InitEnhanced(false, false, true);
}

bool Nx_LineSegmentEnhanced::TranslateBasedOnAngle(int angle, int distance) {
  const SinCos direction = internal::CalcSinCos(RadiansByFloat(angle));
  const NxPoint_<int> offset(internal::TruncateToInt(direction.cosine * distance),
                             internal::TruncateToInt(direction.sine * distance));
  if (offset == NxPoint_<int>(0, 0)) return false;
  Translate(offset);
  return true;
}

// `distance` pixels to the left, across the segment; (0, 0) if it has no length.
NxPoint_<int> Nx_LineSegmentEnhanced::LeftOffset(int distance) const {
  const float length = GetRealLength();
  if (length == 0) return {};
  return {RoundHalfAwayFromZero(ToFloat(distance) * (ToFloat(Dy()) / length)),
          RoundHalfAwayFromZero(ToFloat(distance) * (ToFloat(-Dx()) / length))};
}

bool Nx_LineSegmentEnhanced::CalcOffset(Nx_LS_Translating_Direction direction, int distance,
                                        NxPoint_<int>& out) const {
  if (direction != LSTD_RIGHT && direction != LSTD_LEFT) return false;
  out = LeftOffset(direction == LSTD_LEFT ? distance : WrapSub(0, distance));
  return true;
}

void Nx_LineSegmentEnhanced::TranslateBasedOnDirection(Nx_LS_Translating_Direction direction,
                                                       int distance) {
  NxPoint_<int> offset;
  if (CalcOffset(direction, distance, offset)) Translate(offset);
}

void Nx_LineSegmentEnhanced::CalcTranslatedPoint(const NxPoint_<int>& p,
                                                 Nx_LS_Translating_Direction direction,
                                                 int distance, NxPoint_<int>& out) const {
  NxPoint_<int> offset;
  CalcOffset(direction, distance, offset);
  out.Set(WrapAdd(p[0], offset[0]), WrapAdd(p[1], offset[1]));
}

void Nx_LineSegmentEnhanced::TranslateToPoint(const NxPoint_<int>& p, Nx_LS_Point_Alignment which) {
  NxPoint_<int> from;
  if (FindVertex(from, which)) Translate({WrapSub(p[0], from[0]), WrapSub(p[1], from[1])});
}

void Nx_LineSegmentEnhanced::SetOrigin(const NxPoint_<int>& origin) {
  Translate({WrapSub(0, origin[0]), WrapSub(0, origin[1])});
}

void Nx_LineSegmentEnhanced::Turn(const NxPoint_<int>& centre, double radians) {
  const SinCos turn = internal::CalcSinCos(radians);
  const float c = ToFloat(turn.cosine);
  const float s = ToFloat(turn.sine);
  const NxPoint_<int> around = centre;  // which may be one of the ends
  for (NxPoint_<int>* p : {&startPoint_, &endPoint_}) {
    const float x = ToFloat(Difference((*p)[0], around[0]));
    const float y = ToFloat(Difference((*p)[1], around[1]));
    p->Set(WrapAdd(RoundHalfAwayFromZero(x * c - y * s), around[0]),
           WrapAdd(RoundHalfAwayFromZero(x * s + y * c), around[1]));
  }
  InitEnhanced(false, true, true);
}

void Nx_LineSegmentEnhanced::Rotate(const NxPoint_<int>& centre, int angle) {
  Turn(centre, angle * kAnglePi / 180);
}

void Nx_LineSegmentEnhanced::Rotate(Nx_LS_Point_Alignment pivot, int angle) {
  NxPoint_<int> centre;
  if (FindVertex(centre, pivot)) Rotate(centre, angle);
}

void Nx_LineSegmentEnhanced::RotateBasedOnDistance(Nx_LS_Point_Alignment pivot, int distance) {
  NxPoint_<int> centre;
  if (!FindVertex(centre, pivot) || GetRealLength() == 0) return;
  const double radius = pivot == LSPA_MIDDLE ? length_ / 2 : length_;
  Turn(centre, distance / radius);
}

void Nx_LineSegmentEnhanced::StretchLength(Nx_LS_Point_Alignment pivot, float amount,
                                           Nx_LS_Length_Transform_Mode mode) {
  NxPoint_<int> fixed;
  if (mode != LSLTM_ADD && mode != LSLTM_MULTIPLY) return;
  if (!FindVertex(fixed, pivot) || GetRealLength() == 0) return;
  const double length = length_;
  const double wanted = mode == LSLTM_ADD ? length + amount : length * amount;
  const double factor = wanted > 0 ? wanted / length : 0;
  const auto stretched = [&](const NxPoint_<int>& p, int axis) {
    const auto reach = static_cast<double>(Difference(p[axis], fixed[axis]));
    return RoundHalfAwayFromZero(fixed[axis] + reach * factor);
  };
  SetVertices({stretched(startPoint_, 0), stretched(startPoint_, 1)},
              {stretched(endPoint_, 0), stretched(endPoint_, 1)});
}

void Nx_LineSegmentEnhanced::Scale(float scaleX, float scaleY) {
  const auto scaled = [&](const NxPoint_<int>& p) {
    return NxPoint_<int>(RoundHalfAwayFromZero(ToFloat(p[0]) * scaleX),
                         RoundHalfAwayFromZero(ToFloat(p[1]) * scaleY));
  };
  SetVertices(scaled(startPoint_), scaled(endPoint_));
}

bool Nx_LineSegmentEnhanced::MakeLineInBounds(int width, int height) {
  if (width < 1 || height < 1) return false;
  if (!IsOutOfBounds(width, height)) return true;
  const auto dx = static_cast<double>(Dx());
  const auto dy = static_cast<double>(Dy());
  Fraction enter{0, 1};
  Fraction leave{1, 1};
  if (!ClipAxis(startPoint_[0], dx, width - 1, enter, leave)) return false;
  if (!ClipAxis(startPoint_[1], dy, height - 1, enter, leave)) return false;
  const auto pointAt = [&](const Fraction& t) {
    return NxPoint_<int>(internal::RoundedFraction(startPoint_[0], t.numerator, t.denominator, dx),
                         internal::RoundedFraction(startPoint_[1], t.numerator, t.denominator, dy));
  };
  SetVertices(pointAt(enter), pointAt(leave));
  return true;
}

}  // namespace velmora
