#include "velmora/results/text_zone.h"

#include <cstring>
#include <limits>
#include <new>
#include <utility>

#include "velmora/foundation/core_module.h"
#include "velmora/foundation/internal/byte_allocator.h"

namespace velmora::intermediate_results {
namespace {

using basic_structures::CCoreModule;
using basic_structures::CQuadrilateral;

void FreeIndices(int* indices) noexcept {
  CCoreModule::FreeBytes(reinterpret_cast<const unsigned char*>(indices));
}

}  // namespace

CTextZone::CTextZone() = default;

CTextZone::CTextZone(const CQuadrilateral& location) : location_(location) {}

CTextZone::CTextZone(const CQuadrilateral& location, const int* indices, int count)
    : location_(location) {
  CopyIndices(indices, count);
}

CTextZone::CTextZone(const CTextZone& other) : location_(other.location_) {
  CopyIndices(other.charContoursIndices_, other.charContoursIndicesCount_);
}

// Forgets its own array; a zone that is assigned to itself is left without indices.
// NOLINTNEXTLINE(bugprone-unhandled-self-assignment)
CTextZone& CTextZone::operator=(const CTextZone& other) {
  CTextZone copied;
  if (this != &other) copied = CTextZone(other);
  location_ = other.location_;
  charContoursIndices_ = std::exchange(copied.charContoursIndices_, nullptr);
  charContoursIndicesCount_ = copied.charContoursIndicesCount_;
  return *this;
}

CTextZone::CTextZone(CTextZone&& other) noexcept
    : location_(other.location_),
      charContoursIndicesCount_(std::exchange(other.charContoursIndicesCount_, 0)),
      charContoursIndices_(std::exchange(other.charContoursIndices_, nullptr)) {}

// By way of a third zone: one that is assigned to itself keeps its indices.
CTextZone& CTextZone::operator=(CTextZone&& other) noexcept {
  CTextZone taken(std::move(other));
  location_ = taken.location_;
  std::swap(charContoursIndices_, taken.charContoursIndices_);
  std::swap(charContoursIndicesCount_, taken.charContoursIndicesCount_);
  return *this;
}

CTextZone::~CTextZone() {
  FreeIndices(charContoursIndices_);
}

void CTextZone::GetCharContoursIndices(int** indices, int* count) const noexcept {
  if (indices == nullptr || count == nullptr) return;
  *indices = charContoursIndices_;
  *count = charContoursIndicesCount_;
}

// Copies before it frees: the numbers may be the zone's own.
void CTextZone::SetCharContoursIndices(const int* indices, int count) {
  CTextZone given(location_, indices, count);
  std::swap(charContoursIndices_, given.charContoursIndices_);
  std::swap(charContoursIndicesCount_, given.charContoursIndicesCount_);
}

// Into a zone without indices.
void CTextZone::CopyIndices(const int* indices, int count) {
  if (count < 1 || indices == nullptr) return;
  const auto length = static_cast<std::size_t>(count);
  if (length > std::numeric_limits<std::size_t>::max() / sizeof(int)) throw std::bad_alloc();
  const std::size_t size = length * sizeof(int);
  charContoursIndices_ = reinterpret_cast<int*>(internal::AllocateBytesOrThrow(size));
  std::memcpy(charContoursIndices_, indices, size);
  charContoursIndicesCount_ = count;
}

}  // namespace velmora::intermediate_results
