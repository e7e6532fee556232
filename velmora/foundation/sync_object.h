/// @file
/// A lock to derive from.
#pragma once

#include "velmora/platform/critical_section.h"
#include "velmora/platform/export.h"
#include "velmora/platform/mutex.h"

namespace velmora {

/// The platform's recursive lock as a base class: whoever derives from it can be locked.
///
/// `SyncLock` holds it for a scope, as does `std::lock_guard<const SyncObject>`. Assignment copies
/// the lock object byte for byte, except for what the destructor frees; never assign while another
/// thread uses either side.
///
/// Locking and errors are those of `platform::CriticalSection`.
///
/// @threadsafety lock() and unlock() from any thread
class VELMORA_THREAD_ANNOTATION(capability("mutex")) VELMORA_EXPORT SyncObject {
 public:
  SyncObject() = default;

  void lock() const VELMORA_ACQUIRE() VELMORA_UNCHECKED_LOCKING { section_.lock(); }
  void unlock() const VELMORA_RELEASE() VELMORA_UNCHECKED_LOCKING { section_.unlock(); }

 private:
  platform::CriticalSection section_;
};

/// Holds a `SyncObject` until the end of its scope.
class VELMORA_THREAD_ANNOTATION(scoped_lockable) SyncLock {
 public:
  explicit SyncLock(const SyncObject& object) VELMORA_ACQUIRE(object) : object_(object) {
    object_.lock();
  }
  ~SyncLock() VELMORA_RELEASE() { object_.unlock(); }
  SyncLock(const SyncLock&) = delete;
  SyncLock& operator=(const SyncLock&) = delete;

 private:
  const SyncObject& object_;
};

}  // namespace velmora
