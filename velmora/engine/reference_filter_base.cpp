#include "velmora/engine/reference_filter_base.h"

namespace velmora {

NxReferenceFilterBase::NxReferenceFilterBase() = default;
NxReferenceFilterBase::NxReferenceFilterBase(const NxReferenceFilterBase&) = default;
NxReferenceFilterBase& NxReferenceFilterBase::operator=(const NxReferenceFilterBase&) = default;
NxReferenceFilterBase::~NxReferenceFilterBase() = default;

}  // namespace velmora
