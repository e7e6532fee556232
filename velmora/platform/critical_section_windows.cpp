#include <windows.h>

#include <cstring>
#include <new>

#include "velmora/platform/critical_section.h"

namespace velmora::platform {
namespace {

CRITICAL_SECTION* Section(unsigned char* storage) {
  return std::launder(reinterpret_cast<CRITICAL_SECTION*>(storage));
}

}  // namespace

CriticalSection::CriticalSection() {
  static_assert(sizeof(CRITICAL_SECTION) <= kSize && alignof(CRITICAL_SECTION) <= alignof(void*));
  InitializeCriticalSection(new (storage_) CRITICAL_SECTION);
}

CriticalSection::~CriticalSection() {
  DeleteCriticalSection(Section(storage_));
}

CriticalSection& CriticalSection::operator=(const CriticalSection& other) noexcept {
  if (this == &other) return *this;
  CRITICAL_SECTION& section = *Section(storage_);
  const CRITICAL_SECTION own = section;
  std::memcpy(storage_, other.storage_, kSize);
  // DeleteCriticalSection frees these two.
  section.DebugInfo = own.DebugInfo;
  section.LockSemaphore = own.LockSemaphore;
  return *this;
}

void CriticalSection::lock() const {
  EnterCriticalSection(Section(storage_));
}

void CriticalSection::unlock() const {
  LeaveCriticalSection(Section(storage_));
}

}  // namespace velmora::platform
