// One hash for each function over many results, random extremes among them: every compiler and both
// targets must come to the same bits.

#include "tests/geometry/quad_inputs.h"

namespace velmora {
namespace {

using testing::Point;
using testing::Quad4;
using testing::Random;
using Segment = Nx_LineSegmentEnhanced;

class Hash {
 public:
  void Add(int result) {
    hash_ = (hash_ ^ static_cast<std::uint32_t>(result)) * 0x100000001B3U;  // FNV-1a by words
  }
  void Add(float result) {
    std::int32_t bits = 0;
    std::memcpy(&bits, &result, sizeof bits);
    Add(std::isnan(result) ? -1 : bits);  // the bits of a NaN are the processor's own
  }
  void Add(const Point& result) {
    Add(result[0]);
    Add(result[1]);
  }
  void Add(const Nx_LineSegment& result) {
    Add(result.GetStartPoint());
    Add(result.GetEndPoint());
  }
  template <typename T>
  void Add(const std::vector<T>& results) {
    Add(static_cast<int>(results.size()));
    for (const T& result : results) Add(result);
  }

  std::uint32_t Get() const { return static_cast<std::uint32_t>(hash_ >> 32 ^ hash_); }

 private:
  std::uint64_t hash_ = 0xCBF29CE484222325U;
};

// One hash for the results of each function, and what it has to be.
class Signature {
 public:
  template <typename... Results>
  void Add(const char* function, std::uint32_t want, const Results&... results) {
    Entry& entry = entries_[function];
    entry.want = want;
    (entry.hash.Add(results), ...);
  }
  void Expect() const {
    for (const auto& [function, entry] : entries_) {
      EXPECT_EQ(entry.hash.Get(), entry.want) << function;
    }
  }

