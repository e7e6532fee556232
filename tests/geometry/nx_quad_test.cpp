#include "tests/geometry/quad_inputs.h"
#include "velmora/geometry/internal/quad_math.h"

namespace velmora {
namespace {

using basic_structures::CRect;
using Point = NxPoint_<int>;
using Points = std::vector<Point>;

const Point kSquare[] = {{0, 0}, {10, 0}, {10, 10}, {0, 10}};
const Point kReversed[] = {{0, 0}, {0, 10}, {10, 10}, {10, 0}};
const Point kSlanted[] = {{0, 0}, {20, 2}, {18, 13}, {-3, 10}};

Points Vertices(const Nx_Quad& quad) {
  return {quad.GetVertices(), quad.GetVertices() + 4};
}

std::vector<int> Angles(const Nx_Quad& quad) {
  return {quad.GetInteriorAngles(), quad.GetInteriorAngles() + 4};
}

// Edges run from vertex to vertex and remember nothing of earlier ones.
void ExpectConsistent(const Nx_Quad& quad) {
  for (int i = 0; i < 4; ++i) {
    const Nx_LineSegmentEnhanced& edge = quad.GetEdges()[i];
    const Nx_LineSegmentEnhanced fresh(quad.GetVertices()[i], quad.GetVertices()[(i + 1) % 4]);
    EXPECT_EQ(edge.GetStartPoint(), fresh.GetStartPoint());
    EXPECT_EQ(edge.GetEndPoint(), fresh.GetEndPoint());
    EXPECT_EQ(edge.GetRealLength(), fresh.GetRealLength());
    EXPECT_EQ(edge.CalcAngle(), fresh.CalcAngle());
  }
  const Nx_Quad fresh(quad.GetVertices());
  EXPECT_EQ(quad.GetArea(-1, -1), fresh.GetArea(-1, -1));
  EXPECT_EQ(quad.GetCentralPoint(), fresh.GetCentralPoint());
  EXPECT_EQ(quad.IsClockWise(), fresh.IsClockWise());
}

TEST(Quad, HandsOutEdgesDirectionAndText) {
  Nx_Quad square(kSquare);
  Nx_LineSegmentEnhanced edges[4];
  square.GetEdges(edges, 3);
  EXPECT_EQ(edges[2].GetStartPoint(), Point()) << "all four or nothing";
  square.GetEdges(edges, 4);
  EXPECT_EQ(edges[2].GetStartPoint(), kSquare[2]);
  EXPECT_EQ(square.GetOrientationAngle(AD_360), 0);
  square.CalcHashID();
  const std::string& text = square.toString();
  EXPECT_EQ(text, "(0,0) (10,0) (10,10) (0,10)");
  EXPECT_EQ(square.GetObjectId(), NxHashAlgorithm::Generate_BKDRHash(text.data(), 27));
  const Points farthest(4, {-0x7FFFFFFF - 1, -0x7FFFFFFF - 1});
  EXPECT_EQ(Nx_Quad(farthest.data()).toString().size(), 103U);
}

TEST(Quad, AreaBeyondTheImageOrOfNothing) {
  const Point left[] = {{-20, 0}, {-10, 0}, {-10, 10}, {-20, 10}};
  const Nx_Quad quad(left);
  EXPECT_EQ(quad.GetArea(50, 50), 0);
  EXPECT_EQ(quad.GetArea(-1, 50), 100) << "no clipping unless both are given";
  EXPECT_EQ(quad.GetArea(50, 50), 100) << "remembered";
  const Point flat[] = {{0, 0}, {100, 1}, {200, 2}, {300, 3}};
  EXPECT_EQ(Nx_Quad(flat).GetArea(-1, -1), 0) << "Heron's product may be negative";
}

TEST(Quad, AreaIsThatOfTheLengthsThatTheEdgesKnow) {
  const Point rectangle[] = {{0, 0}, {5'000, 0}, {5'000, 10}, {0, 10}};
  Nx_Quad fresh(rectangle);
  EXPECT_EQ(fresh.GetArea(-1, -1), 50'000);
  fresh.GetEdges()[1].Rotate(LSPA_START, 10);
  EXPECT_EQ(fresh.GetEdges()[1].GetRealLength(), 10) << "measured before, and kept";
  Nx_Quad moved(rectangle);
  moved.GetEdges()[0].SetEndPoint({3'000, 0});
  EXPECT_NE(moved.GetArea(-1, -1), 50'000) << "the edge's own ends";
  Nx_Quad flat(rectangle);
  flat.GetEdges()[2].SetEndPoint({5'000, 10});
  EXPECT_EQ(flat.GetArea(-1, -1), 0) << "an edge without length";
}

// The lengths, two by two with the processor's vectors and one after the other, in quadrilaterals
// whose squares lie on both sides of what a float holds exactly.
TEST(Quad, AreaIsTheSameWithoutVectors) {
  testing::Random random(16);
  for (int i = 0; i < 200'000; ++i) {
    constexpr int kReach[] = {3, 100, 2'900, 5'000, 1'000'000};
    const testing::Quad4 v = i % 8 == 0
                                 ? testing::Quad4{random.ExtremePoint(), random.ExtremePoint(),
                                                  random.ExtremePoint(), random.ExtremePoint()}
                                 : random.QuadIn(0, kReach[i % 5]);
    const auto startOf = [&](int k) { return v[static_cast<unsigned>(k)]; };
    const auto endOf = [&](int k) { return v[static_cast<unsigned>(k + 1) % 4]; };
    const auto [even, odd, diagonal] =
        internal::MeasureQuad<internal::PlainPair>(v.data(), startOf, endOf);
    const int area = (even * odd).HasZero() ? 0 : internal::QuadArea(v.data(), even, odd, diagonal);
    ASSERT_EQ(Nx_Quad(v.data()).GetArea(-1, -1), area) << i;
    for (int k = 0; k < 4; ++k) {
      const Point start = startOf(k), end = endOf(k);
      const double dx = 1.0 * end[0] - start[0], dy = 1.0 * end[1] - start[1];
      const internal::PlainPair& lengths = k % 2 == 0 ? even : odd;
      ASSERT_EQ(k < 2 ? lengths.First() : lengths.Second(),
                static_cast<double>(static_cast<float>(std::sqrt(dx * dx + dy * dy))));
    }
  }
}

TEST(Quad, ClonesLeaveTheIdBehind) {
  Nx_Quad source(kSlanted);
  source.CalcHashID();
  source.GetArea(-1, -1);
  Nx_Quad clone(kReversed);
  clone.GetArea(-1, -1);
  clone.GetCentralPoint();
  clone.GetInteriorAngles();
  clone.CloneQuad(source);
  EXPECT_EQ(Vertices(clone), Vertices(source));
  EXPECT_EQ(Angles(clone), Angles(source)) << "none of its own left";
  EXPECT_FALSE(clone.HasObjectId());
  ExpectConsistent(clone);
  EXPECT_EQ(Nx_Quad(source).GetObjectId(), source.GetObjectId()) << "copies take it along";
  basic_structures::CQuadrilateral value;
  value.id = 9;
  source.ConvertToQuadrilateral(value);
  EXPECT_EQ(value.points[2], kSlanted[2]);
  EXPECT_EQ(value.id, 9);
}

TEST(Quad, ReorderingMovesEverythingAlong) {
  const Nx_Quad original(kSlanted);
  const std::vector<int> angles = Angles(original);
  for (int k = -1; k <= 4; ++k) {
    SCOPED_TRACE(k);
    const Nx_Quad quad(original, static_cast<Nx_Quad_Vertex_Index>(k));
    const int first = k < 1 || k > 3 ? 0 : k;
    for (int i = 0; i < 4; ++i) {
      EXPECT_EQ(quad.GetVertices()[i], kSlanted[(first + i) % 4]);
      EXPECT_EQ(quad.GetInteriorAngles()[i], angles[static_cast<std::size_t>((first + i) % 4)]);
    }
    ExpectConsistent(quad);
  }
}

TEST(Quad, BuiltFromEdgesMeetsWhereTheyIntersect) {
  const Nx_LineSegmentEnhanced edges[] = {
      {{3, 0}, {5, 0}}, {{10, 3}, {10, 4}}, {{9, 10}, {8, 10}}, {{0, 9}, {0, 2}}};
  EXPECT_EQ(Vertices(Nx_Quad(edges)), Points(kSquare, kSquare + 4));
  ExpectConsistent(Nx_Quad(edges));
  const Nx_LineSegmentEnhanced parallel[] = {
      {{3, 0}, {5, 0}}, {{7, 2}, {9, 2}}, {{9, 10}, {9, 12}}, {{0, 9}, {0, 2}}};
  EXPECT_EQ(Vertices(Nx_Quad(parallel)), (Points{{0, 0}, {7, 2}, {9, 2}, {0, 9}}))
      << "vertices 1 and 3 take the start of their edge";
}

TEST(Quad, EdgesMoveInwardAndOutwardForEitherOrientation) {
  for (const Point* vertices : {kSquare, kReversed}) {
    for (int i = 0; i < 4; ++i) {
      SCOPED_TRACE(i);
      const auto edge = static_cast<Nx_Quad_Edge_Index>(i);
      Nx_Quad quad(vertices);
      Nx_LineSegment moved;
      quad.GetTranslatedEdge(edge, QETD_INWARD, 2, moved);
      quad.GetCentralPoint();
      quad.TranslateEdge(edge, QETD_INWARD, 2);
      EXPECT_EQ(quad.GetArea(-1, -1), 80);
      EXPECT_EQ(moved.GetStartPoint(), quad.GetVertices()[i]);
      EXPECT_EQ(moved.GetEndPoint(), quad.GetVertices()[(i + 1) % 4]);
      ExpectConsistent(quad);
      const auto anyOther = static_cast<Nx_Quad_Edge_Translating_Direction>(7);
      quad.TranslateEdge(edge, anyOther, 4);
      EXPECT_EQ(quad.GetArea(-1, -1), 120) << "outward";
    }
  }
  Nx_LineSegment turned;
  const Nx_Quad square(kSquare);
  square.GetRotatedEdge(QEI_1, true, LSPA_START, 90, turned);
  EXPECT_EQ(turned.GetEndPoint(), Point(0, 0));
  square.GetRotatedEdge(QEI_2, true, static_cast<Nx_LS_Point_Alignment>(3), 90, turned);
  EXPECT_EQ(turned.GetEndPoint(), Point(0, 0)) << "left alone for an unknown pivot";
}

TEST(Quad, BoundsAndShortEdges) {
  const Point vertices[] = {{-5, 3}, {12, -1}, {14, 9}, {4, 20}};
  Nx_Quad quad(vertices);
  quad.GetArea(-1, -1);
  quad.GetCentralPoint();
  quad.GetInteriorAngles();
  EXPECT_TRUE(quad.IsOutOfBounds(10, 10));
  quad.MakeQuadInBounds(10, 10);
  EXPECT_EQ(Angles(quad), Angles(Nx_Quad(quad.GetVertices()))) << "computed anew";
  EXPECT_EQ(Vertices(quad), (Points{{0, 3}, {9, 0}, {9, 9}, {4, 9}}));
  EXPECT_FALSE(quad.IsOutOfBounds(10, 10));
  ExpectConsistent(quad);
  quad.MakeQuadInBounds(0, 0);
  EXPECT_EQ(Vertices(quad), Points(4));
  for (const int height : {2, 3}) {
    const Point thin[] = {{0, 0}, {10, 0}, {10, height}, {0, 9}};
    EXPECT_EQ(Nx_Quad(thin).QuadHasExtremelyShortEdge(), height < 3);
  }
}

TEST(Quad, ForgetsItsMeasuresBeforeItTellsTheDerivedClass) {
  struct Counting : Nx_Quad {
    using Nx_Quad::Nx_Quad;
    void Init() override { areas.push_back(GetArea(-1, -1)); }
    std::vector<int> areas;
  } quad(kSquare);
  quad.GetArea(-1, -1);
  quad.GetEdges()[1].SetVertices({10, 0}, {10, 6});
  quad.InitQuad();
  EXPECT_EQ(quad.areas.size(), 1U);
  EXPECT_NE(quad.areas.at(0), 100) << "computed anew, from the moved edge";
}

TEST(Quad, SidesOfPointsAreThoseOfTheEdges) {
  Nx_Quad quad(kSquare);
  quad.GetEdges()[1].TranslateBasedOnDirection(LSTD_RIGHT, 4);
  EXPECT_EQ(quad.CalcPointPositionRelation({8, 5}, 1), QPPR_OUTSIDE);
  const Nx_Quad other(kSquare);
  EXPECT_EQ(quad.CalcOverlappingAreaWithOtherQuad(&other), 60.0F);
  Points polygon(1);
  quad.GetOverlappingPolygonPointsWithOtherQuad(nullptr, polygon);
  EXPECT_TRUE(polygon.empty() && quad.CalcOverlappingAreaWithOtherQuad(nullptr) == 0);
}

TEST(Quad, QuickOverlapTest) {
  const auto overlap = [](const CRect& a, const CRect& b, float expandRatio) {
    const auto quad = [](const CRect& r) {
      const Point v[] = {
          {r.left, r.top}, {r.right, r.top}, {r.right, r.bottom}, {r.left, r.bottom}};
      return Nx_Quad(v);
    };
    EXPECT_EQ(quad(a).IsOverlapWithOtherQuad(quad(b), expandRatio),
              quad(b).IsOverlapWithOtherQuad(quad(a), expandRatio));
    return quad(a).IsOverlapWithOtherQuad(quad(b), expandRatio);
  };
  const CRect bar(0, 0, 1000, 9), next(0, 1000, 2000, 9), beyond(0, 1002, 2002, 9);
  EXPECT_TRUE(overlap(bar, beyond, 0.001F)) << "expanded by one: 0.001F is more than 0.001";
  EXPECT_FALSE(overlap(bar, beyond, 0.00099F)) << "too small to expand";
  EXPECT_FALSE(overlap(bar, next, -0.001F)) << "touching, shrunk by one";
  EXPECT_FALSE(overlap(bar, {-30, 400, 402, 12}, 0)) << "a plus sign off the centres";
  EXPECT_TRUE(overlap(bar, {-10, 499, 501, 20}, 0)) << "a plus sign at the centres";
}

TEST(Quad, SortsFromAChosenVertex) {
  Point v[] = {{0, 0}, {0, 10}, {10, 10}, {10, 0}};
  Nx_Quad::SetVerticesToClockWise(v, 2);
  EXPECT_EQ(Points(v, v + 4), (Points{{10, 10}, {0, 10}, {0, 0}, {10, 0}}));
  const Point none[] = {{0x7FFFFFFF, 0}, {0x7FFFFFFF, 0}, {0x7FFFFFFF, 0}, {0x7FFFFFFF, 0}};
  EXPECT_EQ(Nx_Quad::CalcLeftUpPtIndex(none), -1);
}

}  // namespace
}  // namespace velmora
