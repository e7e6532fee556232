#include "velmora/geometry/nx_line_segment.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>
#include <vector>

namespace velmora {
namespace {

using Segment = Nx_LineSegmentEnhanced;
using Point = NxPoint_<int>;
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

TEST(LineSegmentEnhanced, MidpointRoundsTowardMinusInfinity) {
  EXPECT_EQ(Segment({-3, 4}, {0, 7}).GetMidPoint(), Point(-2, 5));
  constexpr int kMax = std::numeric_limits<int>::max();
  EXPECT_EQ(Segment({kMax, kMax}, {kMax - 3, -kMax}).GetMidPoint(), Point(kMax - 2, 0));
}

TEST(LineSegmentEnhanced, LineEquationInBothForms) {
  const Segment segment({2, 1}, {6, 9});  // y = 2x - 3
  float line[2] = {};
  EXPECT_TRUE(segment.GetLineEquation(CA_Y, line[0], line[1]));
  EXPECT_EQ(std::make_pair(line[0], line[1]), std::make_pair(2.0F, -3.0F));
  EXPECT_TRUE(segment.GetLineEquation(CA_X, line[0], line[1]));
  EXPECT_EQ(std::make_pair(line[0], line[1]), std::make_pair(0.5F, 1.5F));
  EXPECT_FLOAT_EQ(segment.CalcDistanceToPoint({2, 6}), -std::sqrt(5.0F));
  EXPECT_EQ(segment.CalcPointStatusOnLineEquation({2, 9}), -1);
  EXPECT_EQ(segment.CalcPointStatusOnLineEquation({9, 2}), 1);

  Segment upright({4, 0}, {9, 8});
  upright.CalcEquation();
  upright.SetVertices(Point(4, 0), Point(4, 8));
  bool isValid = true;
  EXPECT_FALSE(upright.GetLineEquation(CA_Y, line[0], line[1]));
  EXPECT_EQ(upright.CalcY(7, isValid), std::numeric_limits<float>::max());
  EXPECT_FALSE(isValid);
  EXPECT_EQ(upright.CalcX(7, isValid), 4.0F);
  EXPECT_TRUE(isValid);
}

TEST(LineSegmentEnhanced, JudgesAlongTheLongerAxisOnly) {
  EXPECT_TRUE(Segment({0, 0}, {30, 0}).JudgePtIsInLineSeg({20, 50}, 0));
  EXPECT_TRUE(Segment({0, 0}, {0, 30}).JudgePtIsInLineSeg({50, 20}, 0));
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

struct Change {
  const char* name;
  Points want;  // of (10,20) -> (40,60), 50 long
  void (*apply)(Segment&);
};

// The caches tell apart what was kept from what was computed anew: the constructor from an angle
// leaves a length of 99 and an angle of 7 in them that the ends do not have.
void ExpectChanges(const std::vector<Change>& changes, bool keepsLength, bool keepsAngle) {
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
    EXPECT_EQ(segment.GetRealLength(), keepsLength ? 99.0F : fresh.GetRealLength());
    EXPECT_EQ(segment.CalcAngle(), keepsAngle ? 7 : fresh.CalcAngle());
    EXPECT_EQ(segment.GetPixelLength(), fresh.GetPixelLength());
    EXPECT_EQ(segment.GetMidPoint(), fresh.GetMidPoint());
    EXPECT_EQ(segment.CalcY(12), fresh.CalcY(12));
  }
}

TEST(LineSegmentEnhanced, TranslationsKeepLengthAndAngle) {
  const std::vector<Change> changes = {
      {"by angle", {{10, 28}, {40, 68}}, [](auto& s) { s.TranslateBasedOnAngle(90, 8); }},
      {"right", {{2, 26}, {32, 66}}, [](auto& s) { s.TranslateBasedOnDirection(LSTD_RIGHT, 10); }},
      {"left", {{18, 14}, {48, 54}}, [](auto& s) { s.TranslateBasedOnDirection(LSTD_LEFT, 10); }},
      {"middle", {{-15, -20}, {15, 20}}, [](auto& s) { s.TranslateToPoint({}, LSPA_MIDDLE); }},
      {"origin", {{0, -40}, {30, 0}}, [](auto& s) { s.SetOrigin(Point(10, 60)); }},
  };
  ExpectChanges(changes, true, true);
}

TEST(LineSegmentEnhanced, RotationsKeepTheLength) {
  const std::vector<Change> changes = {
      {"start", {{10, 20}, {-30, 50}}, [](auto& s) { s.Rotate(LSPA_START, 90); }},
      {"end", {{70, 100}, {40, 60}}, [](auto& s) { s.Rotate(LSPA_END, 180); }},
      {"middle", {{5, 55}, {45, 25}}, [](auto& s) { s.Rotate(LSPA_MIDDLE, -90); }},
      {"arc", {{10, 20}, {-30, 50}}, [](auto& s) { s.RotateBasedOnDistance(LSPA_START, 79); }},
      {"half", {{5, 55}, {45, 25}}, [](auto& s) { s.RotateBasedOnDistance(LSPA_MIDDLE, -39); }},
  };
  ExpectChanges(changes, true, false);
}

TEST(LineSegmentEnhanced, OtherChangesKeepNothing) {
  const std::vector<Change> changes = {
      {"start", {{3, 4}, {40, 60}}, [](auto& s) { s.SetStartPoint(Point(3, 4)); }},
      {"both ends", {{3, 4}, {7, 9}}, [](auto& s) { s.SetVertices(Point(3, 4), Point(7, 9)); }},
      {"swap", {{40, 60}, {10, 20}}, [](auto& s) { s.SwapVertices(); }},
      {"swap by hand",
       {{40, 60}, {10, 20}},
       [](auto& s) { s.SetVertices(s.GetEndPoint(), s.GetStartPoint()); }},
      {"longer", {{10, 20}, {55, 80}}, [](auto& s) { s.StretchLength(LSPA_START, 25, LSLTM_ADD); }},
      {"double",
       {{-5, 0}, {55, 80}},
       [](auto& s) { s.StretchLength(LSPA_MIDDLE, 2, LSLTM_MULTIPLY); }},
      {"below 0", {{40, 60}, {40, 60}}, [](auto& s) { s.StretchLength(LSPA_END, -80, LSLTM_ADD); }},
      {"scale", {{3, -20}, {10, -60}}, [](auto& s) { s.Scale(0.25F, -1); }},
      {"clip", {{10, 20}, {24, 39}}, [](auto& s) { s.MakeLineInBounds(40, 40); }},
  };
  ExpectChanges(changes, false, false);
}

TEST(LineSegmentEnhanced, ZeroLengthSegmentsStayWhereTheyAre) {
  Segment segment({7, 7}, {7, 7});
  segment.TranslateBasedOnDirection(LSTD_LEFT, 9);
  segment.RotateBasedOnDistance(LSPA_START, 9);
  segment.StretchLength(LSPA_START, 9, LSLTM_ADD);
  EXPECT_EQ(Ends(segment), (Points{{7, 7}, {7, 7}}));
  Point foot;
  segment.CalcProjectionPtOfLine({50, 60}, foot);
  EXPECT_EQ(foot, Point(7, 7));
  EXPECT_EQ(segment.CalcAngle(), 0);
  EXPECT_TRUE(std::isnan(segment.CalcDistanceToPoint({1, 1})));
}

TEST(LineSegmentEnhanced, ClippingKeepsWhatIsInside) {
  struct Row {
    const char* name;
    Points ends;
    bool isInside;
    Points want;
  };
  const Row rows[] = {
      {"inside", {{0, 0}, {9, 9}}, true, {{0, 0}, {9, 9}}},
      {"through", {{-10, 9}, {30, 9}}, true, {{0, 9}, {9, 9}}},
      {"rounds a half away", {{-1, 0}, {3, 2}}, true, {{0, 1}, {3, 2}}},
      {"touches a corner", {{-4, 4}, {4, -4}}, true, {{0, 0}, {0, 0}}},
      {"passes a corner", {{-4, 3}, {3, -4}}, false, {{-4, 3}, {3, -4}}},
      {"a pixel beyond", {{10, 0}, {10, 9}}, false, {{10, 0}, {10, 9}}},
      {"point outside", {{-1, 5}, {-1, 5}}, false, {{-1, 5}, {-1, 5}}},
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
  // y = x / 2 - 0.1 or so: it crosses 0.5 late in the column and 0.5 + 1 early.
  EXPECT_EQ(Pixels(Segment({0, 0}, {5, 2}), PXM_CHAIN),
            (Points{{0, 0}, {1, 0}, {1, 1}, {2, 1}, {3, 1}, {4, 1}, {4, 2}, {5, 2}}));
}

TEST(LineSegmentEnhanced, SamplesEveryFewPixels) {
  const Segment segment({0, 0}, {7, 0});
  EXPECT_EQ(Pixels(segment, PXM_SAMPLED, 3), (Points{{0, 0}, {3, 0}, {6, 0}, {7, 0}}));
  EXPECT_EQ(Pixels(segment, PXM_SAMPLED, 7), (Points{{0, 0}, {7, 0}}));
  EXPECT_EQ(Pixels(segment, PXM_SAMPLED, 3, 2), (Points{{0, 0}, {3, 0}}));
  EXPECT_EQ(Pixels(segment, PXM_SAMPLED, 3, 0), Points());
  EXPECT_EQ(Pixels(segment, PXM_SAMPLED, 0), Points());
  EXPECT_EQ(Pixels(segment, static_cast<Nx_Pixelate_Mode>(2), 1), Points());
}

}  // namespace
}  // namespace velmora
