// One number over some hundred thousand results, random extremes among them: every compiler and
// both targets must come to the same bits.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "tests/geometry/quad_inputs.h"
#include "velmora/geometry/coordinate_transform.h"
#include "velmora/geometry/math_utils.h"
#include "velmora/geometry/nx_quad.h"
#include "velmora/geometry/quadrilateral.h"

namespace velmora {
namespace {

using testing::Point;
using testing::Quad4;
using testing::Random;
using Segment = Nx_LineSegmentEnhanced;

class Signature {
 public:
  void Add(int result) {
    hash_ = (hash_ ^ static_cast<std::uint32_t>(result)) * 0x100000001B3U;  // FNV-1a by words
  }
  void Add(float result) {
    std::int32_t bits = 0;
    std::memcpy(&bits, &result, sizeof bits);
    Add(std::isnan(result) ? -1 : bits);  // the bits of a NaN are the processor's own
  }
  void Add(const Point& result) { Add(result[0], result[1]); }
  void AddEnds(const Nx_LineSegment& result) { Add(result.GetStartPoint(), result.GetEndPoint()); }
  void Add(const std::string& result) { AddAll(result.data(), result.size()); }
  template <typename First, typename Second, typename... More>
  void Add(const First& first, const Second& second, const More&... more) {
    Add(first);
    Add(second, more...);
  }
  template <typename T>
  void AddAll(const T* results, std::size_t count) {
    Add(static_cast<int>(count));
    for (std::size_t i = 0; i < count; ++i) Add(results[i]);
  }

  std::uint64_t GetHash() const { return hash_; }

