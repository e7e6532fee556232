// Sines, cosines and arc tangents made of +, -, * and / alone.
//
// The C libraries of the two targets differ in the last bit of about one sine in a thousand and
// more often in other functions. Rounding to an int hides that until a result lies right at the
// border, and a barcode is then a pixel off on one target. IEEE 754 fixes the four operations to
// the bit, so what is made of them alone is the same everywhere.
#pragma once

#include <cstdint>

namespace velmora::internal {

struct SinCos {
  double sine;
  double cosine;
};

namespace trigonometry {

// Taylor series on [-pi/4, pi/4] for x + error, `error` being what x lost when it was rounded. The
// first term left out is below 2^-60 of the result.
constexpr double Sine(double x, double error) noexcept {
  constexpr double kTerms[] = {
      -1.0 / 6,        1.0 / 120,        -1.0 / 5040,          1.0 / 362880,
      -1.0 / 39916800, 1.0 / 6227020800, -1.0 / 1307674368000, 1.0 / 355687428096000};
  const double square = x * x;
  double sum = 0;
  for (int i = 7; i >= 0; --i) sum = sum * square + kTerms[i];
  return x + (x * square * sum + error * (1 - square / 2));
}

constexpr double Cosine(double x, double error) noexcept {
  constexpr double kTerms[] = {
      1.0 / 24,        -1.0 / 720,         1.0 / 40320,          -1.0 / 3628800,
      1.0 / 479001600, -1.0 / 87178291200, 1.0 / 20922789888000, -1.0 / 6402373705728000};
  const double square = x * x;
  double sum = 0;
  for (int i = 7; i >= 0; --i) sum = sum * square + kTerms[i];
  const double head = 1 - square / 2;
  const double lost = (1 - head) - square / 2;  // by the rounding of `head`
  return head + (lost + (square * square * sum - x * error));
}

// Taylor series on [-1/16, 1/16], without the leading x.
constexpr double ArcTangentTail(double x) noexcept {
  constexpr double kTerms[] = {-1.0 / 3, 1.0 / 5, -1.0 / 7, 1.0 / 9, -1.0 / 11, 1.0 / 13};
  const double square = x * x;
  double sum = 0;
  for (int i = 5; i >= 0; --i) sum = sum * square + kTerms[i];
  return x * square * sum;
}

}  // namespace trigonometry

// For |radians| < 2^32. Both results are within 1 unit in the last place wherever the magnitude of
// the argument is below 10 (whole degrees up to 540 are).
constexpr SinCos CalcSinCos(double radians) noexcept {
  // pi/2 in parts of 20, 20 and 53 bits, so that the first two products are exact.
  constexpr double kHalfPi[] = {0x1.921fap+0, 0x1.54442p-20, 0x1.a308d313198a3p-41};
  const double quarters = radians * 0.6366197723675814;  // 2 / pi
  const auto quadrant = static_cast<std::int64_t>(quarters < 0 ? quarters - 0.5 : quarters + 0.5);
  const auto n = static_cast<double>(quadrant);
  const double rest = (radians - n * kHalfPi[0]) - n * kHalfPi[1];
  const double x = rest - n * kHalfPi[2];
  const double error = (rest - x) - n * kHalfPi[2];
  const double sine = trigonometry::Sine(x, error);
  const double cosine = trigonometry::Cosine(x, error);
  switch (quadrant & 3) {
    case 0:
      return {sine, cosine};
    case 1:
      return {cosine, -sine};
    case 2:
      return {-sine, -cosine};
    default:
      return {-cosine, sine};
  }
}

// The direction of (x, y), -pi to pi, for integers of at most 33 bits; (0, 0) gives 0. Within 2
// units in the last place.
constexpr double CalcArcTangent(double y, double x) noexcept {
  // atan(k / 8), and what its rounding to double lost.
  constexpr double kAngle[] = {0x0p+0,
                               0x1.fd5ba9aac2f6ep-4,
                               0x1.f5b75f92c80ddp-3,
                               0x1.6f61941e4def1p-2,
                               0x1.dac670561bb4fp-2,
                               0x1.1e00babdefeb4p-1,
                               0x1.4978fa3269ee1p-1,
                               0x1.700a7c5784634p-1,
                               0x1.921fb54442d18p-1};
  constexpr double kLost[] = {0,
                              -3.1253241424539383e-18,
                              1.0698755618734451e-17,
                              -2.4623815582638635e-17,
                              2.2698777452961687e-17,
                              -5.4556305485916264e-18,
                              1.5834785051444286e-17,
                              -2.1478388444456983e-17,
                              3.061616997868383e-17};
  constexpr double kPi = 3.141592653589793;
  constexpr double kPiLost = 1.2246467991473532e-16;
  const double width = x < 0 ? -x : x;
  const double height = y < 0 ? -y : y;
  const bool isSteep = height > width;
  const double longer = isSteep ? height : width;
  const double shorter = isSteep ? width : height;
  if (longer == 0) return 0;
  // atan(s) - atan(k/8) = atan((8s - k) / (8 + ks)); over the integers both sides are exact.
  const int k = static_cast<int>(16 * shorter / longer + 1) / 2;  // the nearest
  const double u = (8 * shorter - k * longer) / (8 * longer + k * shorter);
  const double tail = trigonometry::ArcTangentTail(u) + kLost[k];
  double angle = kAngle[k] + (u + tail);
  if (isSteep) angle = kPi / 2 - (angle - kPiLost / 2);
  if (x < 0) angle = kPi - (angle - kPiLost);
  return y < 0 ? -angle : angle;
}

}  // namespace velmora::internal