 private:
  struct Entry {
    Hash hash;
    std::uint32_t want;
  };
  std::map<std::string, Entry> entries_;
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
  std::vector<float> equation(3);
  Point out;
  s.Add("CalcMiddlePointCoord", 0xB26A551A, segment.GetMidPoint());
  s.Add("GetRealLength", 0x732BDBB3, segment.GetRealLength());
  s.Add("GetPixelLength", 0x2C62A7F1, segment.GetPixelLength());
  s.Add("CalcAngle", 0x2F962C9B, segment.CalcAngle());
  s.Add("GetLineDirectionStatus", 0x5F088024, segment.GetLineDirectionStatus());
  segment.GetLineEquation(equation.data());
  s.Add("GetLineEquation", 0xEA67D760, equation);
  for (const Nx_Coordinates_Axis axis : {CA_X, CA_Y}) {
    const bool isValid = segment.GetLineEquation(axis, equation[0], equation[1]);
    s.Add("GetLineEquation of an axis", 0x120E869B, isValid, equation);
  }
  for (const Segment& each : {segment, Segment(in.p, 90 * (in.number % 4), 9)}) {
    bool isValid[2];
    const float x = each.CalcX(in.p[1], isValid[0]);
    s.Add("CalcX", 0x86E96539, x, isValid[0]);
    const float y = each.CalcY(in.p[0], isValid[1]);
    s.Add("CalcY", 0xA53BF714, y, isValid[1]);
  }
  s.Add("CalcDistanceToPoint", 0x6B4BA854, segment.CalcDistanceToPoint(in.p));
  s.Add("CalcPointStatusOnLineEquation", 0x3BBE1731, segment.CalcPointStatusOnLineEquation(in.p));
  s.Add("CalcVectorCrossProductOfTwoLines", 0xBF2EFE88,
        segment.CalcVectorCrossProductOfTwoLines(other));
  segment.CalcProjectionPtOfLine(in.p, out);
  s.Add("CalcProjectionPtOfLine", 0x81C939C2, out);
  s.Add("CalcRelativeCoordFromPoint", 0x9BECD9D8, segment.CalcRelativeCoordFromPoint(in.p));
  segment.CalcPointFromRelativeCoord(in.ratio, out);
  s.Add("CalcPointFromRelativeCoord", 0xBBD5C0D9, out);
  s.Add("JudgePtIsInLineSeg", 0x89C610CE, segment.JudgePtIsInLineSeg(in.p, in.ratio));
  s.Add("CalcPointPositionStatus", 0xB7840C28, segment.CalcPointPositionStatus(in.p, in.number));
  s.Add("CalcPositionStatusOfInputLine", 0xCB165593,
        segment.CalcPositionStatusOfInputLine(other, 5));
  for (const Nx_Angle_Domain domain : {AD_90, AD_180, AD_360}) {
    s.Add("CalcAngleBetweenLines", 0xBD05C543, segment.CalcAngleBetweenLines(other, domain));
  }
  segment.CalcTranslatedPoint(in.p, LSTD_LEFT, in.number, out);
  s.Add("CalcTranslatedPoint", 0xA5324FE9, out);
  const auto f = [](int coordinate) { return static_cast<float>(coordinate); };
  const Point& p = in.p;
  const Point& q = in.first[0];
  s.Add("MathUtils::distance", 0x401702DC, MathUtils::distance(p[0], p[1], q[0], q[1]),
        MathUtils::distance(f(p[0]), f(p[1]), f(q[0]), f(q[1])));
}

void AddMoves(Signature& s, const Segment& segment, const Inputs& in) {
  const int n = in.number;
  const auto add = [&](const char* function, std::uint32_t want, auto change) {
    Segment moved(segment);
    change(moved);
    s.Add(function, want, moved);
  };
  s.Add("segment from an angle", 0xC51834FB, Segment(in.p, n, in.first[2][0]));
  add("TranslateBasedOnAngle", 0xAFAB2582, [&](auto& m) {
    s.Add("TranslateBasedOnAngle", 0xAFAB2582, m.TranslateBasedOnAngle(n, in.first[2][1]));
  });
  add("TranslateBasedOnDirection", 0x514221B0,
      [&](auto& m) { m.TranslateBasedOnDirection(LSTD_RIGHT, n); });
  add("TranslateToPoint", 0x8ED6D444, [&](auto& m) { m.TranslateToPoint(in.p, LSPA_MIDDLE); });
  add("SetOrigin", 0x910CF9FD, [&](auto& m) { m.SetOrigin(in.p); });
  add("Rotate", 0x09D85C7D, [&](auto& m) { m.Rotate(in.p, n); });
  add("Rotate around the middle", 0xF6615B95, [&](auto& m) { m.Rotate(LSPA_MIDDLE, n); });
  add("RotateBasedOnDistance", 0x04F485CC, [&](auto& m) { m.RotateBasedOnDistance(LSPA_END, n); });
  add("StretchLength", 0xF7B740C9,
      [&](auto& m) { m.StretchLength(LSPA_MIDDLE, in.ratio, LSLTM_MULTIPLY); });
  add("StretchLength by pixels", 0x498FC469,
      [&](auto& m) { m.StretchLength(LSPA_START, in.ratio, LSLTM_ADD); });
  add("Scale", 0xA08544A5, [&](auto& m) { m.Scale(in.ratio, -in.ratio); });
  add("MakeLineInBounds", 0x2554ADE4, [&](auto& m) {
    s.Add("answer of MakeLineInBounds", 0x270F1B8F, m.MakeLineInBounds(640, 480));
  });
}

std::vector<Point> Vertices(const Nx_Quad& quad) {
  return {quad.GetVertices(), quad.GetVertices() + 4};
}

void AddQuads(Signature& s, const Inputs& in) {
  const Nx_Quad quad(in.first.data());
  const Nx_Quad other(in.second.data());
  Point out;
  s.Add("Nx_Quad::GetArea in an image", 0x4B2426C7, quad.GetArea(640, 480));
  s.Add("Nx_Quad::GetArea", 0xB0CF8687, quad.GetArea(-1, -1));
  s.Add("GetPerimeter", 0x012708CC, quad.GetPerimeter());
  s.Add("GetInteriorAngles", 0x48F3B0A1,
        std::vector<int>(quad.GetInteriorAngles(), quad.GetInteriorAngles() + 4));
  s.Add("GetOrientationAngle", 0xC3248A96, quad.GetOrientationAngle(AD_180));
  s.Add("GetVerticalAngle", 0x297A5667, quad.GetVerticalAngle());
  s.Add("GetOrientationLength", 0x742856B6, quad.GetOrientationLength());
  s.Add("GetVerticalLength", 0x10C4BCCA, quad.GetVerticalLength());
  s.Add("GetCentralPoint", 0x2A99AF71, quad.GetCentralPoint());
  quad.CalcPointFromRelativeCoord(in.ratio, 0.3F, out);
  s.Add("Nx_Quad::CalcPointFromRelativeCoord", 0x39651019, out);
  s.Add("IsConvex", 0x0F072448, quad.IsConvex());
  s.Add("IsClockWise", 0xABE93A4A, quad.IsClockWise());
  s.Add("QuadHasExtremelyShortEdge", 0x6E6E0CFB, quad.QuadHasExtremelyShortEdge());
  s.Add("GetAllPixelsReserveSize", 0xB862FA8E, quad.GetAllPixelsReserveSize(in.number, 640, 480));
  for (const int tolerance : {0, 1, 3}) {
    s.Add("CalcPointPositionRelation", 0x1609821D, quad.CalcPointPositionRelation(in.p, tolerance));
  }
  for (const float ratio : {0.0F, 0.1F}) {
    s.Add("IsOverlapWithOtherQuad", 0x571F72B5, quad.IsOverlapWithOtherQuad(other, ratio));
  }
  std::vector<Point> points;
  quad.GetOverlappingPolygonPointsWithOtherQuad(&other, points);
  s.Add("GetOverlappingPolygonPointsWithOtherQuad", 0xB7F5A009, points);
  s.Add("CalcOverlappingAreaWithOtherQuad", 0xC9D8B2A4,
        quad.CalcOverlappingAreaWithOtherQuad(&other));
  quad.GetAllPixels(points, PXM_CHAIN, 1, 12, 10);
  s.Add("GetAllPixels", 0x0C9B2AF4, points);
  quad.GetAllPixels(points, PXM_SAMPLED, 0, 9, 9);
  s.Add("GetAllPixels, sampled", 0x9502D62F, points);
  s.Add("Nx_Quad::IsOutOfBounds", 0xFB5874BE, quad.IsOutOfBounds(640, 480));

  Nx_Quad moved(quad);
  moved.ExpandQuad(in.number, 9);
  s.Add("ExpandQuad", 0x12FB6678, Vertices(moved));
  moved.TranslateEdge(QEI_2, QETD_OUTWARD, 7);
  s.Add("TranslateEdge", 0xE80AF4BE, Vertices(moved));
  moved.MakeQuadInBounds(640, 480);
  s.Add("MakeQuadInBounds", 0xAE3C2DC9, Vertices(moved));
  Nx_LineSegment edge;
  quad.GetTranslatedEdge(QEI_1, QETD_INWARD, in.number, edge);
  s.Add("GetTranslatedEdge", 0x6E95557B, edge);
  quad.GetRotatedEdge(QEI_3, false, LSPA_MIDDLE, in.number, edge);
  s.Add("GetRotatedEdge", 0x8A45E1C6, edge);
}

void AddValues(Signature& s, const Inputs& in) {
  basic_structures::CQuadrilateral value;
  std::copy(in.first.begin(), in.first.end(), value.points);
  s.Add("Contains", 0x070295DC, value.Contains(&in.p));
  s.Add("CQuadrilateral::GetArea", 0xB0CF8687, value.GetArea());
  const basic_structures::CRect box = value.GetBoundingRect();
  s.Add("GetBoundingRect", 0x08F7F36B, box.top, box.left, box.right, box.bottom);

  double m[9];
  double inverse[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
  for (int i = 0; i < 9; ++i) m[i] = in.second[static_cast<unsigned>(i) % 4][i % 2] / 1e3;
  inverse[2] = -m[2];
  s.Add("TransformCoordinates", 0x9F5B5E05, Point::TransformCoordinates(in.p, m));
  s.Add("DistanceTo", 0xA8747080, static_cast<float>(in.p.DistanceTo(in.first[0])));
  std::vector<Point> out(4);
  ConvertQuadrilateralToClockWisePoints(value, out.data());
  s.Add("ConvertQuadrilateralToClockWisePoints", 0x9575EC91, out);
  bool isConvex = ConvertQuadrilateralWithTransformMat(value, m, out.data());
  s.Add("ConvertQuadrilateralWithTransformMat", 0x6199A8FE, isConvex, out);
  isConvex = ConvertQuadrilateralWithDiffCoordinates(value, m, inverse, out.data());
  s.Add("ConvertQuadrilateralWithDiffCoordinates", 0x2DD6AF5E, isConvex, out);
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
      signature.Add("Pixelate", 0xB6A5C1F9, pixels);
    }
  }
  for (int i = 0; i < 2'000; ++i) AddEverything(signature, FromAnywhere(random));
  signature.Expect();
}

}  // namespace
}  // namespace velmora
