/// @file
/// A reference-counted base for client objects that never leave one thread.
#pragma once

#include <cstdint>

#include "velmora/foundation/object_base.h"
#include "velmora/platform/export.h"

namespace velmora {

/// `NxObjectBase` without the atomic operations and without an id, for client modules.
///
/// Same rules: born with count 0, destroyed by the release that takes the count from 1 to 0,
/// copies start at 0 and assignment sets the target back to 0.
///
/// @threadsafety one thread only
class VELMORA_EXPORT NxSingleThreadObjectBase {
 public:
  NxSingleThreadObjectBase() = default;
  NxSingleThreadObjectBase(const NxSingleThreadObjectBase&) noexcept {}
  NxSingleThreadObjectBase& operator=(const NxSingleThreadObjectBase&) noexcept;
  virtual ~NxSingleThreadObjectBase();

  /// @return this object
  NxSingleThreadObjectBase* retain() noexcept {
    ++referenceCount_;
    return this;
  }

  /// @throws int 4711 (`kOverReleaseError`) if the count is 0 already; nothing changes then
  void release() {
    if (referenceCount_ == 0) throw int{kOverReleaseError};
    if (--referenceCount_ != 0) return;
    referenceCount_ = kPoisonedReferenceCount;
    delete this;
  }

  std::int32_t GetReferenceCount() const noexcept { return referenceCount_; }

 private:
  std::int32_t referenceCount_ = 0;
};

}  // namespace velmora
