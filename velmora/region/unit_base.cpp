#include "velmora/region/unit_base.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>

#include "velmora/foundation/error_code.h"
#include "velmora/image/nx_image_data.h"
#include "velmora/log/log.h"

namespace velmora {

using intermediate_results::CIntermediateResultUnit;

namespace {

// The log's formats know 32-bit integers only.
unsigned LowWord(const void* pointer) {
  return static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(pointer));
}

bool HasText(const char* text) {
  return text != nullptr && *text != '\0';
}

}  // namespace

NxUnitBase& NxUnitBase::operator=(const NxUnitBase& other) {
  NxObjectBase::operator=(other);
  return *this;
}

NxUnitBase::~NxUnitBase() = default;

bool NxUnitBase::TransToCIntermediateResultUnitPtr() {
  auto* const unit = dynamic_cast<CIntermediateResultUnit*>(this);
  unit_.store(unit, std::memory_order_relaxed);
  VELMORA_LOG_TEXT(9, "NxUnitBase this Ptr %x", LowWord(this));
  VELMORA_LOG_TEXT(9, "NxUnitBase Ptr after cast %x", LowWord(unit));
  if (unit == nullptr) return false;
  const char* const hashId = unit->GetHashId();
  VELMORA_LOG_TEXT(9, "NxUnitBase hashId %s", hashId != nullptr ? hashId : "(null)");
  return true;
}

CIntermediateResultUnit* NxUnitBase::EnsureCIntermediateResultUnitPtr() {
  if (GetCIntermediateResultUnitPtr() == nullptr) TransToCIntermediateResultUnitPtr();
  return GetCIntermediateResultUnitPtr();
}

CIntermediateResultUnit* NxUnitBase::RetainCache() {
  retain();
  return EnsureCIntermediateResultUnitPtr();
}

void NxUnitBase::CopySourceInfoFromImage(NxImageData* image) {
  CIntermediateResultUnit* const unit = EnsureCIntermediateResultUnitPtr();
  if (unit == nullptr || image == nullptr) return;
  const std::string& hashId = image->GetHashID();
  if (!hashId.empty()) unit->SetOriginalImageHashId(hashId.c_str());
  std::array<double, 9> matrix;
  image->GetRotationTransformMatrix(matrix.data());
  unit->SetTransformMatrix(intermediate_results::TMT_OriginalToLocal, matrix.data());
}

void NxUnitBase::CopyIntermediateResultUnit(const CIntermediateResultUnit* other) {
  CIntermediateResultUnit* const unit = EnsureCIntermediateResultUnitPtr();
  if (unit == nullptr || other == nullptr) return;
  if (HasText(other->GetHashId())) unit->SetHashId(other->GetHashId());
  if (HasText(other->GetOriginalImageHashId())) {
    unit->SetOriginalImageHashId(other->GetOriginalImageHashId());
  }
  std::array<double, 9> matrix;
  other->GetTransformMatrix(intermediate_results::TMT_OriginalToLocal, matrix.data());
  unit->SetTransformMatrix(intermediate_results::TMT_OriginalToLocal, matrix.data());
}

SectionResultUnitBase::SectionResultUnitBase(NxSourceImageObject* source, NxRegionImageInfo* info)
    : source_(source), info_(info) {}

SectionResultUnitBase::SectionResultUnitBase(const SectionResultUnitBase& other) = default;

SectionResultUnitBase& SectionResultUnitBase::operator=(const SectionResultUnitBase& other) {
  NxUnitBase::operator=(other);
  source_ = other.source_;
  info_ = other.info_;
  SetElements(other.elements_);
  return *this;
}

SectionResultUnitBase::~SectionResultUnitBase() = default;

void SectionResultUnitBase::AddElement(NxRef<NxRegionObject> element) {
  elements_.push_back(std::move(element));
}

// What leaves the list is released when the list is whole again: a region's destructor may look
// through it.

void SectionResultUnitBase::SetElement(int index, NxRef<NxRegionObject> element) {
  elements_[static_cast<std::size_t>(index)].swap(element);
}

void SectionResultUnitBase::SetElements(std::vector<NxRef<NxRegionObject>> elements) {
  elements_.swap(elements);
}

int SectionResultUnitBase::RemoveElement(int index) {
  if (index < 0 || static_cast<std::size_t>(index) >= elements_.size()) return EC_IndexInvalid;
  const NxRef<NxRegionObject> removed = std::move(elements_[static_cast<std::size_t>(index)]);
  elements_.erase(elements_.begin() + index);
  return EC_Ok;
}

void SectionResultUnitBase::ClearElements() {
  SetElements({});
}

}  // namespace velmora
