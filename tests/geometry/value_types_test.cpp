#include <gtest/gtest.h>

#include <utility>
#include <vector>

#include "velmora/geometry/contour.h"
#include "velmora/geometry/corner.h"
#include "velmora/geometry/line_segment.h"
#include "velmora/geometry/math_utils.h"
#include "velmora/geometry/point.h"
#include "velmora/geometry/quad2f.h"
#include "velmora/geometry/quadrilateral.h"
#include "velmora/geometry/vector4.h"

namespace velmora::basic_structures {
namespace {

TEST(Point, TransformTruncatesTowardZero) {
  struct Row {
    const char* name;
    double m[9];
    NxPoint_<int> from, want;
  };
  constexpr int kNoInt = -2147483647 - 1;
  const Row rows[] = {
      {"identity", {1, 0, 0, 0, 1, 0, 0, 0, 1}, {7, -9}, {7, -9}},
      {"3.99 and -3.99", {1, 0, 0.99, 0, 1, -0.99, 0, 0, 1}, {3, -3}, {3, -3}},
      {"rows and columns in their places", {0, 2, 1, 3, 0, 5, 0, 0, 1}, {10, 20}, {41, 35}},
      {"w divides", {1, 0, 0, 0, 1, 0, 0.1, 0, 1}, {10, 30}, {5, 15}},
      {"w is 0", {1, 0, 0, 0, 1, 0, 0, 0, 0}, {10, 0}, {kNoInt, kNoInt}},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(NxPoint_<int>::TransformCoordinates(row.from, row.m), row.want);
  }
}

TEST(Point, DistanceAndClockwiseOrder) {
  EXPECT_EQ(NxPoint_<int>(1, 2).DistanceTo({4, -2}), 5.0);
  EXPECT_EQ(NxPoint_<int>(-100'000, 0).DistanceTo({100'000, 0}), 200'000.0);
  const NxPoint_<int> square[] = {{0, 0}, {10, 0}, {10, 10}, {0, 10}};
  const NxPoint_<int> reversed[] = {{0, 10}, {10, 10}, {10, 0}, {0, 0}};
  const NxPoint_<int> straight[] = {{0, 0}, {5, 0}, {10, 0}, {10, 10}};
  const NxPoint_<int> concave[] = {{0, 0}, {10, 0}, {3, 3}, {0, 10}};
  EXPECT_TRUE(IsPointsClockWise(square));
  EXPECT_FALSE(IsPointsClockWise(reversed));
  EXPECT_FALSE(IsPointsClockWise(straight)) << "a turn of zero";
  EXPECT_FALSE(IsPointsClockWise(concave));
}

TEST(MathUtils, RoundsHalvesAwayFromZero) {
  struct Row {
    float v;
    int want;
  };
  for (const Row& row : {Row{2.5F, 3}, Row{-2.5F, -3}, Row{-0.4F, 0}, Row{0.0F, 0}, Row{0.5F, 1},
                         Row{0.49999997F, 0}, Row{8388607.5F, 8388608}, Row{16777217.0F, 16777216},
                         Row{2147483520.0F, 2147483520}, Row{3e9F, -2147483647 - 1}}) {
    EXPECT_EQ(MathUtils::round(row.v), row.want) << row.v;
  }
}

TEST(MathUtils, IntDistanceWrapsAndFloatDistanceDoesNot) {
  EXPECT_EQ(MathUtils::distance(1, 2, 4, -2), 5.0F);
  EXPECT_EQ(MathUtils::distance(0, 0, 46'340, 0), 46'340.0F);
  EXPECT_EQ(MathUtils::distance(0, 0, 65'536, 3), 3.0F) << "2^32 + 9 wraps to 9";
  EXPECT_EQ(MathUtils::distance(0.0F, 0.0F, 65'536.0F, 0.0F), 65'536.0F);
}

TEST(LineSegment, ChangingAnEndCallsTheHookOnce) {
  class Counting : public CLineSegment {
   public:
    int calls = 0;

   protected:
    void Init() override { ++calls; }
  } segment;
  EXPECT_EQ(segment.GetId(), -1);
  segment.SetId(7);
  EXPECT_EQ(segment.calls, 0);
  EXPECT_EQ(segment.GetEndPoint(), (NxPoint_<int>(0, 0)));
  segment.SetStartPoint({1, 2});
  EXPECT_EQ(segment.calls, 1);
  segment.SetEndPoint({3, 4});
  EXPECT_EQ(segment.calls, 2);
  const CLineSegment copy = segment;
  EXPECT_EQ(copy.GetStartPoint(), (NxPoint_<int>(1, 2)));
  EXPECT_EQ(copy.GetEndPoint(), (NxPoint_<int>(3, 4)));
  EXPECT_EQ(copy.GetId(), 7);
}

TEST(ValueTypes, StartEmpty) {
  const CEdge edge;
  EXPECT_EQ(edge.startCorner.cornerType, 0);
  EXPECT_EQ(edge.endCorner.lineB.GetId(), -1);
  EXPECT_EQ(NxQuad2f().vertices[3], (NxPoint_<int>(0, 0)));
  CVector4 vector;
  EXPECT_EQ(vector[3], 0);
  vector.Set(1, 2, 3, 4);
  vector[1] = 5;
  EXPECT_EQ(vector.value[1], 5);
  EXPECT_EQ(std::as_const(vector)[3], 4);
}

TEST(Quadrilateral, BoundingRectIgnoresOrderAndId) {
  CQuadrilateral quad{{{5, 1}, {9, 4}, {2, 7}, {6, 3}}, 12};
  const CRect rect = quad.GetBoundingRect();
  EXPECT_EQ(rect.top, 1);
  EXPECT_EQ(rect.left, 2);
  EXPECT_EQ(rect.right, 9);
  EXPECT_EQ(rect.bottom, 7);
  EXPECT_EQ(rect.id, -1);
}

TEST(Quadrilateral, ContainsOnlyWhatIsInsideAndClockwise) {
  const CQuadrilateral square{{{0, 0}, {10, 0}, {10, 10}, {0, 10}}};
  const CQuadrilateral reversed{{{0, 0}, {0, 10}, {10, 10}, {10, 0}}};
  EXPECT_FALSE(square.Contains(nullptr));
  for (int y = -2; y <= 12; ++y) {
    for (int x = -2; x <= 12; ++x) {
      const NxPoint_<int> p(x, y);
      EXPECT_EQ(square.Contains(&p), x > 0 && x < 10 && y > 0 && y < 10) << x << ' ' << y;
      EXPECT_FALSE(reversed.Contains(&p)) << x << ' ' << y;
    }
  }
}

int releasedCount = 0;
const NxPoint_<int>* releasedPoints = nullptr;

void CountRelease(const NxPoint_<int>* points) {
  ++releasedCount;
  releasedPoints = points;
}

TEST(Contour, ReleasesPointsOnceAndCopiesDeeply) {
  const std::vector<NxPoint_<int>> points = {{1, 2}, {3, 4}, {5, 6}};
  releasedCount = 0;
  {
    CContour owner;
    owner.SetPoints(3, points.data(), CountRelease);
    CContour copy(owner);
    EXPECT_NE(copy.GetPoints(), owner.GetPoints());
    EXPECT_EQ(copy.GetPoints()[2], points[2]);
    copy = *&copy;
    ASSERT_EQ(copy.GetPointsCount(), 3);
    EXPECT_EQ(copy.GetPoints()[1], points[1]);

    CContour moved(std::move(owner));
    EXPECT_EQ(owner.GetPoints(), nullptr);
    EXPECT_EQ(owner.GetPointsCount(), 0);
    EXPECT_EQ(moved.GetPoints(), points.data());
    copy = std::move(moved);
    EXPECT_EQ(releasedCount, 0);
    copy = CContour();
    EXPECT_EQ(releasedCount, 1);
    EXPECT_EQ(releasedPoints, points.data());
    moved.SetPoints(3, points.data(), CountRelease);
    moved = std::as_const(copy);
    EXPECT_EQ(releasedCount, 2) << "an empty source empties the target";
    EXPECT_EQ(moved.GetPoints(), nullptr);
    copy.SetPoints(3, points.data(), nullptr);
  }
  EXPECT_EQ(releasedCount, 2) << "borrowed points are left alone";
}

}  // namespace
}  // namespace velmora::basic_structures
