/// @file
/// A place in an image where text was found.
#pragma once

#include <cstdint>

#include "velmora/geometry/quadrilateral.h"
#include "velmora/platform/export.h"

namespace velmora::intermediate_results {

/// The quadrilateral around a piece of text, and the indices of the contours of its characters.
///
/// @threadsafety as an `int`
class VELMORA_EXPORT CTextZone {
 public:
  /// Corners (0, 0), id -1, no indices.
  CTextZone();

  /// Corners and id of @p location, no indices.
  explicit CTextZone(const basic_structures::CQuadrilateral& location);

  /// @param indices  @p count numbers, copied; null or a count below 1 gives no indices
  /// @throws std::bad_alloc
  CTextZone(const basic_structures::CQuadrilateral& location, const int* indices, int count);

  /// Copies location and indices. @throws std::bad_alloc
  CTextZone(const CTextZone& other);

  /// Copies location and indices of @p other.
  ///
  /// The array held before is not freed, so that pointers which `GetCharContoursIndices` has given
  /// out stay valid: who assigns to a zone with indices and has no use for them first calls
  /// `SetCharContoursIndices(nullptr, 0)`. A zone that is assigned to itself ends with no indices.
  CTextZone& operator=(const CTextZone& other);

  /// Moves take the array over, so that pointers to it stay valid, and leave @p other without
  /// indices. Assignment frees the array held before.
  CTextZone(CTextZone&& other) noexcept;
  CTextZone& operator=(CTextZone&& other) noexcept;

  ~CTextZone();

  basic_structures::CQuadrilateral GetLocation() const { return location_; }
  /// Replaces corners and id.
  void SetLocation(const basic_structures::CQuadrilateral& location) { location_ = location; }

  /// Tells where the indices are; does nothing if either pointer is null.
  /// @param indices  gets the zone's own array, valid until the indices are set or the zone dies;
  ///                 null if there are none
  void GetCharContoursIndices(int** indices, int* count) const noexcept;

  /// Frees the array held before and copies @p count numbers; null or a count below 1 gives none.
  /// @throws std::bad_alloc
  void SetCharContoursIndices(const int* indices, int count);

 private:
  void CopyIndices(const int* indices, int count);

  basic_structures::CQuadrilateral location_;
  std::int32_t charContoursIndicesCount_ = 0;
  int* charContoursIndices_ = nullptr;  // owned, freed with CCoreModule::FreeBytes
};

}  // namespace velmora::intermediate_results
