// Arithmetic on any coordinates is defined, and pixels stay where they may be.
#include <fuzzer/FuzzedDataProvider.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "velmora/geometry/nx_line_segment.h"
#include "velmora/geometry/nx_quad.h"
#include "velmora/geometry/quadrilateral.h"

namespace {

using namespace velmora;

NxPoint_<int> ConsumePoint(FuzzedDataProvider& input, int limit) {
  const int x = input.ConsumeIntegralInRange(-limit, limit);
  return {x, input.ConsumeIntegralInRange(-limit, limit)};
}

Nx_Quad ConsumeQuad(FuzzedDataProvider& input, int limit) {
  NxPoint_<int> vertices[4];
  for (NxPoint_<int>& vertex : vertices) vertex = ConsumePoint(input, limit);
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

void Move(Nx_Quad& quad, FuzzedDataProvider& input) {
  const int distance = input.ConsumeIntegral<int>();
  Nx_LineSegmentEnhanced& edge = quad.GetEdges()[input.ConsumeIntegralInRange(0, 3)];
  switch (input.ConsumeIntegralInRange(0, 6)) {
    case 0:
      return quad.ExpandQuad(distance, input.ConsumeIntegral<int>());
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

void ListPixels(FuzzedDataProvider& input) {
  const Nx_Quad quad = ConsumeQuad(input, 3000);
  std::vector<NxPoint_<int>> pixels;
  quad.GetAllPixels(pixels, PXM_CHAIN, 1, 640, 480);
  for (const NxPoint_<int>& pixel : pixels) {
    if (pixel[0] < 0 || pixel[0] > 319 || pixel[1] < 0 || pixel[1] > 239) std::abort();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr int kLargest = 0x7FFFFFFF;
  FuzzedDataProvider input(data, size);
  Nx_Quad quad = ConsumeQuad(input, kLargest);
  const Nx_Quad other = ConsumeQuad(input, kLargest);
  const NxPoint_<int> point = ConsumePoint(input, kLargest);
  Measure(quad, other, point);
  CompareWithValue(quad, point);
  Move(quad, input);
  Measure(quad, other, point);
  ListPixels(input);
  return 0;
}
