#include "velmora/foundation/single_thread_object_base.h"

namespace velmora {

NxSingleThreadObjectBase& NxSingleThreadObjectBase::operator=(
    const NxSingleThreadObjectBase&) noexcept {
  referenceCount_ = 0;
  return *this;
}

NxSingleThreadObjectBase::~NxSingleThreadObjectBase() = default;

}  // namespace velmora
