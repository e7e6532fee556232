/// @file
/// Quadrilaterals from one image's coordinates into another's.
///
/// A transform matrix is nine doubles, row-major; it maps a point as
/// `NxPoint_<int>::TransformCoordinates` does. Two matrices are equal if each element is less than
/// 1e-05 away from its counterpart.
///
/// Order and convexity are judged with 32-bit turns: from 46,341 pixels a side on these wrap, so
/// that clockwise vertices may be reordered and a convex result called not convex. State both
/// images in a smaller scale then.
///
/// All functions may be called from any thread and never fail.
#pragma once

#include "velmora/geometry/point.h"
#include "velmora/geometry/quadrilateral.h"
#include "velmora/platform/export.h"

namespace velmora {

/// Copies the vertices and, unless `IsPointsClockWise`, sorts them clockwise around the one with
/// the smallest x + y (`Nx_Quad::SetVerticesToClockWise`).
/// @param out room for four points
VELMORA_EXPORT void ConvertQuadrilateralToClockWisePoints(const basic_structures::CQuadrilateral& q,
                                                          NxPoint_<int>* const out);

/// Whether every element is less than 1e-05 away from that of the identity, 1 on the diagonal and 0
/// elsewhere. False if one is not a number.
VELMORA_EXPORT bool IsIdentityTransformMatrix(const double* const m);

/// Whether the product a x b is the identity.
VELMORA_EXPORT bool IsInverseTransformMatrices(const double* const a, const double* const b);

/// Brings the vertices into clockwise order, then transforms them by @p m unless it is the
/// identity. A transform that mirrors leaves them counter-clockwise.
/// @param out room for four points; holds them whatever the answer
/// @return whether they make a strictly convex quadrilateral
VELMORA_EXPORT bool ConvertQuadrilateralWithTransformMat(const basic_structures::CQuadrilateral& q,
                                                         const double* const m,
                                                         NxPoint_<int>* const out);

/// Brings the vertices into clockwise order, then transforms them by @p firstMatrix and the
/// truncated results by @p secondMatrix. A matrix that is the identity is skipped, and so are both
/// if they cancel each other.
/// @param out room for four points; holds them whatever the answer
/// @return whether they make a strictly convex quadrilateral
VELMORA_EXPORT bool ConvertQuadrilateralWithDiffCoordinates(
    const basic_structures::CQuadrilateral& q, const double* const firstMatrix,
    const double* const secondMatrix, NxPoint_<int>* const out);

}  // namespace velmora
