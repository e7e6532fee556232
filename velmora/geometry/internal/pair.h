// Two doubles computed side by side, each exactly as it would be alone: both kinds below have the
// same bits, because every operation of theirs is one of IEEE 754 and rounds by itself.
#pragma once

#include <cmath>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "velmora/geometry/point.h"

namespace velmora::internal {

// For every processor.
class PlainPair {
 public:
  PlainPair(double first, double second) noexcept : first_(first), second_(second) {}
  static PlainPair Both(double value) noexcept { return {value, value}; }
  static PlainPair Coordinates(const NxPoint_<int>& p) noexcept {
    return {static_cast<double>(p[0]), static_cast<double>(p[1])};
  }

  double First() const noexcept { return first_; }
  double Second() const noexcept { return second_; }

  friend PlainPair operator+(PlainPair a, PlainPair b) noexcept {
    return {a.first_ + b.first_, a.second_ + b.second_};
  }
  friend PlainPair operator-(PlainPair a, PlainPair b) noexcept {
    return {a.first_ - b.first_, a.second_ - b.second_};
  }
  friend PlainPair operator*(PlainPair a, PlainPair b) noexcept {
    return {a.first_ * b.first_, a.second_ * b.second_};
  }

  // The sum of a's two in the first place, that of b's in the second.
  static PlainPair Sums(PlainPair a, PlainPair b) noexcept {
    return {a.first_ + a.second_, b.first_ + b.second_};
  }
  // What is below 0 becomes 0.
  PlainPair NotNegative() const noexcept {
    return {first_ > 0 ? first_ : 0, second_ > 0 ? second_ : 0};
  }
  // Of two that are not negative.
  PlainPair Root() const noexcept { return {std::sqrt(first_), std::sqrt(second_)}; }
  // Replaces six numbers, none negative, by their roots, each rounded to double and then to float.
  static void TakeFloatRoots(PlainPair& a, PlainPair& b, PlainPair& c) noexcept {
    for (PlainPair* pair : {&a, &b, &c}) {
      *pair = {FloatRoot(pair->first_), FloatRoot(pair->second_)};
    }
  }
  bool HasZero() const noexcept { return first_ == 0 || second_ == 0; }

 private:
  // Never inlined: g++ 12 leaves out the rounding to float when it computes two side by side.
  [[gnu::noinline]] static double FloatRoot(double value) noexcept {
    return static_cast<double>(static_cast<float>(std::sqrt(value)));
  }

  double first_;
  double second_;
};

#if defined(__SSE2__)
// With the instructions that every processor of both targets has: one root takes the time of two.
class VectorPair {
 public:
  VectorPair(double first, double second) noexcept : both_(_mm_set_pd(second, first)) {}
  static VectorPair Both(double value) noexcept { return _mm_set1_pd(value); }
  static VectorPair Coordinates(const NxPoint_<int>& p) noexcept {
    return _mm_cvtepi32_pd(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p.coordinate)));
  }

  double First() const noexcept { return _mm_cvtsd_f64(both_); }
  double Second() const noexcept { return _mm_cvtsd_f64(_mm_unpackhi_pd(both_, both_)); }

  friend VectorPair operator+(VectorPair a, VectorPair b) noexcept {
    return _mm_add_pd(a.both_, b.both_);
  }
  friend VectorPair operator-(VectorPair a, VectorPair b) noexcept {
    return _mm_sub_pd(a.both_, b.both_);
  }
  friend VectorPair operator*(VectorPair a, VectorPair b) noexcept {
    return _mm_mul_pd(a.both_, b.both_);
  }

  static VectorPair Sums(VectorPair a, VectorPair b) noexcept {
    return _mm_add_pd(_mm_unpacklo_pd(a.both_, b.both_), _mm_unpackhi_pd(a.both_, b.both_));
  }
  VectorPair NotNegative() const noexcept { return _mm_max_pd(both_, _mm_setzero_pd()); }
  VectorPair Root() const noexcept { return _mm_sqrt_pd(both_); }
  static void TakeFloatRoots(VectorPair& a, VectorPair& b, VectorPair& c) noexcept {
    const __m128d largest = _mm_max_pd(_mm_max_pd(a.both_, b.both_), c.both_);
    if (_mm_movemask_pd(_mm_cmplt_pd(largest, _mm_set1_pd(kAllIntegersAreFloats))) == 3) {
      // Whole numbers that a float holds: its own root, which takes half of the time, rounds once,
      // and a double has so many more digits that rounding twice makes no difference.
      const __m128 ab = _mm_sqrt_ps(_mm_movelh_ps(_mm_cvtpd_ps(a.both_), _mm_cvtpd_ps(b.both_)));
      c = _mm_cvtps_pd(_mm_sqrt_ps(_mm_cvtpd_ps(c.both_)));
      a = _mm_cvtps_pd(ab);
      b = _mm_cvtps_pd(_mm_movehl_ps(ab, ab));
      return;
    }
    for (VectorPair* pair : {&a, &b, &c}) *pair = _mm_cvtps_pd(_mm_cvtpd_ps(pair->Root().both_));
  }
  bool HasZero() const noexcept {
    return _mm_movemask_pd(_mm_cmpeq_pd(both_, _mm_setzero_pd())) != 0;
  }

 private:
  static constexpr double kAllIntegersAreFloats = 16777216;  // up to this one

  VectorPair(__m128d both) noexcept : both_(both) {}  // NOLINT(google-explicit-constructor)

  __m128d both_;
};

using Pair = VectorPair;
#else
using Pair = PlainPair;
#endif

}  // namespace velmora::internal
