#include "velmora/foundation/object_base.h"

#include <utility>

namespace velmora {

NxObjectBaseIdStruct::NxObjectBaseIdStruct(NxObjectBaseIdStruct&& other) noexcept
    : hasValue(other.hasValue), value(std::exchange(other.value, {})) {}

NxObjectBaseIdStruct& NxObjectBaseIdStruct::operator=(const NxObjectBaseIdStruct& other) {
  if (this != &other) value = other.value;  // first: it may find no memory
  hasValue = other.hasValue;
  return *this;
}

NxObjectBaseIdStruct& NxObjectBaseIdStruct::operator=(NxObjectBaseIdStruct&& other) noexcept {
  hasValue = other.hasValue;
  if (this != &other) value = std::exchange(other.value, {});
  return *this;
}

NxObjectBase::NxObjectBase(const NxObjectBase& other) {
  if (other.id_.hasValue) id_ = other.id_;
}

NxObjectBase& NxObjectBase::operator=(const NxObjectBase& other) {
  // Relaxed: the caller guarantees that nobody shares this object yet.
  referenceCount_.exchange(0, std::memory_order_relaxed);
  if (other.id_.hasValue) {
    id_ = other.id_;
  } else {
    id_.hasValue = false;
  }
  return *this;
}

NxObjectBase::~NxObjectBase() = default;

}  // namespace velmora
