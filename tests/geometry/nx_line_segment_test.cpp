#include "tests/geometry/quad_inputs.h"
#include "velmora/geometry/internal/trigonometry.h"

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

TEST(LineSegmentEnhanced, AnglesAreReducedWhenTheyAreCompared) {
  const Segment right({0, 0}, 0, 9), downAfterATurn({0, 0}, 450, 9);
  EXPECT_EQ(right.CalcAngleBetweenLines(downAfterATurn, AD_360), 90);
  EXPECT_EQ(right.CalcAngleBetweenLines(downAfterATurn, static_cast<Nx_Angle_Domain>(45)), 0);
}

enum Kept { kNone, kLength, kBoth };

// The caches tell apart what was kept from what was computed anew: the constructor from an angle
// leaves a length of 99 and an angle of 7 in them that the ends do not have.
TEST(LineSegmentEnhanced, ChangesKeepNoMoreThanTheyMay) {
  // Of (10,20) -> (40,60), 50 long.
  const auto check = [](const char* name, Kept kept, const Points& want, auto apply) {
    SCOPED_TRACE(name);
    Segment segment({10, 20}, {40, 60});
    apply(segment);
    EXPECT_EQ(Ends(segment), want);

    segment = Segment({10, 20}, 7, 99);
    segment.GetPixelLength();
    segment.GetMidPoint();
    segment.CalcEquation();
    apply(segment);
    const Segment fresh(segment.GetStartPoint(), segment.GetEndPoint());
    EXPECT_EQ(segment.GetRealLength(), kept != kNone ? 99.0F : fresh.GetRealLength());
    EXPECT_EQ(segment.CalcAngle(), kept == kBoth ? 7 : fresh.CalcAngle());
    EXPECT_EQ(segment.GetPixelLength(), fresh.GetPixelLength());
    EXPECT_EQ(segment.GetMidPoint(), fresh.GetMidPoint());
    EXPECT_EQ(segment.CalcY(12), fresh.CalcY(12));
  };
  check("by angle", kBoth, {{15, 25}, {45, 65}}, [](auto& s) { s.TranslateBasedOnAngle(45, 8); });
  check("right", kBoth, {{2, 26}, {32, 66}},
        [](auto& s) { s.TranslateBasedOnDirection(LSTD_RIGHT, 10); });
  check("to a point", kBoth, {{-15, -20}, {15, 20}},
        [](auto& s) { s.TranslateToPoint({}, LSPA_MIDDLE); });
  check("origin", kBoth, {{0, -40}, {30, 0}}, [](auto& s) { s.SetOrigin(Point(10, 60)); });
  check("turn", kLength, {{70, 100}, {40, 60}}, [](auto& s) { s.Rotate(LSPA_END, 180); });
  check("arc", kLength, {{10, 20}, {-30, 50}},
        [](auto& s) { s.RotateBasedOnDistance(LSPA_START, 79); });
  check("start", kNone, {{3, 4}, {40, 60}}, [](auto& s) { s.SetStartPoint(Point(3, 4)); });
  check("swap", kNone, {{40, 60}, {10, 20}}, [](auto& s) { s.SwapVertices(); });
  check("swap by hand", kNone, {{40, 60}, {10, 20}},
        [](auto& s) { s.SetVertices(s.GetEndPoint(), s.GetStartPoint()); });
  check("array", kNone, {{7, 9}, {3, 4}},
        [two = Points{{7, 9}, {3, 4}}](auto& s) { s.SetVertices(two.data()); });
  check("stretch below 0", kNone, {{40, 60}, {40, 60}},
        [](auto& s) { s.StretchLength(LSPA_END, -80, LSLTM_ADD); });
  check("scale", kNone, {{3, -20}, {10, -60}}, [](auto& s) { s.Scale(0.25F, -1); });
  check("clip", kNone, {{10, 20}, {24, 39}}, [](auto& s) { s.MakeLineInBounds(40, 40); });
}

TEST(LineSegmentEnhanced, ClippingKeepsWhatIsInside) {
  const auto clip = [](const Points& ends, bool isInside, const Points& want) {
    Segment segment(ends[0], ends[1]);
    EXPECT_EQ(segment.MakeLineInBounds(10, 10), isInside);
    EXPECT_EQ(Ends(segment), want);
    EXPECT_EQ(segment.IsOutOfBounds(10, 10), !isInside);
  };
  clip({{-10, 9}, {30, 9}}, true, {{0, 9}, {9, 9}});
  clip({{-1, 0}, {3, 2}}, true, {{0, 1}, {3, 2}});      // rounds a half away
  clip({{-4, 4}, {4, -4}}, true, {{0, 0}, {0, 0}});     // touches a corner
  clip({{-4, 3}, {3, -4}}, false, {{-4, 3}, {3, -4}});  // passes it
  clip({{10, 0}, {10, 9}}, false, {{10, 0}, {10, 9}});  // a pixel beyond
  for (const int height : {0, 1}) {
    EXPECT_EQ(Segment({0, 0}, {0, 0}).MakeLineInBounds(5, height), height == 1);
  }
}

TEST(LineSegmentEnhanced, ChainsHaveNoDiagonalSteps) {
  Points chain = {{99, 99}};
  Segment({0, 0}, {5, 2}).Pixelate(chain, PXM_CHAIN, 0, -1);
  EXPECT_EQ(chain, (Points{{0, 0}, {1, 0}, {1, 1}, {2, 1}, {3, 1}, {4, 1}, {4, 2}, {5, 2}}));
  Segment({2, -5}, {0, 0}).Pixelate(chain, PXM_SAMPLED, 2, 3);
  EXPECT_EQ(chain, (Points{{2, -5}, {1, -3}, {0, -1}}));
}

TEST(Trigonometry, SeriesAreWithinABitOfTheLibrary) {
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

}  // namespace
}  // namespace velmora
