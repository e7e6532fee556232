#include "tests/geometry/quad_inputs.h"

namespace velmora {
namespace {

using basic_structures::CContour;
using basic_structures::CLineSegment;
using basic_structures::CQuadrilateral;
using testing::Point;
using Matrix = std::array<double, 9>;

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

TEST(LineSegment, ChangingAnEndCallsTheHookOnce) {
  struct Counting : CLineSegment {
    using CLineSegment::CLineSegment;
    void Init() override { seen.emplace_back(GetStartPoint()[0], GetEndPoint()[1]); }
    std::vector<Point> seen;
  } segment({9, 9}, {5, 6}, 7);
  segment.SetStartPoint({1, 2});
  segment.SetEndPoint({3, 4});
  EXPECT_EQ(segment.seen, (std::vector<Point>{{1, 6}, {1, 4}})) << "after the change";
}

int releasedCount = 0;
const Point* releasedPoints = nullptr;

void CountRelease(const Point* points) {
  ++releasedCount;
  releasedPoints = points;
}

TEST(Contour, ReleasesPointsOnceAndCopiesDeeply) {
  const std::vector<Point> points = {{1, 2}, {3, 4}, {5, 6}};
  releasedCount = 0;
  {
    CContour owner;
    owner.SetPoints(3, points.data(), CountRelease);
    CContour copy(owner);
    const Point* const copied = copy.GetPoints();
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
    copy.SetPoints(0, points.data(), nullptr);
    EXPECT_EQ(CContour(copy).GetPoints(), nullptr) << "so do points without a count";
    copy.SetPoints(3, points.data(), nullptr);
    moved.SetPoints(0, nullptr, CountRelease);
  }
  EXPECT_EQ(releasedCount, 3) << "borrowed points are left alone, null points are not";
}

constexpr Matrix kIdentity = {1, 0, 0, 0, 1, 0, 0, 0, 1};

Matrix Shift(double x, double y) {
  return {1, 0, x, 0, 1, y, 0, 0, 1};
}

TEST(CoordinateTransform, IdentityWithinTheTolerance) {
  const auto isIdentityBut = [](std::size_t i, double change) {
    Matrix m = kIdentity;
    m[i] += change;
    return IsIdentityTransformMatrix(m.data());
  };
  for (std::size_t i = 0; i < 9; ++i) {
    for (const double change : {-9e-6, 9e-6, -1.00001e-5, 1.00001e-5, std::nan("")}) {
      EXPECT_EQ(isIdentityBut(i, change), std::fabs(change) < 1e-5) << i << " by " << change;
    }
  }
  EXPECT_FALSE(isIdentityBut(1, 0.00001)) << "the tolerance itself is too much";
}

TEST(CoordinateTransform, InversesCancelInTheStatedOrder) {
  const Matrix a = {2, 1, 5, -1, 3, 7, 0.001, 0, 1};
  // The inverse, from the adjugate over the determinant.
  Matrix b = {3, -1, -8, 1.007, 1.995, -19, -0.003, 0.001, 7};
  for (double& element : b) element /= 2 * 3 + 1.007 * 1 - 0.015;
  EXPECT_TRUE(IsInverseTransformMatrices(a.data(), b.data()));
  const CQuadrilateral q{{{1, 1}, {101, 3}, {98, 77}, {-4, 60}}};
  Point out[4];
  EXPECT_TRUE(ConvertQuadrilateralWithDiffCoordinates(q, a.data(), b.data(), out));
  EXPECT_TRUE(std::equal(out, out + 4, q.points)) << "not truncated twice";
  // Only the product of the second and the first counts: within the tolerance one way round alone.
  const Matrix far = Shift(1000, 0);
  const Matrix nearlyBack = {0.999991, 0, -1000, 0, 1, 0, 0, 0, 1};
  EXPECT_TRUE(ConvertQuadrilateralWithDiffCoordinates(q, nearlyBack.data(), far.data(), out));
  EXPECT_EQ(out[0], q.points[0]) << "skipped";
  EXPECT_TRUE(ConvertQuadrilateralWithDiffCoordinates(q, far.data(), nearlyBack.data(), out));
  EXPECT_EQ(out[0], Point(0, 1)) << "applied, and truncated";
}

TEST(CoordinateTransform, TruncatesAfterEachMatrix) {
  const CQuadrilateral q{{{13, 0}, {13, 9}, {3, 9}, {3, 0}}};
  const CQuadrilateral concave{{{10, 0}, {4, 4}, {0, 10}, {0, 0}}};
  const Matrix halfRight = Shift(0.5, 0);
  const Matrix twiceAsWide = {2, 0, 0, 0, 1, 0, 0, 0, 1};
  Point out[4];
  EXPECT_TRUE(
      ConvertQuadrilateralWithDiffCoordinates(q, halfRight.data(), twiceAsWide.data(), out));
  EXPECT_EQ(out[3], Point(6, 0)) << "truncated twice, the first matrix first";
  EXPECT_FALSE(ConvertQuadrilateralWithTransformMat(concave, halfRight.data(), out));
  EXPECT_EQ(out[0], Point(0, 0)) << "reordered although it runs clockwise";
}

}  // namespace
}  // namespace velmora
