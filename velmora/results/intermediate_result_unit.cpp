#include "velmora/results/intermediate_result_unit.h"

#include <algorithm>

#include "velmora/foundation/core_module.h"
#include "velmora/foundation/internal/byte_allocator.h"
#include "velmora/image/image_tag.h"

namespace velmora::intermediate_results {
namespace {

using basic_structures::CCoreModule;

constexpr double kIdentity[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
constexpr std::uint32_t kMatrixTypes = 6;

void FreeString(char* text) noexcept {
  CCoreModule::FreeBytes(reinterpret_cast<const unsigned char*>(text));
}

// Copies first and frees after: the text may be the one that is held.
void ReplaceString(char*& held, const char* text) {
  if (text == nullptr) return;
  char* copy = internal::DuplicateString(text);
  FreeString(held);
  held = copy;
}

bool IsMatrixType(TransformMatrixType type) noexcept {
  return static_cast<std::uint32_t>(type) < kMatrixTypes;
}
bool IsInverse(TransformMatrixType type) noexcept {
  return type % 2 != 0;
}

// The adjugate over the determinant. Leaves `out` alone if the determinant is exactly 0.
void Invert(const double (&m)[9], double out[9]) noexcept {
  const double determinant = m[0] * (m[4] * m[8] - m[5] * m[7]) -
                             m[1] * (m[3] * m[8] - m[5] * m[6]) +
                             m[2] * (m[3] * m[7] - m[4] * m[6]);
  if (determinant == 0) return;
  const double scale = 1 / determinant;
  out[0] = (m[4] * m[8] - m[5] * m[7]) * scale;
  out[1] = (m[2] * m[7] - m[1] * m[8]) * scale;
  out[2] = (m[1] * m[5] - m[2] * m[4]) * scale;
  out[3] = (m[5] * m[6] - m[3] * m[8]) * scale;
  out[4] = (m[0] * m[8] - m[2] * m[6]) * scale;
  out[5] = (m[2] * m[3] - m[0] * m[5]) * scale;
  out[6] = (m[3] * m[7] - m[4] * m[6]) * scale;
  out[7] = (m[1] * m[6] - m[0] * m[7]) * scale;
  out[8] = (m[0] * m[4] - m[1] * m[3]) * scale;
}

}  // namespace

CIntermediateResultUnit::CIntermediateResultUnit() {
  for (double(&matrix)[9] : matrices_) std::copy_n(kIdentity, 9, matrix);
}

CIntermediateResultUnit::~CIntermediateResultUnit() {
  FreeString(hashId_);
  FreeString(originalImageHashId_);
  delete originalImageTag_;
}

void CIntermediateResultUnit::SetHashId(const char* hashId) {
  ReplaceString(hashId_, hashId);
}

void CIntermediateResultUnit::SetOriginalImageHashId(const char* hashId) {
  ReplaceString(originalImageHashId_, hashId);
}

void CIntermediateResultUnit::SetOriginalImageTag(const basic_structures::CImageTag* tag) {
  if (tag != nullptr) originalImageTag_ = tag->Clone();
}

void CIntermediateResultUnit::SetTransformMatrix(TransformMatrixType type, const double matrix[9]) {
  if (!IsMatrixType(type)) return;
  double given[9];
  std::copy_n(matrix, 9, given);
  double(&stored)[9] = matrices_[type / 2];
  if (IsInverse(type)) {
    Invert(given, stored);
  } else {
    std::copy_n(given, 9, stored);
  }
}

void CIntermediateResultUnit::GetTransformMatrix(TransformMatrixType type, double matrix[9]) const {
  if (!IsMatrixType(type)) return;
  const double(&stored)[9] = matrices_[type / 2];
  if (IsInverse(type)) {
    Invert(stored, matrix);
  } else {
    std::copy_n(stored, 9, matrix);
  }
}

}  // namespace velmora::intermediate_results
