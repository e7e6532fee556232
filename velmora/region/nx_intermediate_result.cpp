#include "velmora/region/nx_intermediate_result.h"

#include <cstddef>
#include <utility>

namespace velmora {

using intermediate_results::CIntermediateResultUnit;

NxIntermediateResult::NxIntermediateResult() = default;
NxIntermediateResult::NxIntermediateResult(const NxIntermediateResult& other) = default;

NxIntermediateResult& NxIntermediateResult::operator=(const NxIntermediateResult& other) {
  CIntermediateResult::operator=(other);
  NxObjectBase::operator=(other);
  auto units = other.units_;
  units_.swap(units);  // the old are released when the list is whole again
  return *this;
}

NxIntermediateResult::~NxIntermediateResult() = default;

void NxIntermediateResult::AddUnit(NxRef<SectionResultUnitBase> unit) {
  units_.push_back(std::move(unit));
}

int NxIntermediateResult::GetCount() const {
  return static_cast<int>(units_.size());
}

const CIntermediateResultUnit* NxIntermediateResult::GetIntermediateResultUnit(int index) const {
  if (index < 0 || index >= GetCount()) return nullptr;
  const NxRef<SectionResultUnitBase>& unit = units_[static_cast<std::size_t>(index)];
  return unit ? unit->GetCIntermediateResultUnitPtr() : nullptr;
}

}  // namespace velmora
