#include "velmora/geometry/nx_quad.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "tests/support/virtual_slots.h"
#include "velmora/foundation/hash_algorithm.h"

namespace velmora {
namespace {

using Point = NxPoint_<int>;

const Point kSquare[] = {{0, 0}, {10, 0}, {10, 10}, {0, 10}};
const Point kReversed[] = {{0, 0}, {0, 10}, {10, 10}, {10, 0}};

std::vector<Point> Vertices(const Nx_Quad& quad) {
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

// Modules derive from these classes: the virtual operations stay where they are.
TEST(Quad, KeepsTheOrderOfVirtualOperations) {
  struct Opened : Nx_Quad {
    static int Last() { return testing::SlotOf(&Opened::CalcIntersectionsOfEdges); }
  };
  EXPECT_EQ(testing::SlotOf(&Nx_Quad::GetArea), 1);
  EXPECT_EQ(testing::SlotOf(&Nx_Quad::IsPointInQuadrilateral), 2);
  EXPECT_EQ(testing::SlotOf(&Nx_Quad::Init), 3);
  EXPECT_EQ(testing::SlotOf(&Nx_Quad::toString), 4);
  EXPECT_EQ(Opened::Last(), 5);
  EXPECT_EQ(testing::CountVirtualOperations<Nx_Quad>(), 6);
  // Init comes before the destructor here, so table and slot differ from it on only.
  struct OpenedSegment : Nx_LineSegmentEnhanced {
    static int First() { return testing::TableIndex(&OpenedSegment::Init); }
  };
  EXPECT_EQ(OpenedSegment::First(), 0);
  EXPECT_EQ(testing::SlotOf(&Nx_LineSegmentEnhanced::SwapVertices), 2);
  EXPECT_EQ(testing::CountVirtualOperations<basic_structures::CLineSegment>(), 2);
  EXPECT_EQ(testing::CountVirtualOperations<Nx_LineSegmentEnhanced>(), 3);
}

TEST(Quad, MeasuresOfASquare) {
  const Nx_Quad square(kSquare);
  EXPECT_EQ(square.GetArea(-1, -1), 100);
  EXPECT_EQ(square.GetPerimeter(), 40);
  EXPECT_EQ(Angles(square), (std::vector<int>{90, 90, 90, 90}));
  EXPECT_EQ(square.GetCentralPoint(), Point(5, 5));
  EXPECT_EQ(square.GetOrientationAngle(AD_360), 0);
  EXPECT_EQ(square.GetVerticalAngle(), 90);
  EXPECT_EQ(square.GetOrientationLength(), 10.0F);
  EXPECT_EQ(square.GetVerticalLength(), 10.0F);
  EXPECT_TRUE(square.IsConvex());
  EXPECT_TRUE(square.IsClockWise());
  EXPECT_FALSE(Nx_Quad(kReversed).IsClockWise());
  EXPECT_TRUE(Nx_Quad(kReversed).IsConvex());
  EXPECT_EQ(Angles(Nx_Quad(kReversed)), (std::vector<int>{270, 270, 270, 270}));
}

TEST(Quad, PointRelationsOfTheSquare) {
  const Nx_Quad square(kSquare);
  struct Row {
    const char* name;
    Point p;
    int tolerance, want;
  };
  for (const Row& row : {
           Row{"inside", {5, 5}, 1, 4},
           Row{"on edge 2", {5, 10}, 1, 2},
           Row{"vertex belongs to the lower edge", {10, 0}, 1, 0},
           Row{"vertex of edges 3 and 0", {0, 0}, 1, 0},
           Row{"just outside", {5, 11}, 1, 5},
           Row{"beyond the end of an edge", {11, 0}, 1, 5},
           Row{"within 3 pixels", {5, -2}, 3, 0},
           Row{"beyond one axis only, tolerance 3", {12, 0}, 3, 5},
           Row{"no tolerance: edges are inside", {5, 10}, 0, 4},
       }) {
    EXPECT_EQ(square.CalcPointPositionRelation(row.p, row.tolerance), row.want) << row.name;
  }
  const Point centre(5, 5);
  EXPECT_TRUE(square.IsPointInQuadrilateral(&centre));
  EXPECT_FALSE(square.IsPointInQuadrilateral(nullptr));
  EXPECT_FALSE(Nx_Quad(kReversed).IsPointInQuadrilateral(&centre));
  EXPECT_EQ(Nx_Quad(kReversed).CalcPointPositionRelation(centre, 1), QPPR_OUTSIDE);
}

TEST(Quad, AreaOfSpecialShapes) {
  const Point bowTie[] = {{0, 0}, {10, 10}, {10, 0}, {0, 10}};
  EXPECT_EQ(Nx_Quad(bowTie).GetArea(-1, -1), 0);
  EXPECT_FALSE(Nx_Quad(bowTie).IsConvex());
  const Point pointed[] = {{0, 0}, {0, 0}, {10, 10}, {0, 10}};
  EXPECT_EQ(Nx_Quad(pointed).GetArea(-1, -1), 0) << "a zero-length edge";
  const Point flat[] = {{0, 0}, {100, 1}, {200, 2}, {300, 3}};
  EXPECT_EQ(Nx_Quad(flat).GetArea(-1, -1), 0) << "Heron's product may be negative";
  const Point huge[] = {{-2000000000, -5}, {5, -2000000000}, {2000000000, 5}, {-5, 2000000000}};
  EXPECT_GE(Nx_Quad(huge).GetArea(-1, -1), 0);
}

TEST(Quad, AreaBeyondTheImageIsNotRemembered) {
  const Point left[] = {{-20, 0}, {-10, 0}, {-10, 10}, {-20, 10}};
  const Nx_Quad quad(left);
  EXPECT_EQ(quad.GetArea(50, 50), 0);
  EXPECT_EQ(quad.GetArea(-1, 50), 100) << "no clipping unless both are given";
  EXPECT_EQ(quad.GetArea(50, 50), 100) << "remembered";
}

TEST(Quad, TextAndHashId) {
  const Point vertices[] = {{-1, 2}, {2147483647, 0}, {-2147483647 - 1, 10}, {0, 10}};
  Nx_Quad quad(vertices);
  EXPECT_EQ(quad.toString(), "(-1,2) (2147483647,0) (-2147483648,10) (0,10)");
  EXPECT_FALSE(quad.HasObjectId());
  quad.SetVertices(kSquare);
  quad.CalcHashID();
  const std::string text = "(0,0) (10,0) (10,10) (0,10)";
  EXPECT_EQ(quad.toString(), text);
  EXPECT_EQ(quad.GetObjectId(), NxHashAlgorithm::Generate_BKDRHash(
                                    text.data(), static_cast<std::uint32_t>(text.size())));
}

TEST(Quad, CopiesAndClones) {
  Nx_Quad source(kSquare);
  source.CalcHashID();
  source.GetArea(-1, -1);
  Nx_Quad clone;
  clone.CloneQuad(source);
  EXPECT_EQ(Vertices(clone), Vertices(source));
  EXPECT_FALSE(clone.HasObjectId());
  ExpectConsistent(clone);
  Nx_Quad assigned;
  assigned = source;
  EXPECT_EQ(assigned.GetObjectId(), source.GetObjectId());
  ExpectConsistent(assigned);
  basic_structures::CQuadrilateral value;
  value.id = 9;
  source.ConvertToQuadrilateral(value);
  EXPECT_EQ(value.points[2], Point(10, 10));
  EXPECT_EQ(value.id, 9);
}

TEST(Quad, ReorderingMovesEverythingAlong) {
  const Point vertices[] = {{0, 0}, {20, 2}, {18, 13}, {-3, 10}};
  const Nx_Quad original(vertices);
  const std::vector<int> angles = Angles(original);
  for (int k = -1; k <= 4; ++k) {
    SCOPED_TRACE(k);
    const Nx_Quad quad(original, static_cast<Nx_Quad_Vertex_Index>(k));
    const int first = k < 1 || k > 3 ? 0 : k;
    for (int i = 0; i < 4; ++i) {
      EXPECT_EQ(quad.GetVertices()[i], vertices[(first + i) % 4]);
      EXPECT_EQ(quad.GetInteriorAngles()[i], angles[static_cast<std::size_t>((first + i) % 4)]);
    }
    ExpectConsistent(quad);
  }
}

TEST(Quad, BuiltFromEdgesMeetsWhereTheyIntersect) {
  const Nx_LineSegmentEnhanced edges[] = {
      {{3, 0}, {5, 0}}, {{10, 3}, {10, 4}}, {{9, 10}, {8, 10}}, {{0, 9}, {0, 2}}};
  EXPECT_EQ(Vertices(Nx_Quad(edges)), std::vector<Point>(kSquare, kSquare + 4));
  ExpectConsistent(Nx_Quad(edges));
  const Nx_LineSegmentEnhanced parallel[] = {
      {{3, 0}, {5, 0}}, {{7, 2}, {9, 2}}, {{9, 10}, {9, 12}}, {{0, 9}, {0, 2}}};
  EXPECT_EQ(Vertices(Nx_Quad(parallel)), (std::vector<Point>{{0, 0}, {7, 2}, {9, 2}, {0, 9}}))
      << "vertices 1 and 3 take the start of their edge";
}

TEST(Quad, ExpandsAndShrinks) {
  struct Row {
    const char* name;
    const Point* vertices;
    int alongOrientation, alongVertical;
    std::vector<Point> want;
  };
  const Row rows[] = {
      {"outwards", kSquare, 2, 2, {{-2, -2}, {12, -2}, {12, 12}, {-2, 12}}},
      {"inwards", kSquare, -3, -3, {{3, 3}, {7, 3}, {7, 7}, {3, 7}}},
      {"orientation", kSquare, 2, 0, {{-2, 0}, {12, 0}, {12, 10}, {-2, 10}}},
      {"vertical", kSquare, 0, 2, {{0, -2}, {10, -2}, {10, 12}, {0, 12}}},
      {"counter-clockwise", kReversed, 2, 2, {{2, 2}, {2, 8}, {8, 8}, {8, 2}}},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    Nx_Quad quad(row.vertices);
    quad.GetArea(-1, -1);
    quad.GetCentralPoint();
    quad.ExpandQuad(row.alongOrientation, row.alongVertical);
    EXPECT_EQ(Vertices(quad), row.want);
    ExpectConsistent(quad);
  }
  const Point collapsed[] = {{5, 5}, {5, 5}, {5, 5}, {5, 5}};
  Nx_Quad quad(collapsed);
  quad.ExpandQuad(10);
  EXPECT_EQ(Vertices(quad), std::vector<Point>(collapsed, collapsed + 4));
}

TEST(Quad, EdgesMoveInwardAndOutwardForEitherOrientation) {
  for (const Point* vertices : {kSquare, kReversed}) {
    for (int i = 0; i < 4; ++i) {
      SCOPED_TRACE(i);
      const auto edge = static_cast<Nx_Quad_Edge_Index>(i);
      Nx_Quad quad(vertices);
      Nx_LineSegment moved;
      quad.GetTranslatedEdge(edge, QETD_INWARD, 2, moved);
      quad.TranslateEdge(edge, QETD_INWARD, 2);
      EXPECT_EQ(quad.GetArea(-1, -1), 80);
      EXPECT_EQ(moved.GetStartPoint(), quad.GetVertices()[i]);
      EXPECT_EQ(moved.GetEndPoint(), quad.GetVertices()[(i + 1) % 4]);
      ExpectConsistent(quad);
      quad.TranslateEdge(edge, QETD_OUTWARD, 4);
      EXPECT_EQ(quad.GetArea(-1, -1), 120);
    }
  }
  Nx_LineSegment turned;
  const Nx_Quad square(kSquare);
  square.GetRotatedEdge(QEI_1, true, LSPA_START, 90, turned);
  EXPECT_EQ(turned.GetStartPoint(), Point(10, 0));
  EXPECT_EQ(turned.GetEndPoint(), Point(0, 0));
  square.GetRotatedEdge(QEI_1, false, LSPA_START, 90, turned);
  EXPECT_EQ(turned.GetEndPoint(), Point(20, 0));
  EXPECT_EQ(Vertices(square), std::vector<Point>(kSquare, kSquare + 4));
}

TEST(Quad, BoundsAndShortEdges) {
  const Point vertices[] = {{-5, 3}, {12, -1}, {14, 9}, {4, 20}};
  Nx_Quad quad(vertices);
  EXPECT_TRUE(quad.IsOutOfBounds(10, 10));
  quad.MakeQuadInBounds(10, 10);
  EXPECT_EQ(Vertices(quad), (std::vector<Point>{{0, 3}, {9, 0}, {9, 9}, {4, 9}}));
  EXPECT_FALSE(quad.IsOutOfBounds(10, 10));
  EXPECT_FALSE(quad.QuadHasExtremelyShortEdge());
  const Point thin[] = {{0, 0}, {10, 0}, {10, 3}, {1, 2}};
  EXPECT_TRUE(Nx_Quad(thin).QuadHasExtremelyShortEdge());
  quad.MakeQuadInBounds(0, 0);
  EXPECT_EQ(quad.GetVertices()[1], Point(0, 0));
}

TEST(Quad, QuickOverlapTest) {
  const auto bar = [](int left, int top, int right, int bottom) {
    const Point v[] = {{left, top}, {right, top}, {right, bottom}, {left, bottom}};
    return Nx_Quad(v);
  };
  struct Row {
    const char* name;
    Nx_Quad a, b;
    float expandRatio;
    bool want;
  };
  const Row rows[] = {
      {"identical", bar(0, 0, 10, 10), bar(0, 0, 10, 10), 0, true},
      {"plus sign off the centres", bar(0, 4, 20, 6), bar(16, 0, 18, 30), 0, false},
      {"plus sign at the centres", bar(0, 4, 10, 6), bar(4, 0, 6, 10), 0, true},
      {"one inside the other", bar(0, 0, 30, 30), bar(3, 3, 6, 6), 0, true},
      {"apart", bar(0, 0, 10, 10), bar(14, 0, 24, 10), 0, false},
      {"apart, expanded", bar(0, 0, 10, 10), bar(14, 0, 24, 10), 0.2F, true},
      {"too small to expand", bar(0, 0, 10, 10), bar(14, 0, 24, 10), 0.001F, false},
      {"touching, shrunk", bar(0, 0, 10, 10), bar(10, 0, 20, 10), -0.1F, false},
      {"shares of the shorter sides", bar(0, 0, 100, 10), bar(108, 0, 118, 10), 0.4F, true},
      {"and not of the longer", bar(0, 0, 100, 10), bar(112, 0, 122, 10), 0.4F, false},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(row.a.IsOverlapWithOtherQuad(row.b, row.expandRatio), row.want) << row.name;
    EXPECT_EQ(row.b.IsOverlapWithOtherQuad(row.a, row.expandRatio), row.want) << row.name;
  }
}

TEST(Quad, SortsVerticesClockwiseFromTheUpperLeft) {
  Point order[] = {{0, 0}, {1, 0}, {2, 0}, {3, 0}};
  const Point corners[] = {{1, 0}, {10, 2}, {8, 12}, {-1, 9}};
  std::vector<int> index = {0, 1, 2, 3};
  do {
    for (int i = 0; i < 4; ++i) order[i] = corners[index[static_cast<std::size_t>(i)]];
    Nx_Quad::SetVerticesToClockWise(order, -1);
    EXPECT_EQ(std::vector<Point>(order, order + 4), std::vector<Point>(corners, corners + 4));
  } while (std::next_permutation(index.begin(), index.end()));

  Point fromSecond[] = {{0, 0}, {0, 10}, {10, 10}, {10, 0}};
  Nx_Quad::SetVerticesToClockWise(fromSecond, 2);
  EXPECT_EQ(fromSecond[0], Point(10, 10));
  EXPECT_EQ(fromSecond[1], Point(0, 10));
  const Point ties[] = {{5, 5}, {3, 1}, {2, 2}, {9, 9}};
  EXPECT_EQ(Nx_Quad::CalcLeftUpPtIndex(ties), 1);
  const Point none[] = {{0x7FFFFFFF, 0}, {0x7FFFFFFF, 0}, {0x7FFFFFFF, 0}, {0x7FFFFFFF, 0}};
  EXPECT_EQ(Nx_Quad::CalcLeftUpPtIndex(none), -1);
}

TEST(Quad, RelativeCoordinatesOfTheCornersAndBetween) {
  const Point vertices[] = {{0, 0}, {20, 2}, {18, 13}, {-3, 10}};
  const Nx_Quad quad(vertices);
  const auto at = [&](float u, float v) {
    Point p;
    quad.CalcPointFromRelativeCoord(u, v, p);
    return p;
  };
  EXPECT_EQ(at(0, 0), vertices[0]);
  EXPECT_EQ(at(1, 0), vertices[1]);
  EXPECT_EQ(at(1, 1), vertices[2]);
  EXPECT_EQ(at(0, 1), vertices[3]);
  EXPECT_EQ(at(0.5F, 0.5F), Point(9, 6));
  EXPECT_EQ(at(0, 0.5F), Point(-2, 5)) << "-1.5 rounds away from zero";
}

}  // namespace
}  // namespace velmora