 private:
  std::uint64_t hash_ = 0xCBF29CE484222325U;
};

// What an operation is given, from an image or from anywhere.
struct Inputs {
  Quad4 first, second;
  Point p;
  int number;
  float ratio;
};

Inputs FromImages(Random& random, int reach) {
  return {random.QuadIn(-reach / 8, reach), random.QuadIn(-reach / 8, reach),
          random.PointIn(-reach / 8, reach), random.Between(-400, 400),
          static_cast<float>(random.Between(-2'000, 2'000)) / 1'000};
}

Inputs FromAnywhere(Random& random) {
  Inputs in = FromImages(random, 1'000);
  const auto scatter = [&](Point& p) {
    if (random.Between(0, 3) != 0) p = random.ExtremePoint();
  };
  for (Point& p : in.first) scatter(p);
  for (Point& p : in.second) scatter(p);
  scatter(in.p);
  in.number = random.Extreme();
  in.ratio = static_cast<float>(random.Extreme());
  return in;
}

void AddMeasures(Signature& s, const Segment& segment, const Segment& other, const Inputs& in) {
  float equation[3];
  float slope = 0;
  float intercept = 0;
  Point out;
  s.Add(segment.GetMidPoint(), segment.GetRealLength(), segment.GetPixelLength(),
        segment.CalcAngle(), static_cast<int>(segment.GetLineDirectionStatus()));
  segment.GetLineEquation(equation);
  s.AddAll(equation, 3);
  for (const Nx_Coordinates_Axis axis : {CA_X, CA_Y}) {
    s.Add(segment.GetLineEquation(axis, slope, intercept));
    s.Add(slope, intercept);
  }
  s.Add(segment.CalcX(in.p[1]), segment.CalcY(in.p[0]), segment.CalcDistanceToPoint(in.p));
  s.Add(segment.CalcPointStatusOnLineEquation(in.p));
  s.Add(segment.CalcVectorCrossProductOfTwoLines(other));
  segment.CalcProjectionPtOfLine(in.p, out);
  s.Add(out, segment.CalcRelativeCoordFromPoint(in.p));
  segment.CalcPointFromRelativeCoord(in.ratio, out);
  s.Add(out);
  s.Add(segment.JudgePtIsInLineSeg(in.p, in.ratio));
  s.Add(segment.CalcPointPositionStatus(in.p, in.number));
  s.Add(segment.CalcPositionStatusOfInputLine(other, 5));
  for (const Nx_Angle_Domain domain : {AD_90, AD_180, AD_360})
    s.Add(segment.CalcAngleBetweenLines(other, domain));
  segment.CalcTranslatedPoint(in.p, LSTD_LEFT, in.number, out);
  s.Add(out);
  const auto f = [](int coordinate) { return static_cast<float>(coordinate); };
  const Point& p = in.p;
  const Point& q = in.first[0];
  s.Add(MathUtils::distance(p[0], p[1], q[0], q[1]),
        MathUtils::distance(f(p[0]), f(p[1]), f(q[0]), f(q[1])));
}

void AddMoves(Signature& s, const Segment& segment, const Inputs& in) {
  const int n = in.number;
  const auto add = [&](auto change) {
    Segment moved(segment);
    change(moved);
    s.AddEnds(moved);
  };
  s.AddEnds(Segment(in.p, n, in.first[2][0]));
  add([&](Segment& m) { s.Add(m.TranslateBasedOnAngle(n, in.first[2][1])); });
  add([&](Segment& m) { m.TranslateBasedOnDirection(LSTD_RIGHT, n); });
  add([&](Segment& m) { m.TranslateToPoint(in.p, LSPA_MIDDLE); });
  add([&](Segment& m) { m.SetOrigin(in.p); });
  add([&](Segment& m) { m.Rotate(in.p, n); });
  add([&](Segment& m) { m.Rotate(LSPA_MIDDLE, n); });
  add([&](Segment& m) { m.RotateBasedOnDistance(LSPA_END, n); });
  add([&](Segment& m) { m.StretchLength(LSPA_MIDDLE, in.ratio, LSLTM_MULTIPLY); });
  add([&](Segment& m) { m.StretchLength(LSPA_START, in.ratio, LSLTM_ADD); });
  add([&](Segment& m) { m.Scale(in.ratio, -in.ratio); });
  add([&](Segment& m) { s.Add(m.MakeLineInBounds(640, 480)); });
}

void AddQuads(Signature& s, const Inputs& in) {
  const Nx_Quad quad(in.first.data());
  const Nx_Quad other(in.second.data());
  Point out;
  s.Add(quad.GetArea(640, 480));
  s.Add(quad.GetArea(-1, -1), quad.GetPerimeter());
  s.AddAll(quad.GetInteriorAngles(), 4);
  s.Add(quad.GetOrientationAngle(AD_180), quad.GetVerticalAngle());
  s.Add(quad.GetOrientationLength(), quad.GetVerticalLength(), quad.GetCentralPoint());
  quad.CalcPointFromRelativeCoord(in.ratio, 0.3F, out);
  s.Add(out, quad.IsConvex(), quad.IsClockWise(), quad.QuadHasExtremelyShortEdge());
  s.Add(quad.GetAllPixelsReserveSize(in.number, 640, 480));
  for (const int tolerance : {0, 1, 3}) s.Add(quad.CalcPointPositionRelation(in.p, tolerance));
  s.Add(quad.IsOverlapWithOtherQuad(other, 0), quad.IsOverlapWithOtherQuad(other, 0.1F));
  std::vector<Point> points;
  quad.GetOverlappingPolygonPointsWithOtherQuad(&other, points);
  s.AddAll(points.data(), points.size());
  s.Add(quad.CalcOverlappingAreaWithOtherQuad(&other));
  quad.GetAllPixels(points, PXM_CHAIN, 1, 12, 10);
  s.AddAll(points.data(), points.size());

  Nx_Quad moved(quad);
  moved.ExpandQuad(in.number, 9);
  s.AddAll(moved.GetVertices(), 4);
  moved.TranslateEdge(QEI_2, QETD_OUTWARD, 7);
  s.AddAll(moved.GetVertices(), 4);
  moved.MakeQuadInBounds(640, 480);
  s.AddAll(moved.GetVertices(), 4);
  quad.GetAllPixels(points, PXM_SAMPLED, 0, 9, 9);
  s.AddAll(points.data(), points.size());
  s.Add(quad.IsOutOfBounds(640, 480));
  Nx_LineSegment edge;
  quad.GetTranslatedEdge(QEI_1, QETD_INWARD, in.number, edge);
  s.AddEnds(edge);
  quad.GetRotatedEdge(QEI_3, false, LSPA_MIDDLE, in.number, edge);
  s.AddEnds(edge);
  moved.CalcHashID();
  s.Add(moved.GetObjectId());
}

void AddValues(Signature& s, const Inputs& in) {
  basic_structures::CQuadrilateral value;
  std::copy(in.first.begin(), in.first.end(), value.points);
  s.Add(value.Contains(&in.p), value.GetArea());
  const basic_structures::CRect box = value.GetBoundingRect();
  s.Add(box.top, box.left, box.right, box.bottom);

  double m[9];
  double inverse[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
  for (int i = 0; i < 9; ++i) m[i] = in.second[static_cast<unsigned>(i) % 4][i % 2] / 1e3;
  inverse[2] = -m[2];
  s.Add(Point::TransformCoordinates(in.p, m), static_cast<float>(in.p.DistanceTo(in.first[0])));
  s.Add(IsIdentityTransformMatrix(m), IsInverseTransformMatrices(m, inverse));
  Quad4 out;
  ConvertQuadrilateralToClockWisePoints(value, out.data());
  s.AddAll(out.data(), 4);
  s.Add(ConvertQuadrilateralWithTransformMat(value, m, out.data()));
  s.AddAll(out.data(), 4);
  s.Add(ConvertQuadrilateralWithDiffCoordinates(value, m, inverse, out.data()));
  s.AddAll(out.data(), 4);
}

void AddEverything(Signature& s, const Inputs& in) {
  const Segment segment(in.first[0], in.first[1]);
  AddMeasures(s, segment, Segment(in.second[0], in.second[1]), in);
  AddMoves(s, segment, in);
  AddQuads(s, in);
  AddValues(s, in);
}

TEST(Signature, IsTheSameEverywhere) {
  Signature signature;
  Random random(31);
  for (int angle = -360; angle <= 720; ++angle) {
    Inputs in = FromImages(random, 100'000);
    in.number = angle;
    AddMoves(signature, Segment(in.first[0], in.first[1]), in);
  }
  for (const int reach : {4, 12, 100, 1'000, 100'000}) {
    for (int i = 0; i < 400; ++i) AddEverything(signature, FromImages(random, reach));
  }
  for (int i = 0; i < 400; ++i) {
    std::vector<Point> pixels;
    const Quad4 q = random.QuadIn(-5, 60);
    for (const Nx_Pixelate_Mode mode : {PXM_CHAIN, PXM_SAMPLED}) {
      Segment(q[0], q[1]).Pixelate(pixels, mode, i % 5, i % 40 - 1);
      signature.AddAll(pixels.data(), pixels.size());
    }
  }
  for (int i = 0; i < 2'000; ++i) AddEverything(signature, FromAnywhere(random));
  EXPECT_EQ(signature.GetHash(), 0x41F335E3F89C9A6CU);
}

}  // namespace
}  // namespace velmora
