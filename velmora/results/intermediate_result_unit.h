/// @file
/// What a stage of the work found out about an image, published to observers.
#pragma once

#include <cstdint>

#include "velmora/platform/export.h"

namespace velmora::basic_structures {
class CImageTag;
}  // namespace velmora::basic_structures

namespace velmora::intermediate_results {

/// Kind of a unit. Each kind is one bit of a 64-bit mask, so that observers can name several at
/// once; which bit means what is settled by the modules that publish the units.
enum IntermediateResultUnitType : std::uint64_t {
  IRUT_None = 0,
  IRUT_All = ~std::uint64_t{0},
};

/// Addresses one of the three matrices of a unit, as it is stored (even) or inverted (odd), so that
/// a transform can be read and written in either direction.
enum TransformMatrixType : std::int32_t {
  TMT_OriginalToLocal = 0,  ///< matrix 0: from the original image to the unit's own
  TMT_LocalToOriginal = 1,  ///< inverse of matrix 0
  TMT_Matrix1 = 2,          ///< matrix 1, with the meaning its module gives it
  TMT_InverseOfMatrix1 = 3,
  TMT_Matrix2 = 4,  ///< matrix 2, with the meaning its module gives it
  TMT_InverseOfMatrix2 = 5,
};

/// Base of all intermediate-result units: identifies the image they belong to and relates their
/// coordinates to it. The units themselves are abstract here and implemented by the modules.
///
/// A concrete unit derives from its public unit class and from `SectionResultUnitBase`, and is
/// compiled with run-time type information: the library casts from one to the other. Units are
/// shared: who wants to keep one beyond the call that hands it out calls `Retain()` and later
/// `Release()`.
///
/// @threadsafety Retain() and Release() from any thread; setters belong to the thread that builds
///               the unit
class VELMORA_EXPORT CIntermediateResultUnit {
 public:
  /// No ids, no tag, three identity matrices, usage count 1.
  CIntermediateResultUnit();
  CIntermediateResultUnit(const CIntermediateResultUnit&) = delete;  // `Clone()` copies units
  CIntermediateResultUnit& operator=(const CIntermediateResultUnit&) = delete;
  virtual ~CIntermediateResultUnit();

  /// What the unit is, so that the caller knows which class to cast it to.
  /// @return a single bit
  virtual IntermediateResultUnitType GetUnitType() const = 0;

  /// An independent copy with one reference.
  /// @return to be given back with `Release()`
  [[nodiscard]] virtual CIntermediateResultUnit* Clone() const = 0;

  /// Takes over the content of @p unit: the way in which an observer changes what later stages see.
  /// @param unit  of the same type; left unchanged
  /// @return 0, or an `ErrorCode` with nothing changed: -10002 (`EC_NullPointer`), -10072
  ///         (`EC_SectionResultIrreplaceable`), -10074 (`EC_ResultTypeMismatchIrreplaceable`)
  virtual int Replace(const CIntermediateResultUnit* unit) = 0;

  /// Adds a reference: the unit outlives the call. `const`, since sharing does not change it.
  virtual void Retain() const = 0;

  /// Drops a reference and destroys the unit with the last one.
  /// @throws int 4711 if the unit is released more often than retained
  virtual void Release() const = 0;

  /// Hash id of the unit. The setter copies the text; null changes nothing.
  /// @return null until set; alive until the next set
  const char* GetHashId() const noexcept { return hashId_; }
  void SetHashId(const char* hashId);

  /// Hash id of the original image. The setter copies the text; null changes nothing.
  /// @return null until set; alive until the next set
  const char* GetOriginalImageHashId() const noexcept { return originalImageHashId_; }
  void SetOriginalImageHashId(const char* hashId);

  /// Where the original image came from; null until set.
  const basic_structures::CImageTag* GetOriginalImageTag() const noexcept {
    return originalImageTag_;
  }

  /// Stores a clone of @p tag; null changes nothing.
  ///
  /// The tag held before is not destroyed: pointers that `GetOriginalImageTag()` has given out stay
  /// valid, and a caller that sets a second tag deletes the first one itself.
  void SetOriginalImageTag(const basic_structures::CImageTag* tag);

  /// Stores a 3x3 row-major matrix, or its inverse for the odd types.
  ///
  /// Nothing changes if @p type is not one of the six, or if @p matrix has to be inverted and its
  /// determinant is exactly 0.
  void SetTransformMatrix(TransformMatrixType type, const double matrix[9]);

  /// Copies out a matrix as it is stored, or its inverse for the odd types.
  ///
  /// @p matrix is left untouched if @p type is not one of the six, or if the stored matrix has to
  /// be inverted and its determinant is exactly 0.
  void GetTransformMatrix(TransformMatrixType type, double matrix[9]) const;

  /// How many users the producer counts; this library stores the number only.
  int GetUsageCount() const noexcept { return usageCount_; }
  void SetUsageCount(int count) noexcept { usageCount_ = count; }

 private:
  char* hashId_ = nullptr;               // owned, freed with CCoreModule::FreeBytes
  char* originalImageHashId_ = nullptr;  // owned, freed with CCoreModule::FreeBytes
  basic_structures::CImageTag* originalImageTag_ = nullptr;  // owned
  double matrices_[3][9];
  std::int32_t usageCount_ = 1;
};

}  // namespace velmora::intermediate_results
