/// @file
/// The operating system's recursive lock.
#pragma once

#include <cstddef>

#if !defined(_WIN32)
#include <pthread.h>
#endif

#include "velmora/platform/export.h"
#include "velmora/platform/mutex.h"

namespace velmora::platform {

/// A recursive lock of the operating system: `CRITICAL_SECTION` on Windows, a recursive
/// `pthread_mutex_t` elsewhere.
///
/// `SectionLock` holds it for a scope, as does `std::lock_guard`, which clang's analysis does not
/// follow. The thread that holds it may lock it again and must unlock it as often.
///
/// @threadsafety lock() and unlock() from any thread; construction, assignment and destruction
///               only while nobody else uses the object
class VELMORA_THREAD_ANNOTATION(capability("mutex")) VELMORA_EXPORT CriticalSection {
 public:
  /// @throws std::system_error if the system has no resources for another lock
  CriticalSection();
  ~CriticalSection();
  CriticalSection(const CriticalSection&) = delete;

  /// Copies the lock object byte for byte, as the platform's structure would be assigned, except
  /// for what the destructor frees: each object keeps its own. Neither side may be held or waited
  /// for.
  CriticalSection& operator=(const CriticalSection& other) noexcept;

  /// @throws std::system_error if its owner locks it more often than the system counts (never on
  ///         Windows)
  void lock() const VELMORA_ACQUIRE();
  /// For the thread that holds it.
  void unlock() const VELMORA_RELEASE();

 private:
  // Room for the system's structure. <windows.h> must not reach a client, so that its size is
  // written out there and asserted in the source.
#if defined(_WIN32)
  static constexpr std::size_t kSize = sizeof(void*) == 4 ? 24 : 40;
#else
  static constexpr std::size_t kSize = sizeof(pthread_mutex_t);
#endif
  alignas(void*) mutable unsigned char storage_[kSize];
};

/// Holds a `CriticalSection` until the end of its scope.
class VELMORA_THREAD_ANNOTATION(scoped_lockable) SectionLock {
 public:
  explicit SectionLock(const CriticalSection& section) VELMORA_ACQUIRE(section)
      : section_(section) {
    section_.lock();
  }
  ~SectionLock() VELMORA_RELEASE() { section_.unlock(); }
  SectionLock(const SectionLock&) = delete;
  SectionLock& operator=(const SectionLock&) = delete;

 private:
  const CriticalSection& section_;
};

}  // namespace velmora::platform
