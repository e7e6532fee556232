// Quadrilaterals against slow, obvious twins, over all of a small grid.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "tests/geometry/quad_inputs.h"
#include "velmora/foundation/hash_algorithm.h"
#include "velmora/geometry/nx_quad.h"
#include "velmora/geometry/quadrilateral.h"

namespace velmora {
namespace {

using testing::Cross;
using testing::Point;
using testing::Quad4;
using testing::Random;

std::string Text(const Quad4& q) {
  char text[200];
  std::snprintf(text, sizeof text, "(%d,%d) (%d,%d) (%d,%d) (%d,%d)", q[0][0], q[0][1], q[1][0],
                q[1][1], q[2][0], q[2][1], q[3][0], q[3][1]);
  return text;
}

basic_structures::CQuadrilateral Value(const Quad4& q) {
  return {{q[0], q[1], q[2], q[3]}};
}

// The side of p, in whole numbers: 0 if its squared distance from the line is below that of the
// tolerance.
int SideByIntegers(const Point& a, const Point& b, const Point& p, int tolerance) {
  const std::int64_t cross = Cross(a, b, p);
  const std::int64_t squared = std::max<std::int64_t>(testing::SquaredDistance(a, b), 1);
  if (tolerance > 0 && cross * cross < std::int64_t{tolerance} * tolerance * squared) return 0;
  return cross < 0 ? 3 : 1;
}

int RelationByIntegers(const Quad4& q, const Point& p, int tolerance) {
  for (unsigned i = 0; i < 4; ++i) {
    const Point& a = q[i];
    const Point& b = q[(i + 1) % 4];
    const int side = SideByIntegers(a, b, p, tolerance);
    if (side == 3) return 5;
    if (side == 1) continue;
    bool isBeyondOne = false;      // past both ends along some axis
    bool isBetweenNeither = true;  // strictly between the ends along no axis
    for (const int axis : {0, 1}) {
      const int low = std::min(a[axis], b[axis]);
      const int high = std::max(a[axis], b[axis]);
      if (p[axis] < low || p[axis] > high) isBeyondOne = true;
      if (p[axis] > low && p[axis] < high) isBetweenNeither = false;
    }
    return (tolerance == 1 ? isBeyondOne : isBetweenNeither) ? 5 : static_cast<int>(i);
  }
  return 4;
}

// Whether the two diagonals cross each other strictly inside both.
bool DiagonalsCross(const Quad4& q) {
  return Cross(q[0], q[2], q[1]) * Cross(q[0], q[2], q[3]) < 0 &&
         Cross(q[1], q[3], q[0]) * Cross(q[1], q[3], q[2]) < 0;
}

template <typename Polygon>
std::int64_t TwiceShoelace(const Polygon& polygon) {
  std::int64_t sum = 0;
  for (std::size_t i = 0; i < polygon.size(); ++i)
    sum += Cross({0, 0}, polygon[i], polygon[(i + 1) % polygon.size()]);
  return sum;
}

TEST(QuadProperties, PointRelationOfAllSmallQuads) {
  testing::ForEachSmallQuad(4, [](const Quad4& q) {
    const Nx_Quad quad(q.data());
    const basic_structures::CQuadrilateral value = Value(q);
    ASSERT_FALSE(value.Contains(nullptr) || quad.IsPointInQuadrilateral(nullptr));
    for (int y = -1; y <= 4; ++y) {
      for (int x = -1; x <= 4; ++x) {
        const Point p(x, y);
        for (const int tolerance : {0, 1, 2}) {
          ASSERT_EQ(quad.CalcPointPositionRelation(p, tolerance),
                    RelationByIntegers(q, p, tolerance))
              << Text(q) << " at " << x << ',' << y << " tolerance " << tolerance;
        }
        ASSERT_EQ(value.Contains(&p), quad.IsPointInQuadrilateral(&p)) << Text(q);
      }
    }
  });
}

// The squared comparison spares a root and a division; it must decide as they do.
TEST(QuadProperties, SideOfPointsAtAboutTheTolerance) {
  Random random(11);
  for (int i = 0; i < 200'000; ++i) {
    const Point a = random.PointIn(-100'000, 100'000);
    const Point b = random.PointIn(-100'000, 100'000);
    const int tolerance = random.Between(1, 50);
    Nx_LineSegmentEnhanced segment(a, b);
    Point p;
    segment.CalcPointFromRelativeCoord(static_cast<float>(random.Between(0, 1000)) / 1000, p);
    segment.CalcTranslatedPoint(p, i % 2 == 0 ? LSTD_LEFT : LSTD_RIGHT, tolerance, p);
    const auto cross = static_cast<double>(Cross(a, b, p));
    const auto squared = static_cast<double>(testing::SquaredDistance(a, b));
    const int want = tolerance > std::fabs(cross) / std::sqrt(squared) ? 0 : cross < 0 ? 3 : 1;
    ASSERT_EQ(segment.CalcPointPositionStatus(p, tolerance), want);
  }
  const auto side = [](const Point& end, const Point& p, int tolerance) {
    return Nx_LineSegmentEnhanced({0, 0}, end).CalcPointPositionStatus(p, tolerance);
  };
  // Where only the root tells: a distance of 1 less 5e-11, of 1 and of 5 exactly.
  EXPECT_EQ(side({100'000, 1}, {0, 1}, 1), LSPPR_ON_LINE);
  EXPECT_EQ(side({99'999, 0}, {7, 1}, 1), LSPPR_RIGHT);
  EXPECT_EQ(side({40'000, 30'000}, {4'003, 2'996}, 5), LSPPR_LEFT);
}

TEST(QuadProperties, BothRoutesToTheAreaAgreeToTheBit) {
  Random random(12);
  for (int i = 0; i < 50'000; ++i) {
    Quad4 q;
    for (Point& p : q) p = i % 5 == 0 ? random.ExtremePoint() : random.PointIn(-100'000, 100'000);
    const int area = Nx_Quad(q.data()).GetArea(-1, -1);
    ASSERT_EQ(Value(q).GetArea(), area) << Text(q);
    ASSERT_GE(area, 0) << Text(q);
  }
}

TEST(QuadProperties, AreaAndOrderOfAllSmallQuads) {
  testing::ForEachSmallQuad(4, [](const Quad4& q) {
    const bool hasPointEdge = q[0] == q[1] || q[1] == q[2] || q[2] == q[3] || q[3] == q[0];
    const double want = hasPointEdge ? 0 : static_cast<double>(std::abs(TwiceShoelace(q))) / 2;
    ASSERT_NEAR(Nx_Quad(q.data()).GetArea(-1, -1), want, 0.501) << Text(q);
    ASSERT_NEAR(Value(q).GetArea(), want, 0.501) << Text(q);

    const bool isConvex = DiagonalsCross(q);
    ASSERT_EQ(Nx_Quad(q.data()).IsConvex(), isConvex) << Text(q);
    ASSERT_EQ(IsPointsClockWise(q.data()), isConvex && TwiceShoelace(q) > 0) << Text(q);
    const Point* first = std::min_element(q.begin(), q.end(), [](const Point& a, const Point& b) {
      return a[0] + a[1] < b[0] + b[1];
    });
    ASSERT_EQ(Nx_Quad::CalcLeftUpPtIndex(q.data()), first - q.begin()) << Text(q);
    Quad4 sorted = q;
    Nx_Quad::SetVerticesToClockWise(sorted.data(), -1);
    ASSERT_EQ(sorted[0], *first) << Text(q);
    ASSERT_TRUE(std::is_permutation(q.begin(), q.end(), sorted.begin())) << Text(q);
    ASSERT_TRUE(IsPointsClockWise(sorted.data()) || !isConvex) << Text(q);
  });
}

// Every pixel of the box is asked on its own: is it a pixel of an edge, or are there an odd number
// of edges to the left of it?
std::vector<Point> PixelsOneByOne(const Quad4& q, Nx_Pixelate_Mode mode) {
  std::set<std::pair<int, int>> border;  // by row
  for (unsigned i = 0; i < 4; ++i) {
    std::vector<Point> pixels;
    Nx_LineSegmentEnhanced(q[i], q[(i + 1) % 4]).Pixelate(pixels, mode, 1, -1);
    pixels.push_back(q[i]);
    for (const Point& p : pixels) border.emplace(p[1], p[0]);
  }
  const auto [left, right] = std::minmax({q[0][0], q[1][0], q[2][0], q[3][0]});
  const auto [top, bottom] = std::minmax({q[0][1], q[1][1], q[2][1], q[3][1]});
  std::vector<Point> found;
  for (int y = top; y <= bottom; ++y) {
    for (int x = left; x <= right; ++x) {
      const Point p(x, y);
      bool isInside = false;
      bool isOnEdge = false;
      for (unsigned i = 0; i < 4; ++i) {
        const Point& a = q[i];
        const Point& b = q[(i + 1) % 4];
        if ((a[1] <= y) == (b[1] <= y)) continue;
        // Going down, what lies left on the image is on the right-hand side.
        const std::int64_t cross = a[1] < b[1] ? Cross(a, b, p) : Cross(b, a, p);
        isInside ^= cross < 0;
        isOnEdge |= cross == 0;
      }
      if (isInside || isOnEdge || border.count({y, x}) != 0) found.push_back(p);
    }
  }
  return found;
}

TEST(QuadProperties, PixelsOfAllSmallQuads) {
  testing::ForEachSmallQuad(4, [](const Quad4& q) {
    const Nx_Quad quad(q.data());
    for (const Nx_Pixelate_Mode mode : {PXM_SAMPLED, PXM_CHAIN}) {
      std::vector<Point> pixels = {{77, 77}};
      const int count = quad.GetAllPixels(pixels, mode, 0, -1, -1);
      ASSERT_EQ(pixels, PixelsOneByOne(q, mode)) << Text(q);
      ASSERT_EQ(static_cast<std::size_t>(count), pixels.size());
    }
  });
}

TEST(QuadProperties, PixelsShiftedAndClipped) {
  Random random(13);
  for (int i = 0; i < 4'000; ++i) {
    const Quad4 q = random.QuadIn(-15, 40);
    const int shift = i % 3;
    const int width = random.Between(1, 40);
    const int height = random.Between(1, 40);
    const auto mode = static_cast<Nx_Pixelate_Mode>(i % 2);
    Quad4 shifted = q;
    for (Point& p : shifted) p.Set(p[0] >> shift, p[1] >> shift);
    std::vector<Point> want = PixelsOneByOne(shifted, mode);
    SCOPED_TRACE(::testing::Message() << Text(q) << " in " << width << 'x' << height);
    const Nx_Quad quad(q.data());
    std::vector<Point> pixels;
    quad.GetAllPixels(pixels, mode, shift + 32, -1, height);
    ASSERT_EQ(pixels, want) << "shift " << shift;
    ASSERT_LE(pixels.size(), static_cast<std::size_t>(quad.GetAllPixelsReserveSize(shift, -1, -1)));
    const int count = quad.GetAllPixels(pixels, mode, shift, width, height);
    const int reserve = quad.GetAllPixelsReserveSize(shift, width, height);
    const auto isBeyond = [&](const Point& p) {
      return p[0] < 0 || p[1] < 0 || p[0] > (width - 1) >> shift || p[1] > (height - 1) >> shift;
    };
    want.erase(std::remove_if(want.begin(), want.end(), isBeyond), want.end());
    // A coarse cell may reach beyond the image; a quad there has none.
    if (reserve == 0) want.clear();
    ASSERT_EQ(pixels, want) << "shift " << shift;
    ASSERT_LE(count, reserve) << "shift " << shift;
  }
}

TEST(QuadProperties, PixelsOfAHugeQuadStayInTheImage) {
  constexpr int kFar = 2'000'000'000;
  const Point vertices[] = {{-kFar, -kFar}, {kFar, -kFar}, {kFar, kFar}, {-kFar, kFar}};
  const Nx_Quad quad(vertices);
  std::vector<Point> pixels;
  EXPECT_EQ(quad.GetAllPixels(pixels, PXM_CHAIN, 0, 30, 20), 600);
  EXPECT_EQ(quad.GetAllPixels(pixels, PXM_CHAIN, 0, 0, 20), 0);
  constexpr int kLast = 0x7FFFFFFF;
  const Point widest[] = {{-kLast - 1, 0}, {3, 0}, {3, 3}, {-kLast - 1, 3}};
  EXPECT_EQ(Nx_Quad(widest).GetAllPixels(pixels, PXM_CHAIN, 0, -kLast - 1, 4), 0);
  EXPECT_EQ(quad.GetAllPixels(pixels, static_cast<Nx_Pixelate_Mode>(2), 0, 30, 20), 0);
  const Point left[] = {{-9, 0}, {-1, 0}, {-1, 5}, {-9, 5}};
  EXPECT_EQ(Nx_Quad(left).GetAllPixelsReserveSize(0, 30, 20), 0);
  EXPECT_EQ(Nx_Quad(left).GetAllPixelsReserveSize(0, 30, -1), 54);
  const Point tallest[] = {{0, -kLast - 1}, {1, -kLast - 1}, {1, kLast}, {0, kLast}};
  EXPECT_THROW(Nx_Quad(tallest).GetAllPixels(pixels, PXM_CHAIN, 0, -1, -1), std::length_error)
      << "2^32 rows, which wrap to none where a size has 32 bits";
}

// from + numerator / denominator * delta, halves away from zero: exact, within 53 bits.
int ExactFraction(int from, std::int64_t numerator, std::int64_t denominator, std::int64_t delta) {
  const auto product = static_cast<double>(from * denominator + numerator * delta);
  return static_cast<int>(std::round(product / static_cast<double>(denominator)));
}

std::vector<Point> ClipByIntegers(const Quad4& clipper, const Quad4& subject) {
  std::vector<Point> polygon(subject.begin(), subject.end());
  for (unsigned i = 0; i < 4 && polygon.size() >= 3; ++i) {
    const Point& a = clipper[i];
    const Point& b = clipper[(i + 1) % 4];
    std::vector<Point> left;
    for (std::size_t j = 0; j < polygon.size(); ++j) {
      const Point& p = polygon[j];
      const Point& next = polygon[(j + 1) % polygon.size()];
      const int side = SideByIntegers(a, b, p, 1);
      const int nextSide = SideByIntegers(a, b, next, 1);
      if (side != 3) left.push_back(p);
      if (side + nextSide != 4) continue;
      const std::int64_t from = Cross(a, b, p);
      const std::int64_t range = from - Cross(a, b, next);
      left.emplace_back(ExactFraction(p[0], from, range, next[0] - p[0]),
                        ExactFraction(p[1], from, range, next[1] - p[1]));
    }
    polygon = left;
  }
  return polygon;
}

TEST(QuadProperties, OverlapPolygonsAreTheExactClips) {
  Random random(14);
  std::size_t mostPoints = 0;
  for (int i = 0; i < 100'000; ++i) {
    const int reach = i % 2 == 0 ? 12 : 3'000;
    const Quad4 a = random.QuadIn(-reach / 2, reach);
    const Quad4 b = random.QuadIn(-reach / 2, reach);
    const std::vector<Point> want = ClipByIntegers(a, b);
    const Nx_Quad quad(a.data());
    const Nx_Quad other(b.data());
    std::vector<Point> polygon;
    quad.GetOverlappingPolygonPointsWithOtherQuad(&other, polygon);
    ASSERT_EQ(polygon, want) << Text(a) << " clips " << Text(b);
    const auto area = static_cast<double>(std::abs(TwiceShoelace(want))) / 2;
    ASSERT_EQ(quad.CalcOverlappingAreaWithOtherQuad(&other),
              want.size() < 3 ? 0.0F : static_cast<float>(area));
    mostPoints = std::max(mostPoints, want.size());
  }
  EXPECT_GT(mostPoints, 8U) << "folded quadrilaterals cross a line more than twice";
  std::vector<Point> polygon(1);
  Nx_Quad().GetOverlappingPolygonPointsWithOtherQuad(nullptr, polygon);
  EXPECT_TRUE(polygon.empty());
  EXPECT_EQ(Nx_Quad().CalcOverlappingAreaWithOtherQuad(nullptr), 0.0F);
}

TEST(QuadProperties, TextIsTheFormattedVerticesAndTheirHashTheId) {
  Random random(15);
  for (unsigned i = 0; i < 1'000; ++i) {
    Quad4 q = random.QuadIn(-9, 200);
    if (i % 2 == 0) q[i / 2 % 4] = random.ExtremePoint();
    Nx_Quad quad(q.data());
    quad.CalcHashID();
    const std::string text = Text(q);
    ASSERT_EQ(quad.toString(), text);
    ASSERT_EQ(quad.GetObjectId(), NxHashAlgorithm::Generate_BKDRHash(
                                      text.data(), static_cast<std::uint32_t>(text.size())));
  }
}

}  // namespace
}  // namespace velmora
