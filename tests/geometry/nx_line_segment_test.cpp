#include "velmora/geometry/nx_line_segment.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <set>
#include <utility>
#include <vector>

namespace velmora {
namespace {

using Segment = Nx_LineSegmentEnhanced;
using Point = NxPoint_<int>;

constexpr float kLargest = std::numeric_limits<float>::max();

std::vector<Point> Ends(const Segment& segment) {
  std::vector<Point> ends(2);
  segment.GetVertices(ends.data());
  return ends;
}

std::vector<Point> Pixels(const Segment& segment, Nx_Pixelate_Mode mode, int step = 0,
                          int maxCount = -1) {
  std::vector<Point> pixels = {{99, 99}};
  segment.Pixelate(pixels, mode, step, maxCount);
  return pixels;
}

TEST(LineSegmentEnhanced, MeasuresOfAFlatSegment) {
  const Segment segment({0, 0}, {10, 0});
  EXPECT_EQ(segment.GetAngle(AD_360), 0);
  EXPECT_EQ(segment.GetRealLength(), 10.0F);
  EXPECT_EQ(segment.GetPixelLength(), 11);
  EXPECT_EQ(segment.GetMidPoint(), Point(5, 0));
  EXPECT_EQ(segment.GetLineDirectionStatus(), LSLDS_FLAT);
  float equation[3];
  segment.GetLineEquation(equation);
  EXPECT_EQ(equation[0], 0.0F);
  EXPECT_EQ(equation[1], -1.0F);
  EXPECT_EQ(equation[2], 0.0F);
  bool isValid = false;
  EXPECT_EQ(segment.CalcY(7, isValid), 0.0F);
  EXPECT_TRUE(isValid);
  EXPECT_EQ(segment.CalcX(3, isValid), kLargest);
  EXPECT_FALSE(isValid);
}

TEST(LineSegmentEnhanced, MidpointRoundsTowardMinusInfinity) {
  EXPECT_EQ(Segment({-3, 4}, {0, 7}).GetMidPoint(), Point(-2, 5));
  constexpr int kMax = std::numeric_limits<int>::max();
  EXPECT_EQ(Segment({kMax, kMax}, {kMax - 3, -kMax}).GetMidPoint(), Point(kMax - 2, 0));
}

TEST(LineSegmentEnhanced, LineEquationInBothForms) {
  const Segment segment({2, 1}, {6, 9});  // y = 2x - 3
  float slope = 0;
  float intercept = 0;
  EXPECT_TRUE(segment.GetLineEquation(CA_Y, slope, intercept));
  EXPECT_EQ(slope, 2.0F);
  EXPECT_EQ(intercept, -3.0F);
  EXPECT_TRUE(segment.GetLineEquation(CA_X, slope, intercept));
  EXPECT_EQ(slope, 0.5F);
  EXPECT_EQ(intercept, 1.5F);
  EXPECT_EQ(segment.CalcX(9), 6.0F);
  EXPECT_EQ(segment.CalcY(2), 1.0F);
  EXPECT_FLOAT_EQ(segment.CalcDistanceToPoint({2, 6}), -std::sqrt(5.0F));
  EXPECT_EQ(segment.CalcPointStatusOnLineEquation({2, 1}), 0);
  EXPECT_EQ(segment.CalcPointStatusOnLineEquation({2, 9}), -1);
  EXPECT_EQ(segment.CalcPointStatusOnLineEquation({9, 2}), 1);

  const Segment upright({4, 0}, {4, 8});
  EXPECT_FALSE(upright.GetLineEquation(CA_Y, slope, intercept));
  EXPECT_EQ(slope, kLargest);
  EXPECT_TRUE(upright.GetLineEquation(CA_X, slope, intercept));
  EXPECT_EQ(intercept, 4.0F);
}

TEST(LineSegmentEnhanced, JudgesAlongTheLongerAxisOnly) {
  EXPECT_FALSE(Segment({0, 0}, {10, 0}).JudgePtIsInLineSeg({20, 50}, 0));
  EXPECT_TRUE(Segment({0, 0}, {30, 0}).JudgePtIsInLineSeg({20, 50}, 0));
  EXPECT_TRUE(Segment({0, 0}, {0, 30}).JudgePtIsInLineSeg({50, 20}, 0));
  EXPECT_TRUE(Segment({30, 30}, {0, 0}).JudgePtIsInLineSeg({0, 99}, 0)) << "45 degrees look at x";
  EXPECT_TRUE(Segment({0, 0}, {9, 0}).JudgePtIsInLineSeg({12, 0}, 0.25F)) << "2.5 rounds to 3";
  EXPECT_FALSE(Segment({0, 0}, {9, 0}).JudgePtIsInLineSeg({13, 0}, 0.25F));
}

TEST(LineSegmentEnhanced, AnglesBetweenLines) {
  const auto at = [](int degrees) { return Segment({0, 0}, degrees, 1000); };
  EXPECT_EQ(at(0).CalcPositionStatusOfInputLine(at(179), 2), 0);
  EXPECT_EQ(at(10).CalcPositionStatusOfInputLine(at(101), 2), 1);
  EXPECT_EQ(at(10).CalcPositionStatusOfInputLine(at(102), 2), -1);
  struct Row {
    int from, to, in360, in180, in90;
  };
  for (const Row& row : {Row{10, 30, 20, 20, 20}, Row{30, 10, 340, 20, 20}, Row{0, 90, 90, 90, 90},
                         Row{0, 135, 135, 135, 45}, Row{0, 180, 180, 180, 0},
                         Row{300, 150, 210, 150, 30}, Row{0, 271, 271, 89, 89}}) {
    EXPECT_EQ(at(row.from).CalcAngleBetweenLines(at(row.to), AD_360), row.in360);
    EXPECT_EQ(at(row.from).CalcAngleBetweenLines(at(row.to), AD_180), row.in180);
    EXPECT_EQ(at(row.from).CalcAngleBetweenLines(at(row.to), AD_90), row.in90);
  }
  EXPECT_EQ(at(0).CalcAngleBetweenLines(at(50), static_cast<Nx_Angle_Domain>(45)), 0);
}

TEST(LineSegmentEnhanced, ConstructorFromAngleRemembersItsArguments) {
  const Segment segment({100, 100}, -60, 5);
  EXPECT_EQ(segment.GetEndPoint(), Point(102, 96))
      << "60 degrees are a third of 180 as a float: a little more, and 5 times its cosine below "
         "2.5";
  EXPECT_EQ(segment.CalcAngle(), -60);
  EXPECT_EQ(segment.GetRealLength(), 5.0F);
  EXPECT_EQ(segment.GetPixelLength(), 5) << "of the rounded segment";
}

TEST(LineSegmentEnhanced, TranslationByAngleTruncates) {
  Segment segment({5, 5}, {9, 6});
  EXPECT_TRUE(segment.TranslateBasedOnAngle(90, 1));
  EXPECT_EQ(Ends(segment), (std::vector<Point>{{5, 6}, {9, 7}}));
  EXPECT_FALSE(segment.TranslateBasedOnAngle(45, 1));
  EXPECT_EQ(Ends(segment), (std::vector<Point>{{5, 6}, {9, 7}}));
  EXPECT_TRUE(segment.TranslateBasedOnAngle(225, 10));
  EXPECT_EQ(Ends(segment), (std::vector<Point>{{-2, -1}, {2, 0}}));
}

// The caches tell apart what was kept from what was computed anew: the constructor from an angle
// leaves a length of 99 and an angle of 7 in them that the ends do not have.
TEST(LineSegmentEnhanced, MutatorsForgetExactlyWhatTheyInvalidate) {
  struct Row {
    const char* name;
    void (*change)(Segment&);
    bool keepsLength, keepsAngle;
  };
  const Row rows[] = {
      {"SetVertices",
       [](Segment& s) {
         s.SetVertices({3, 4}, {7, 9});
       },
       false, false},
      {"SetStartPoint",
       [](Segment& s) {
         s.SetStartPoint({3, 4});
       },
       false, false},
      {"SwapVertices", [](Segment& s) { s.SwapVertices(); }, false, false},
      {"by angle", [](Segment& s) { s.TranslateBasedOnAngle(90, 8); }, true, true},
      {"by direction", [](Segment& s) { s.TranslateBasedOnDirection(LSTD_LEFT, 8); }, true, true},
      {"to a point",
       [](Segment& s) {
         s.TranslateToPoint({50, 60}, LSPA_END);
       },
       true, true},
      {"SetOrigin",
       [](Segment& s) {
         s.SetOrigin({5, 6});
       },
       true, true},
      {"Rotate", [](Segment& s) { s.Rotate(Point(1, 2), 30); }, true, false},
      {"Rotate at pivot", [](Segment& s) { s.Rotate(LSPA_MIDDLE, 30); }, true, false},
      {"by distance", [](Segment& s) { s.RotateBasedOnDistance(LSPA_START, 20); }, true, false},
      {"Stretch", [](Segment& s) { s.StretchLength(LSPA_START, 5, LSLTM_ADD); }, false, false},
      {"Scale", [](Segment& s) { s.Scale(2, 3); }, false, false},
      {"Clip", [](Segment& s) { s.MakeLineInBounds(40, 40); }, false, false},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    Segment segment({10, 20}, 7, 99);
    segment.GetPixelLength();
    segment.GetMidPoint();
    segment.CalcEquation();
    row.change(segment);
    const Segment fresh(segment.GetStartPoint(), segment.GetEndPoint());
    EXPECT_EQ(segment.GetRealLength(), row.keepsLength ? 99.0F : fresh.GetRealLength());
    EXPECT_EQ(segment.CalcAngle(), row.keepsAngle ? 7 : fresh.CalcAngle());
    EXPECT_EQ(segment.GetPixelLength(), fresh.GetPixelLength());
    EXPECT_EQ(segment.GetMidPoint(), fresh.GetMidPoint());
    EXPECT_EQ(segment.CalcY(12), fresh.CalcY(12));
    EXPECT_EQ(segment.CalcX(12), fresh.CalcX(12));
  }
}

TEST(LineSegmentEnhanced, MovesGiveTheStatedEnds) {
  struct Row {
    const char* name;
    void (*change)(Segment&);
    std::vector<Point> want;  // of (10,20) -> (40,60), 50 long
  };
  constexpr auto kNoPivot = static_cast<Nx_LS_Point_Alignment>(3);
  const Row rows[] = {
      {"right",
       [](Segment& s) { s.TranslateBasedOnDirection(LSTD_RIGHT, 10); },
       {{2, 26}, {32, 66}}},
      {"left",
       [](Segment& s) { s.TranslateBasedOnDirection(LSTD_LEFT, 10); },
       {{18, 14}, {48, 54}}},
      {"middle to a point",
       [](Segment& s) {
         s.TranslateToPoint({0, 0}, LSPA_MIDDLE);
       },
       {{-15, -20}, {15, 20}}},
      {"origin",
       [](Segment& s) {
         s.SetOrigin({10, 60});
       },
       {{0, -40}, {30, 0}}},
      {"around start", [](Segment& s) { s.Rotate(LSPA_START, 90); }, {{10, 20}, {-30, 50}}},
      {"around end", [](Segment& s) { s.Rotate(LSPA_END, 180); }, {{70, 100}, {40, 60}}},
      {"around middle", [](Segment& s) { s.Rotate(LSPA_MIDDLE, -90); }, {{5, 55}, {45, 25}}},
      {"around nothing", [](Segment& s) { s.Rotate(kNoPivot, 90); }, {{10, 20}, {40, 60}}},
      {"quarter circle",
       [](Segment& s) { s.RotateBasedOnDistance(LSPA_START, 79); },
       {{10, 20}, {-30, 50}}},
      {"half of it",
       [](Segment& s) { s.RotateBasedOnDistance(LSPA_MIDDLE, -39); },
       {{5, 55}, {45, 25}}},
      {"longer",
       [](Segment& s) { s.StretchLength(LSPA_START, 25, LSLTM_ADD); },
       {{10, 20}, {55, 80}}},
      {"half",
       [](Segment& s) { s.StretchLength(LSPA_END, 0.5F, LSLTM_MULTIPLY); },
       {{25, 40}, {40, 60}}},
      {"double",
       [](Segment& s) { s.StretchLength(LSPA_MIDDLE, 2, LSLTM_MULTIPLY); },
       {{-5, 0}, {55, 80}}},
      {"below nothing",
       [](Segment& s) { s.StretchLength(LSPA_END, -80, LSLTM_ADD); },
       {{40, 60}, {40, 60}}},
      {"scale", [](Segment& s) { s.Scale(0.25F, -1); }, {{3, -20}, {10, -60}}},
      {"swap", [](Segment& s) { s.SwapVertices(); }, {{40, 60}, {10, 20}}},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    Segment segment({10, 20}, {40, 60});
    row.change(segment);
    EXPECT_EQ(Ends(segment), row.want);
  }
  Point moved;
  Segment({10, 20}, {40, 60}).CalcTranslatedPoint({100, 100}, LSTD_RIGHT, 5, moved);
  EXPECT_EQ(moved, Point(96, 103));
}

TEST(LineSegmentEnhanced, ZeroLengthSegmentsStayWhereTheyAre) {
  Segment segment({7, 7}, {7, 7});
  segment.TranslateBasedOnDirection(LSTD_LEFT, 9);
  segment.RotateBasedOnDistance(LSPA_START, 9);
  segment.StretchLength(LSPA_START, 9, LSLTM_ADD);
  EXPECT_EQ(Ends(segment), (std::vector<Point>{{7, 7}, {7, 7}}));
  Point foot;
  segment.CalcProjectionPtOfLine({50, 60}, foot);
  EXPECT_EQ(foot, Point(7, 7));
  EXPECT_EQ(segment.CalcAngle(), 0);
  EXPECT_TRUE(std::isnan(segment.CalcDistanceToPoint({1, 1})));
  EXPECT_EQ(segment.CalcPointPositionStatus({9, 9}, 1), LSPPR_ON_LINE);
  EXPECT_EQ(Pixels(segment, PXM_CHAIN), (std::vector<Point>{{7, 7}}));
}

TEST(LineSegmentEnhanced, ClippingKeepsWhatIsInside) {
  struct Row {
    const char* name;
    Point start, end;
    bool isInside;
    std::vector<Point> want;
  };
  const Row rows[] = {
      {"inside", {1, 2}, {9, 9}, true, {{1, 2}, {9, 9}}},
      {"through", {-10, 5}, {30, 5}, true, {{0, 5}, {9, 5}}},
      {"diagonal", {-3, -2}, {13, 14}, true, {{0, 1}, {8, 9}}},
      {"rounds a half away", {-1, 0}, {3, 2}, true, {{0, 1}, {3, 2}}},
      {"touches a corner", {-4, 4}, {4, -4}, true, {{0, 0}, {0, 0}}},
      {"passes a corner", {-4, 3}, {3, -4}, false, {{-4, 3}, {3, -4}}},
      {"beyond", {10, 0}, {20, 9}, false, {{10, 0}, {20, 9}}},
      {"point outside", {-1, 5}, {-1, 5}, false, {{-1, 5}, {-1, 5}}},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    Segment segment(row.start, row.end);
    EXPECT_EQ(segment.MakeLineInBounds(10, 10), row.isInside);
    EXPECT_EQ(Ends(segment), row.want);
    EXPECT_EQ(segment.IsOutOfBounds(10, 10), !row.isInside);
  }
  EXPECT_FALSE(Segment({0, 0}, {0, 0}).MakeLineInBounds(0, 5));
}

TEST(LineSegmentEnhanced, ChainsHaveNoDiagonalSteps) {
  for (int dy = -12; dy <= 12; ++dy) {
    for (int dx = -12; dx <= 12; ++dx) {
      const Segment segment({20, 20}, {20 + dx, 20 + dy});
      const std::vector<Point> chain = Pixels(segment, PXM_CHAIN);
      EXPECT_EQ(chain.front(), segment.GetStartPoint());
      EXPECT_EQ(chain.back(), segment.GetEndPoint());
      EXPECT_EQ(chain.size(), 1U + static_cast<unsigned>(std::abs(dx) + std::abs(dy)));
      for (std::size_t i = 0; i < chain.size(); ++i) {
        EXPECT_EQ(segment.CalcPointPositionStatus(chain[i], 1), LSPPR_ON_LINE)
            << "pixel " << i << " of " << dx << ',' << dy << " is a pixel or more off";
        if (i > 0) {
          EXPECT_EQ(chain[i].DistanceTo(chain[i - 1]), 1.0);
        }
      }
    }
  }
}

TEST(LineSegmentEnhanced, BridgesOnTheSideThatTheLinePasses) {
  // y = x / 2 - 0.1 or so: it crosses 0.5 late in the column and 0.5 + 1 early.
  EXPECT_EQ(Pixels(Segment({0, 0}, {5, 2}), PXM_CHAIN),
            (std::vector<Point>{{0, 0}, {1, 0}, {1, 1}, {2, 1}, {3, 1}, {4, 1}, {4, 2}, {5, 2}}));
}

TEST(LineSegmentEnhanced, SamplesEveryFewPixels) {
  const Segment segment({0, 0}, {7, 0});
  EXPECT_EQ(Pixels(segment, PXM_SAMPLED, 3), (std::vector<Point>{{0, 0}, {3, 0}, {6, 0}, {7, 0}}));
  EXPECT_EQ(Pixels(segment, PXM_SAMPLED, 7), (std::vector<Point>{{0, 0}, {7, 0}}));
  EXPECT_EQ(Pixels(segment, PXM_SAMPLED, 3, 2), (std::vector<Point>{{0, 0}, {3, 0}}));
  EXPECT_EQ(Pixels(segment, PXM_SAMPLED, 3, 0), std::vector<Point>());
  EXPECT_EQ(Pixels(segment, PXM_SAMPLED, 0), std::vector<Point>());
  EXPECT_EQ(Pixels(segment, static_cast<Nx_Pixelate_Mode>(2), 1), std::vector<Point>());
}

}  // namespace
}  // namespace velmora
