#include "velmora/foundation/single_thread_object_base.h"

#include "velmora/foundation/object_base.h"

namespace velmora {

NxSingleThreadObjectBase& NxSingleThreadObjectBase::operator=(
    const NxSingleThreadObjectBase&) noexcept {
  referenceCount_ = 0;
  return *this;
}

NxSingleThreadObjectBase::~NxSingleThreadObjectBase() = default;

NxSingleThreadObjectBase* NxSingleThreadObjectBase::retain() noexcept {
  ++referenceCount_;
  return this;
}

void NxSingleThreadObjectBase::release() {
  if (referenceCount_ == 0) throw int{kOverReleaseError};
  if (--referenceCount_ != 0) return;
  referenceCount_ = kPoisonedReferenceCount;
  delete this;
}

}  // namespace velmora
