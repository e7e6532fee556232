#include "velmora/geometry/nx_quad.h"

#include <algorithm>
#include <charconv>
#include <utility>

#include "velmora/foundation/hash_algorithm.h"
#include "velmora/foundation/internal/arithmetic.h"
#include "velmora/geometry/internal/direction_angle.h"
#include "velmora/geometry/internal/line_math.h"
#include "velmora/geometry/internal/quad_math.h"
#include "velmora/geometry/internal/quad_pixels.h"

namespace velmora {

using basic_structures::CRect;
using internal::Pair;
using internal::RoundHalfAwayFromZero;
using internal::ToFloat;
using internal::WrapAdd;
using internal::WrapMul;
using internal::WrapSub;

namespace {

constexpr bool IsQuadIndex(int i) {
  return i >= 0 && i < 4;
}

// Positive if b follows a clockwise, seen from v[0].
std::int32_t TurnFromFirst(const NxPoint_<int>* v, int a, int b) {
  return internal::Turn(v[0], v[a], v[b]);
}

int AngleBetween(const NxPoint_<int>& from, const NxPoint_<int>& to) {
  return internal::DirectionAngle(internal::Difference(to[0], from[0]),
                                  internal::Difference(to[1], from[1]));
}

char* WriteInt(char* out, int value) {
  return std::to_chars(out, out + 11, value).ptr;
}

}  // namespace

// As `SetEdges`, of edges that remember nothing yet.
Nx_Quad::Nx_Quad(const NxPoint_<int> vertices[4])
    : vertices_{vertices[0], vertices[1], vertices[2], vertices[3]},
      clockWise_(internal::IsClockWiseQuad(vertices)),
      edges_{{vertices[0], vertices[1]},
             {vertices[1], vertices[2]},
             {vertices[2], vertices[3]},
             {vertices[3], vertices[0]}} {}

Nx_Quad::Nx_Quad(const Nx_LineSegmentEnhanced edges[4]) {
  std::copy_n(edges, 4, edges_);
  Nx_Quad::CalcIntersectionsOfEdges();
}

Nx_Quad::Nx_Quad(const Nx_Quad& other, Nx_Quad_Vertex_Index first) : Nx_Quad(other) {
  ReorderVertices(first);
}

Nx_Quad::~Nx_Quad() = default;

void Nx_Quad::CloneQuad(const Nx_Quad& other) {
  if (this == &other) return;
  std::copy_n(other.vertices_, 4, vertices_);
  clockWise_ = other.clockWise_;
  std::copy_n(other.edges_, 4, edges_);
  area_ = other.area_;
  std::copy_n(other.interiorAngles_, 4, interiorAngles_);
  centralPoint_ = other.centralPoint_;
  text_ = other.text_;
}

void Nx_Quad::ConvertToQuadrilateral(basic_structures::CQuadrilateral& out) const {
  GetVertices(out.points, 4);
}

void Nx_Quad::Init() {}

void Nx_Quad::ForgetMeasures() {
  std::fill_n(interiorAngles_, 4, kNoInt);
  centralPoint_[0] = kNoInt;
  area_ = kNoArea;
}

void Nx_Quad::InitQuad() {
  ForgetMeasures();
  Init();
}

void Nx_Quad::SetVertices(const NxPoint_<int>* vertices) {
  std::copy_n(vertices, 4, vertices_);
  SetEdges();
  ForgetMeasures();
}

void Nx_Quad::SetEdges() {
  for (int i = 0; i < 4; ++i) edges_[i].SetVertices(vertices_[i], vertices_[(i + 1) % 4]);
  clockWise_ = internal::IsClockWiseQuad(vertices_);
}

void Nx_Quad::CalcIntersectionsOfEdges() {
  for (int i = 0; i < 4; ++i) {
    const Nx_LineSegmentEnhanced& edge = edges_[i];
    const Nx_LineSegmentEnhanced& before = edges_[(i + 3) % 4];
    vertices_[i] = edge.GetStartPoint();
    internal::IntersectLines(edge.GetStartPoint(), edge.GetEndPoint(), before.GetStartPoint(),
                             before.GetEndPoint(), vertices_[i]);
  }
  SetEdges();
}

int Nx_Quad::CalcLeftUpPtIndex(const NxPoint_<int>* v) {
  int index = -1;
  std::int32_t smallest = std::numeric_limits<std::int32_t>::max();
  for (int i = 0; i < 4; ++i) {
    const std::int32_t sum = WrapAdd(v[i][0], v[i][1]);
    if (sum >= smallest) continue;
    smallest = sum;
    index = i;
  }
  return index;
}

void Nx_Quad::SetVerticesToClockWise(NxPoint_<int>* v, int startIndex) {
  const int first = startIndex == -1 ? CalcLeftUpPtIndex(v) : startIndex;
  if (IsQuadIndex(first)) std::swap(v[0], v[first]);
  if (TurnFromFirst(v, 1, 2) < 0) std::swap(v[1], v[2]);
  if (TurnFromFirst(v, 3, 2) <= 0) return;
  if (TurnFromFirst(v, 3, 1) > 0) std::swap(v[1], v[3]);
  std::swap(v[2], v[3]);
}

void Nx_Quad::GetVertices(NxPoint_<int>* out, int capacity) const {
  if (capacity >= 4) std::copy_n(vertices_, 4, out);
}

void Nx_Quad::GetEdges(Nx_LineSegmentEnhanced* out, int capacity) const {
  if (capacity >= 4) std::copy_n(edges_, 4, out);
}

bool Nx_Quad::IsBeyondImage(int width, int height) const {
  if (width == -1 || height == -1) return false;
  const CRect box = internal::BoundingRect(vertices_);
  return box.right < 0 || box.bottom < 0 || box.left > width || box.top > height;
}

int Nx_Quad::GetArea(int width, int height) const {
  if (area_ != kNoArea) return area_;
  if (width != -1 && height != -1 && IsBeyondImage(width, height)) return 0;
  const auto startOf = [this](int i) -> const NxPoint_<int>& { return edges_[i].startPoint_; };
  const auto endOf = [this](int i) -> const NxPoint_<int>& { return edges_[i].endPoint_; };
  auto [even, odd, diagonal] = internal::MeasureQuad<Pair>(vertices_, startOf, endOf);
  const auto knowsNothing = [this](int i) {
    return edges_[i].length_ < 0 && edges_[i].pixelLength_ == 0;
  };
  if (knowsNothing(0) && knowsNothing(1) && knowsNothing(2) && knowsNothing(3) &&
      !(even * odd).HasZero()) {
    edges_[0].length_ = ToFloat(even.First());
    edges_[1].length_ = ToFloat(odd.First());
    edges_[2].length_ = ToFloat(even.Second());
    edges_[3].length_ = ToFloat(odd.Second());
  } else {
    // An edge may have been moved and still know the length that it had.
    for (const Nx_LineSegmentEnhanced& edge : edges_) {
      if (edge.GetPixelLength() == 1) return 0;
      edge.GetRealLength();
    }
    const auto length = [this](int i) { return static_cast<double>(edges_[i].length_); };
    even = Pair(length(0), length(2));
    odd = Pair(length(1), length(3));
  }
  return area_ = internal::QuadArea(vertices_, even, odd, diagonal);
}

int Nx_Quad::GetPerimeter() const {
  float sum = 0;
  for (const Nx_LineSegmentEnhanced& edge : edges_) sum += edge.GetRealLength();
  return RoundHalfAwayFromZero(sum);
}

void Nx_Quad::CalcInteriorAngles() const {
  if (interiorAngles_[0] != kNoInt) return;
  for (int i = 0; i < 4; ++i) {
    const int turn = edges_[i].GetAngle(AD_360) - edges_[(i + 3) % 4].GetAngle(AD_360);
    interiorAngles_[i] = ((turn > 0 ? 540 : 180) - turn) % 360;
  }
}

const int* Nx_Quad::GetInteriorAngles() const {
  CalcInteriorAngles();
  return interiorAngles_;
}

int Nx_Quad::GetOrientationAngle(Nx_Angle_Domain domain) const {
  return AngleBetween(edges_[3].GetMidPoint(), edges_[1].GetMidPoint()) % domain;
}

int Nx_Quad::GetVerticalAngle() const {
  return AngleBetween(edges_[0].GetMidPoint(), edges_[2].GetMidPoint());
}

float Nx_Quad::GetOrientationLength() const {
  return internal::SegmentLength(edges_[3].GetMidPoint(), edges_[1].GetMidPoint());
}

float Nx_Quad::GetVerticalLength() const {
  return internal::SegmentLength(edges_[0].GetMidPoint(), edges_[2].GetMidPoint());
}

void Nx_Quad::CalcCentralPoint() const {
  if (centralPoint_[0] != kNoInt) return;
  for (int axis = 0; axis < 2; ++axis) {
    std::int32_t sum = 0;
    for (const NxPoint_<int>& vertex : vertices_) sum = WrapAdd(sum, vertex[axis]);
    centralPoint_[axis] = RoundHalfAwayFromZero(ToFloat(sum) * 0.25F);
  }
}

const NxPoint_<int>& Nx_Quad::GetCentralPoint() const {
  CalcCentralPoint();
  return centralPoint_;
}

void Nx_Quad::CalcPointFromRelativeCoord(float u, float v, NxPoint_<int>& out) const {
  for (int axis = 0; axis < 2; ++axis) {
    const auto vertex = [&](int i) { return ToFloat(vertices_[i][axis]); };
    out[axis] = RoundHalfAwayFromZero((vertex(3) * (1 - u) + vertex(2) * u) * v +
                                      (vertex(0) * (1 - u) + vertex(1) * u) * (1 - v));
  }
}

bool Nx_Quad::IsConvex() const {
  return internal::IsConvexQuad(vertices_);
}

bool Nx_Quad::IsOutOfBounds(int width, int height) const {
  return std::any_of(edges_, edges_ + 4, [&](const Nx_LineSegmentEnhanced& edge) {
    return edge.IsOutOfBounds(width, height);
  });
}

bool Nx_Quad::QuadHasExtremelyShortEdge() const {
  return std::any_of(edges_, edges_ + 4, [](const Nx_LineSegmentEnhanced& edge) {
    return edge.GetRealLength() < 3.0F;
  });
}

bool Nx_Quad::IsPointInQuadrilateral(const NxPoint_<int>* p) const {
  return p != nullptr && CalcPointPositionRelation(*p, 1) == QPPR_INSIDE;
}

Nx_Quad_Point_Position_Relation Nx_Quad::CalcPointPositionRelation(const NxPoint_<int>& p,
                                                                   int tolerance) const {
  const auto sideOfEdge = [&](int i) { return edges_[i].CalcPointPositionStatus(p, tolerance); };
  return static_cast<Nx_Quad_Point_Position_Relation>(
      internal::PositionRelation(vertices_, p, tolerance, sideOfEdge));
}

const std::string& Nx_Quad::toString() const {
  char text[4 * (2 * 11 + 4)];  // 11 characters an int, "(", ",", ")" and a blank
  char* end = text;
  for (const NxPoint_<int>& vertex : vertices_) {
    if (end != text) *end++ = ' ';
    *end++ = '(';
    end = WriteInt(end, vertex[0]);
    *end++ = ',';
    end = WriteInt(end, vertex[1]);
    *end++ = ')';
  }
  return text_.assign(text, end);
}

void Nx_Quad::CalcHashID() {
  const std::string& text = toString();
  SetObjectId(
      NxHashAlgorithm::Generate_BKDRHash(text.data(), static_cast<std::uint32_t>(text.size())));
}

int Nx_Quad::GetAllPixelsReserveSize(int shift, int width, int height) const {
  if (IsBeyondImage(width, height)) return 0;
  const CRect box = internal::BoundingRect(vertices_);
  const int bits = shift & 31;
  const auto extent = [bits](std::int32_t least, std::int32_t most) {
    return WrapAdd(WrapSub(most >> bits, least >> bits), 1);
  };
  return WrapMul(extent(box.top, box.bottom), extent(box.left, box.right));
}

int Nx_Quad::GetAllPixels(std::vector<NxPoint_<int>>& out, Nx_Pixelate_Mode mode, int shift,
                          int width, int height) const {
  out.clear();
  const bool isClipped = width != -1 && height != -1;
  if (isClipped && (width < 1 || height < 1 || IsBeyondImage(width, height))) return 0;
  const int bits = shift & 31;
  NxPoint_<int> shifted[4];
  for (int i = 0; i < 4; ++i) shifted[i].Set(vertices_[i][0] >> bits, vertices_[i][1] >> bits);
  CRect window = internal::BoundingRect(shifted);
  if (isClipped) {
    window.left = std::max(window.left, 0);
    window.top = std::max(window.top, 0);
    window.right = std::min(window.right, (width - 1) >> bits);
    window.bottom = std::min(window.bottom, (height - 1) >> bits);
  }
  internal::CollectQuadPixels(shifted, mode, window, out);
  return static_cast<int>(out.size());
}

Nx_LS_Translating_Direction Nx_Quad::LineDirection(
    Nx_Quad_Edge_Translating_Direction direction) const {
  return (direction == QETD_INWARD) == clockWise_ ? LSTD_RIGHT : LSTD_LEFT;
}

void Nx_Quad::TranslateEdge(Nx_Quad_Edge_Index i, Nx_Quad_Edge_Translating_Direction direction,
                            int distance) {
  if (!IsQuadIndex(i)) return;
  edges_[i].TranslateBasedOnDirection(LineDirection(direction), distance);
  CalcIntersectionsOfEdges();
  centralPoint_[0] = kNoInt;
  area_ = kNoArea;
}

void Nx_Quad::GetTranslatedEdge(Nx_Quad_Edge_Index i, Nx_Quad_Edge_Translating_Direction direction,
                                int distance, Nx_LineSegment& out) const {
  if (!IsQuadIndex(i)) return;
  Nx_LineSegmentEnhanced edge(edges_[i]);
  edge.TranslateBasedOnDirection(LineDirection(direction), distance);
  out.SetStartPoint(edge.GetStartPoint());
  out.SetEndPoint(edge.GetEndPoint());
}

void Nx_Quad::GetRotatedEdge(Nx_Quad_Edge_Index i, bool isClockWise, Nx_LS_Point_Alignment pivot,
                             int angle, Nx_LineSegment& out) const {
  if (!IsQuadIndex(i) || pivot < LSPA_START || pivot > LSPA_MIDDLE) return;
  Nx_LineSegmentEnhanced edge(edges_[i]);
  edge.Rotate(pivot, isClockWise ? angle : WrapSub(0, angle));
  out.SetStartPoint(edge.GetStartPoint());
  out.SetEndPoint(edge.GetEndPoint());
}

void Nx_Quad::ReorderVertices(Nx_Quad_Vertex_Index k) {
  if (k < 1 || k > 3) return;
  std::rotate(vertices_, vertices_ + k, vertices_ + 4);
  std::rotate(edges_, edges_ + k, edges_ + 4);
  std::rotate(interiorAngles_, interiorAngles_ + k, interiorAngles_ + 4);
}

void Nx_Quad::ExpandQuad(int alongOrientation, int alongVertical) {
  for (int i = 0; i < 4; ++i) {
    // The left of each edge is the outside of a clockwise quadrilateral.
    edges_[i].TranslateBasedOnDirection(LSTD_LEFT, i % 2 == 0 ? alongVertical : alongOrientation);
  }
  CalcIntersectionsOfEdges();
  centralPoint_[0] = kNoInt;
  area_ = kNoArea;
}

void Nx_Quad::MakeQuadInBounds(int width, int height) {
  NxPoint_<int> clamped[4];
  for (int i = 0; i < 4; ++i) {
    clamped[i].Set(std::clamp(vertices_[i][0], 0, std::max(width, 1) - 1),
                   std::clamp(vertices_[i][1], 0, std::max(height, 1) - 1));
  }
  SetVertices(clamped);
}

}  // namespace velmora
