#include <gtest/gtest.h>

#include <utility>
#include <vector>

#include "velmora/geometry/contour.h"
#include "velmora/geometry/corner.h"
#include "velmora/geometry/line_segment.h"
#include "velmora/geometry/math_utils.h"
#include "velmora/geometry/point.h"
#include "velmora/geometry/vector4.h"

namespace velmora::basic_structures {
namespace {

TEST(MathUtils, RoundsHalvesAwayFromZero) {
  struct Row {
    float v;
    int want;
  };
  for (const Row& row :
       {Row{2.5F, 3}, Row{-2.5F, -3}, Row{-0.4F, 0}, Row{0.49999997F, 0}, Row{8388607.5F, 8388608},
        Row{16777217.0F, 16777216}, Row{3e9F, -2147483647 - 1}}) {
    EXPECT_EQ(MathUtils::round(row.v), row.want) << row.v;
  }
}

TEST(MathUtils, IntDistanceWrapsAndOthersDoNot) {
  EXPECT_EQ(MathUtils::distance(0, 0, 46'340, 0), 46'340.0F);
  EXPECT_EQ(MathUtils::distance(0, 0, 65'536, 3), 3.0F) << "2^32 + 9 wraps to 9";
  EXPECT_EQ(MathUtils::distance(1.0F, 2.0F, 65'537.0F, 2.0F), 65'536.0F);
  EXPECT_EQ(NxPoint_<int>(-30'000, 40'000).DistanceTo({30'000, -40'000}), 100'000.0);
}

TEST(LineSegment, ChangingAnEndCallsTheHookOnce) {
  struct Counting : CLineSegment {
    using CLineSegment::CLineSegment;
    void Init() override { seen.emplace_back(GetStartPoint()[0], GetEndPoint()[1]); }
    std::vector<NxPoint_<int>> seen;
  } segment({9, 9}, {5, 6}, 7);
  EXPECT_EQ(segment.GetId(), 7);
  segment.SetId(8);
  segment.SetStartPoint({1, 2});
  segment.SetEndPoint({3, 4});
  EXPECT_EQ(segment.seen, (std::vector<NxPoint_<int>>{{1, 6}, {1, 4}})) << "after the change";
}

TEST(ValueTypes, StartEmpty) {
  const CEdge edge;
  EXPECT_EQ(edge.startCorner.cornerType, 0);
  EXPECT_EQ(edge.endCorner.lineB.GetId(), -1);
  CVector4 vector;
  vector.Set(1, 2, 3, 4);
  EXPECT_EQ(std::as_const(vector)[3], 4);
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
    const NxPoint_<int>* const copied = copy.GetPoints();
    EXPECT_NE(copied, owner.GetPoints());
    CContour& same = copy;
    copy = same;
    copy = std::move(same);
    EXPECT_EQ(copy.GetPoints(), copied);
    ASSERT_EQ(copy.GetPointsCount(), 3);
    EXPECT_EQ(copy.GetPoints()[2], points[2]);

    CContour moved(std::move(owner));
    EXPECT_EQ(owner.GetPoints(), nullptr);
    EXPECT_EQ(owner.GetPointsCount(), 0);
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
