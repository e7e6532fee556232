// Arithmetic on any coordinates is defined, and pixels stay where they may be.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "tests/support/operations/bytes.h"
#include "velmora/geometry/nx_line_segment.h"
#include "velmora/geometry/nx_quad.h"
#include "velmora/geometry/quadrilateral.h"

namespace {

using namespace velmora;
using testing::Bytes;

NxPoint_<int> ReadPoint(Bytes& input) {
  const int x = input.Int();
  return {x, input.Int()};
}

Nx_Quad ReadQuad(Bytes& input) {
  NxPoint_<int> vertices[4];
  for (NxPoint_<int>& vertex : vertices) vertex = ReadPoint(input);
  return Nx_Quad(vertices);
}

void Measure(const Nx_Quad& quad, const Nx_Quad& other, const NxPoint_<int>& point) {
  if (quad.GetArea(-1, -1) < 0) std::abort();
  for (int i = 0; i < 4; ++i) {
    if (quad.GetInteriorAngles()[i] < 0 || quad.GetInteriorAngles()[i] > 359) std::abort();
  }
  quad.CalcPointPositionRelation(point, 3);
  quad.IsOverlapWithOtherQuad(other, 0.25F);
  quad.CalcOverlappingAreaWithOtherQuad(&other);
  quad.GetPerimeter();
  quad.GetCentralPoint();
  quad.GetAllPixelsReserveSize(2, 100, 100);
}

// The public value takes a shorter way to the same answers.
void CompareWithValue(const Nx_Quad& quad, const NxPoint_<int>& point) {
  basic_structures::CQuadrilateral value;
  quad.ConvertToQuadrilateral(value);
  if (value.GetArea() != quad.GetArea(-1, -1) ||
      value.Contains(&point) != quad.IsPointInQuadrilateral(&point)) {
    std::abort();
  }
}

void Move(Nx_Quad& quad, Bytes& input) {
  const int distance = input.Int();
  Nx_LineSegmentEnhanced& edge = quad.GetEdges()[input.Below(4)];
  switch (input.Below(7)) {
    case 0:
      return quad.ExpandQuad(distance, input.Int());
    case 1:
      return quad.TranslateEdge(QEI_1, QETD_INWARD, distance);
    case 2:
      return quad.ReorderVertices(QVI_2);
    case 3:
      return quad.MakeQuadInBounds(distance, 1000);
    case 4:
      return edge.Rotate({0, 0}, distance);
    case 5:
      return edge.TranslateBasedOnDirection(LSTD_LEFT, distance);
    default:
      return edge.StretchLength(LSPA_MIDDLE, static_cast<float>(distance), LSLTM_ADD);
  }
}

void ListPixels(Bytes& input) {
  NxPoint_<int> vertices[4];
  for (NxPoint_<int>& vertex : vertices) {
    vertex = ReadPoint(input);
    vertex = {vertex[0] % 3000, vertex[1] % 3000};
  }
  const Nx_Quad quad(vertices);
  std::vector<NxPoint_<int>> pixels;
  quad.GetAllPixels(pixels, PXM_CHAIN, 1, 640, 480);
  for (const NxPoint_<int>& pixel : pixels) {
    if (pixel[0] < 0 || pixel[0] > 319 || pixel[1] < 0 || pixel[1] > 239) std::abort();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Bytes input(data, size);
  Nx_Quad quad = ReadQuad(input);
  const Nx_Quad other = ReadQuad(input);
  const NxPoint_<int> point = ReadPoint(input);
  Measure(quad, other, point);
  CompareWithValue(quad, point);
  Move(quad, input);
  Measure(quad, other, point);
  ListPixels(input);
  return 0;
}
