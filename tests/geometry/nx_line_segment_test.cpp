#include "velmora/geometry/nx_line_segment.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "tests/geometry/quad_inputs.h"
#include "velmora/geometry/internal/trigonometry.h"
#include "velmora/geometry/math_utils.h"

namespace velmora {
namespace {

using testing::Point;
using testing::Random;
using Segment = Nx_LineSegmentEnhanced;
using Points = std::vector<Point>;

Points Ends(const Segment& segment) {
  Points ends(2);
  segment.GetVertices(ends.data());
  return ends;
}

Points Pixels(const Segment& segment, Nx_Pixelate_Mode mode, int step = 0, int maxCount = -1) {
  Points pixels = {{99, 99}};
  segment.Pixelate(pixels, mode, step, maxCount);
  return pixels;
}

TEST(LineSegmentEnhanced, UprightLinesHaveNoY) {
  const Segment upright({4, 0}, {4, 8});
  float line[2] = {};
  bool isValid = true;
  EXPECT_FALSE(upright.GetLineEquation(CA_Y, line[0], line[1]));
  EXPECT_EQ(upright.CalcY(7, isValid), std::numeric_limits<float>::max());
  EXPECT_FALSE(isValid);
  EXPECT_EQ(upright.CalcX(7, isValid), 4.0F);
  EXPECT_TRUE(isValid);
}

TEST(LineSegmentEnhanced, JudgesAlongTheLongerAxisOnly) {
  EXPECT_TRUE(Segment({0, 0}, {30, 30}).JudgePtIsInLineSeg({0, 99}, 0)) << "45 degrees: x";
  EXPECT_TRUE(Segment({0, 0}, {-30, 30}).JudgePtIsInLineSeg({99, 30}, 0)) << "135 degrees: y";
  for (int x = -5; x <= 14; ++x) {
    const bool isWithin = x >= -3 && x <= 12;  // 2.5 rounds to 3
    EXPECT_EQ(Segment({0, 0}, {9, 0}).JudgePtIsInLineSeg({x, 0}, 0.25F), isWithin) << x;
  }
}

TEST(LineSegmentEnhanced, AnglesBetweenLinesInEveryDirection) {
  for (int from = 0; from < 360; ++from) {
    const Segment first({0, 0}, from, 1000);
    for (int to = 0; to < 360; ++to) {
      const Segment second({0, 0}, to, 1000);
      const int in360 = (to - from + 360) % 360;
      const int in180 = std::min(in360, 360 - in360);
      const int in90 = std::min(in180, 180 - in180);
      ASSERT_EQ(first.CalcAngleBetweenLines(second, AD_360), in360) << from << ' ' << to;
      ASSERT_EQ(first.CalcAngleBetweenLines(second, AD_180), in180) << from << ' ' << to;
      ASSERT_EQ(first.CalcAngleBetweenLines(second, AD_90), in90) << from << ' ' << to;
      ASSERT_EQ(first.CalcPositionStatusOfInputLine(second, 2), in90 < 2 ? 0 : in90 > 88 ? 1 : -1);
    }
  }
}

enum Kept { kNone, kLength, kBoth };

// The caches tell apart what was kept from what was computed anew: the constructor from an angle
// leaves a length of 99 and an angle of 7 in them that the ends do not have.
TEST(LineSegmentEnhanced, ChangesKeepNoMoreThanTheyMay) {
  struct Change {
    const char* name;
    Kept kept;
    Points want;  // of (10,20) -> (40,60), 50 long
    void (*apply)(Segment&);
  };
  const Change changes[] = {
      {"by angle", kBoth, {{15, 25}, {45, 65}}, [](auto& s) { s.TranslateBasedOnAngle(45, 8); }},
      {"right",
       kBoth,
       {{2, 26}, {32, 66}},
       [](auto& s) { s.TranslateBasedOnDirection(LSTD_RIGHT, 10); }},
      {"to a point",
       kBoth,
       {{-15, -20}, {15, 20}},
       [](auto& s) { s.TranslateToPoint({}, LSPA_MIDDLE); }},
      {"origin", kBoth, {{0, -40}, {30, 0}}, [](auto& s) { s.SetOrigin(Point(10, 60)); }},
      {"turn", kLength, {{70, 100}, {40, 60}}, [](auto& s) { s.Rotate(LSPA_END, 180); }},
      {"arc",
       kLength,
       {{10, 20}, {-30, 50}},
       [](auto& s) { s.RotateBasedOnDistance(LSPA_START, 79); }},
      {"start", kNone, {{3, 4}, {40, 60}}, [](auto& s) { s.SetStartPoint(Point(3, 4)); }},
      {"swap", kNone, {{40, 60}, {10, 20}}, [](auto& s) { s.SwapVertices(); }},
      {"swap by hand",
       kNone,
       {{40, 60}, {10, 20}},
       [](auto& s) { s.SetVertices(s.GetEndPoint(), s.GetStartPoint()); }},
      {"stretch below 0",
       kNone,
       {{40, 60}, {40, 60}},
       [](auto& s) { s.StretchLength(LSPA_END, -80, LSLTM_ADD); }},
      {"scale", kNone, {{3, -20}, {10, -60}}, [](auto& s) { s.Scale(0.25F, -1); }},
      {"clip", kNone, {{10, 20}, {24, 39}}, [](auto& s) { s.MakeLineInBounds(40, 40); }},
  };
  for (const Change& change : changes) {
    SCOPED_TRACE(change.name);
    Segment segment({10, 20}, {40, 60});
    change.apply(segment);
    EXPECT_EQ(Ends(segment), change.want);

    segment = Segment({10, 20}, 7, 99);
    segment.GetPixelLength();
    segment.GetMidPoint();
    segment.CalcEquation();
    change.apply(segment);
    const Segment fresh(segment.GetStartPoint(), segment.GetEndPoint());
    EXPECT_EQ(segment.GetRealLength(), change.kept != kNone ? 99.0F : fresh.GetRealLength());
    EXPECT_EQ(segment.CalcAngle(), change.kept == kBoth ? 7 : fresh.CalcAngle());
    EXPECT_EQ(segment.GetPixelLength(), fresh.GetPixelLength());
    EXPECT_EQ(segment.GetMidPoint(), fresh.GetMidPoint());
    EXPECT_EQ(segment.CalcY(12), fresh.CalcY(12));
  }
}

TEST(LineSegmentEnhanced, ClippingKeepsWhatIsInside) {
  struct Row {
    const char* name;
    Points ends;
    bool isInside;
    Points want;
  };
  const Row rows[] = {
      {"through", {{-10, 9}, {30, 9}}, true, {{0, 9}, {9, 9}}},
      {"rounds a half away", {{-1, 0}, {3, 2}}, true, {{0, 1}, {3, 2}}},
      {"touches a corner", {{-4, 4}, {4, -4}}, true, {{0, 0}, {0, 0}}},
      {"passes a corner", {{-4, 3}, {3, -4}}, false, {{-4, 3}, {3, -4}}},
      {"a pixel beyond", {{10, 0}, {10, 9}}, false, {{10, 0}, {10, 9}}},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    Segment segment(row.ends[0], row.ends[1]);
    EXPECT_EQ(segment.MakeLineInBounds(10, 10), row.isInside);
    EXPECT_EQ(Ends(segment), row.want);
    EXPECT_EQ(segment.IsOutOfBounds(10, 10), !row.isInside);
  }
  EXPECT_FALSE(Segment({0, 0}, {0, 0}).MakeLineInBounds(0, 5));
}

TEST(LineSegmentEnhanced, ChainsHaveNoDiagonalSteps) {
  for (int dy = -12; dy <= 12; ++dy) {
    for (int dx = -12; dx <= 12; ++dx) {
      SCOPED_TRACE(::testing::Message() << dx << ',' << dy);
      const Segment segment({20, 20}, {20 + dx, 20 + dy});
      const Points chain = Pixels(segment, PXM_CHAIN);
      ASSERT_EQ(chain.front(), segment.GetStartPoint());
      ASSERT_EQ(chain.back(), segment.GetEndPoint());
      ASSERT_EQ(chain.size(), 1U + static_cast<unsigned>(std::abs(dx) + std::abs(dy)));
      for (std::size_t i = 0; i < chain.size(); ++i) {
        ASSERT_EQ(segment.CalcPointPositionStatus(chain[i], 1), LSPPR_ON_LINE) << "pixel " << i;
        ASSERT_EQ(chain[i].DistanceTo(chain[i > 0 ? i - 1 : 0]), i > 0 ? 1.0 : 0.0);
      }
    }
  }
}

TEST(LineSegmentEnhanced, SamplesEveryFewPixels) {
  const Segment segment({0, 0}, {7, 0});
  EXPECT_EQ(Pixels(segment, PXM_SAMPLED, 7), (Points{{0, 0}, {7, 0}}));
  EXPECT_EQ(Pixels(segment, PXM_SAMPLED, 3, 2), (Points{{0, 0}, {3, 0}}));
  EXPECT_EQ(Pixels(segment, PXM_SAMPLED, 0), Points());
  EXPECT_EQ(Pixels(segment, static_cast<Nx_Pixelate_Mode>(2), 1), Points());
}

// Directions and rotations against the C library of the target: after rounding, the same.
constexpr double kPi = 3.141592653;  // as the angles of the library know it

int AngleByLibrary(int dx, int dy) {
  const int angle = MathUtils::round(static_cast<float>(std::atan2(dy, dx) / kPi * 180));
  return angle < 0 ? angle + 360 : angle;
}

int Angle(int dx, int dy) {
  return Segment({1000, -70}, {1000 + dx, -70 + dy}).GetAngle(AD_360);
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
      const Segment made(start, angle, distance);
      ASSERT_EQ(
          made.GetEndPoint(),
          Point(start[0] + MathUtils::round(static_cast<float>(std::cos(byFloat) * distance)),
                start[1] + MathUtils::round(static_cast<float>(std::sin(byFloat) * distance))))
          << distance;

      ASSERT_EQ(made.CalcAngle(), angle) << "as it was given";

      const Point centre = random.PointIn(-100'000, 100'000);
      Segment turned(start, end);
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
      const Segment segment(start, angle, length);
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
