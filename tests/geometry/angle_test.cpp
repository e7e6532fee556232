// Directions and rotations against the C library of the target: after rounding, the same.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "tests/geometry/quad_inputs.h"
#include "velmora/geometry/internal/trigonometry.h"
#include "velmora/geometry/math_utils.h"
#include "velmora/geometry/nx_line_segment.h"

namespace velmora {
namespace {

using testing::Point;
using testing::Random;

constexpr double kPi = 3.141592653;  // as the angles of the library know it

int AngleByLibrary(int dx, int dy) {
  const int angle = MathUtils::round(static_cast<float>(std::atan2(dy, dx) / kPi * 180));
  return angle < 0 ? angle + 360 : angle;
}

int Angle(int dx, int dy) {
  return Nx_LineSegmentEnhanced({1000, -70}, {1000 + dx, -70 + dy}).GetAngle(AD_360);
}

TEST(Angles, AreThoseOfTheFormula) {
  // The table of short segments, its border and what lies around it.
  for (int dy = -150; dy <= 150; ++dy) {
    for (int dx = -150; dx <= 150; ++dx)
      ASSERT_EQ(Angle(dx, dy), AngleByLibrary(dx, dy)) << dx << ' ' << dy;
  }
  Random random(1);
  for (int i = 0; i < 200'000; ++i) {
    const Point d = random.PointIn(-200'000, 200'000);
    ASSERT_EQ(Angle(d[0], d[1]), AngleByLibrary(d[0], d[1])) << d[0] << ' ' << d[1];
  }
}

TEST(Angles, SeriesAreWithinABitOfTheLibrary) {
  Random random(2);
  for (int i = 0; i < 200'000; ++i) {
    const double radians = random.Between(-1'000'000, 1'000'000) / (i % 2 == 0 ? 1e5 : 1.0);
    // Many turns away from 0 it is the 32-bit target's library that loses digits.
    const double tolerance = std::fabs(radians) <= 10 ? 2.3e-16 : 2e-14;
    const internal::SinCos got = internal::CalcSinCos(radians);
    ASSERT_NEAR(got.sine, std::sin(radians), tolerance) << radians;
    ASSERT_NEAR(got.cosine, std::cos(radians), tolerance) << radians;
    const int x = random.Extreme();
    const int y = random.Extreme();
    ASSERT_NEAR(internal::CalcArcTangent(y, x), std::atan2(y, x), 9e-16) << x << ' ' << y;
  }
}

// All whole degrees of several turns, distances and coordinates up to 100,000.
TEST(Rotations, AreThoseOfTheFormulaForEveryDegree) {
  Random random(3);
  for (int angle = -720; angle <= 720; ++angle) {
    const double byFloat = static_cast<double>(static_cast<float>(angle) / 180) * kPi;
    const double byDouble = angle * kPi / 180;
    const auto c = static_cast<float>(std::cos(byDouble));
    const auto s = static_cast<float>(std::sin(byDouble));
    for (int i = 0; i < 60; ++i) {
      SCOPED_TRACE(angle);
      const int distance = i < 20 ? i : random.Between(-100'000, 100'000);
      const Point start = random.PointIn(-100'000, 100'000);
      const Point end = random.PointIn(-100'000, 100'000);
      const Nx_LineSegmentEnhanced made(start, angle, distance);
      ASSERT_EQ(
          made.GetEndPoint(),
          Point(start[0] + MathUtils::round(static_cast<float>(std::cos(byFloat) * distance)),
                start[1] + MathUtils::round(static_cast<float>(std::sin(byFloat) * distance))))
          << distance;

      ASSERT_EQ(made.CalcAngle(), angle) << "as it was given";

      Nx_LineSegmentEnhanced moved(start, end);
      const bool hasMoved = moved.TranslateBasedOnAngle(angle, distance);
      ASSERT_EQ(hasMoved, moved.GetEndPoint() != end) << distance;
      ASSERT_EQ(moved.GetEndPoint(), Point(end[0] + static_cast<int>(std::cos(byFloat) * distance),
                                           end[1] + static_cast<int>(std::sin(byFloat) * distance)))
          << distance;

      const Point centre = random.PointIn(-100'000, 100'000);
      Nx_LineSegmentEnhanced turned(start, end);
      turned.Rotate(centre, angle);
      const auto x = static_cast<float>(end[0] - centre[0]);
      const auto y = static_cast<float>(end[1] - centre[1]);
      ASSERT_EQ(turned.GetEndPoint(), Point(MathUtils::round(x * c - y * s) + centre[0],
                                            MathUtils::round(x * s + y * c) + centre[1]));
    }
  }
}

// Relative coordinates and feet of perpendiculars in every direction, against long double: floats
// carry 24 bits, so a result may be off where it lies that near a half.
TEST(RelativeCoordinates, AreThoseOfTheFormulaForEveryDegree) {
  Random random(4);
  const auto expectNear = [](int got, long double want, const char* what) {
    const long double tolerance = 0.5L + std::fabs(want) * 3e-7L + 1e-3L;
    ASSERT_LE(std::fabs(got - want), tolerance) << what;
  };
  for (int angle = 0; angle < 360; ++angle) {
    for (const int length : {1, 7, 300, 40'000}) {
      const Point start = random.PointIn(-100, 100);
      const Nx_LineSegmentEnhanced segment(start, angle, length);
      const long double dx = segment.GetEndPoint()[0] - start[0];
      const long double dy = segment.GetEndPoint()[1] - start[1];
      const Point p = random.PointIn(-2 * length, 2 * length);
      const long double px = p[0] - start[0];
      const long double py = p[1] - start[1];
      SCOPED_TRACE(::testing::Message() << angle << " degrees, " << length << " long");

      const bool isFlat = std::fabs(dx) > std::fabs(dy);
      const float t = segment.CalcRelativeCoordFromPoint(p);
      ASSERT_EQ(t, isFlat ? static_cast<float>(px) / static_cast<float>(dx)
                          : static_cast<float>(py) / static_cast<float>(dy));
      Point out;
      segment.CalcPointFromRelativeCoord(t, out);
      ASSERT_EQ(out[isFlat ? 0 : 1], p[isFlat ? 0 : 1]) << "back on its row or column";
      expectNear(out[0] - start[0], dx * t, "x at t");
      expectNear(out[1] - start[1], dy * t, "y at t");

      const long double foot = (px * dx + py * dy) / (dx * dx + dy * dy);
      segment.CalcProjectionPtOfLine(p, out);
      expectNear(out[0] - start[0], dx * foot, "x of the foot");
      expectNear(out[1] - start[1], dy * foot, "y of the foot");
    }
  }
}

}  // namespace
}  // namespace velmora
