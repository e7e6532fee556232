#include "velmora/geometry/coordinate_transform.h"

#include <algorithm>
#include <cmath>

#include "velmora/geometry/internal/quad_math.h"
#include "velmora/geometry/nx_quad.h"

namespace velmora {
namespace {

void TransformUnlessIdentity(const double* m, NxPoint_<int>* points) {
  if (IsIdentityTransformMatrix(m)) return;
  for (int i = 0; i < 4; ++i) points[i] = NxPoint_<int>::TransformCoordinates(points[i], m);
}

}  // namespace

void ConvertQuadrilateralToClockWisePoints(const basic_structures::CQuadrilateral& q,
                                           NxPoint_<int>* const out) {
  std::copy_n(q.points, 4, out);
  if (!IsPointsClockWise(out)) Nx_Quad::SetVerticesToClockWise(out, -1);
}

bool IsIdentityTransformMatrix(const double* const m) {
  for (int i = 0; i < 9; ++i) {
    const double expected = i % 4 == 0 ? 1 : 0;
    if (!(std::fabs(expected - m[i]) < 1e-05)) return false;
  }
  return true;
}

bool IsInverseTransformMatrices(const double* const a, const double* const b) {
  double product[9];
  for (int row = 0; row < 3; ++row) {
    for (int column = 0; column < 3; ++column) {
      double sum = 0.0;
      for (int i = 0; i < 3; ++i) sum += a[3 * row + i] * b[3 * i + column];
      product[3 * row + column] = sum;
    }
  }
  return IsIdentityTransformMatrix(product);
}

bool ConvertQuadrilateralWithTransformMat(const basic_structures::CQuadrilateral& q,
                                          const double* const m, NxPoint_<int>* const out) {
  ConvertQuadrilateralToClockWisePoints(q, out);
  TransformUnlessIdentity(m, out);
  return internal::IsConvexQuad(out);
}

bool ConvertQuadrilateralWithDiffCoordinates(const basic_structures::CQuadrilateral& q,
                                             const double* const firstMatrix,
                                             const double* const secondMatrix,
                                             NxPoint_<int>* const out) {
  ConvertQuadrilateralToClockWisePoints(q, out);
  if (!IsInverseTransformMatrices(secondMatrix, firstMatrix)) {
    TransformUnlessIdentity(firstMatrix, out);
    TransformUnlessIdentity(secondMatrix, out);
  }
  return internal::IsConvexQuad(out);
}

}  // namespace velmora
