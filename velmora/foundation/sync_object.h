/// @file
/// A lock to derive from.
#pragma once

#include "velmora/platform/critical_section.h"
#include "velmora/platform/export.h"

namespace velmora {

/// The platform's recursive lock as a base class: whoever derives from it can be locked.
///
/// `std::lock_guard<const SyncObject>` takes it. Assignment copies the lock object byte for byte,
/// except for what the destructor frees; never assign while another thread uses either side.
///
/// Locking and errors are those of `platform::CriticalSection`.
///
/// @threadsafety lock() and unlock() from any thread
class VELMORA_EXPORT SyncObject {
 public:
  SyncObject() = default;

  void lock() const { section_.lock(); }
  void unlock() const { section_.unlock(); }

 private:
  platform::CriticalSection section_;
};

}  // namespace velmora
