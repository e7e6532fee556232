/// @file
/// Locks whose use the compiler checks.
#pragma once

#include <mutex>

/// @name Annotations of clang's thread-safety analysis; nothing to other compilers
/// @{
#if defined(__clang__)
#define VELMORA_THREAD_ANNOTATION(attribute) __attribute__((attribute))
#else
#define VELMORA_THREAD_ANNOTATION(attribute)
#endif
/// A field that is read and written only while the mutex is held.
#define VELMORA_GUARDED_BY(mutex) VELMORA_THREAD_ANNOTATION(guarded_by(mutex))
/// A pointer whose pointee is read and written only while the mutex is held.
#define VELMORA_PT_GUARDED_BY(mutex) VELMORA_THREAD_ANNOTATION(pt_guarded_by(mutex))
/// A function that is called with the mutexes held.
#define VELMORA_REQUIRES(...) VELMORA_THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
/// A function that takes the mutexes itself, so that its caller must not hold them.
#define VELMORA_EXCLUDES(...) VELMORA_THREAD_ANNOTATION(locks_excluded(__VA_ARGS__))
#define VELMORA_ACQUIRE(...) VELMORA_THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
#define VELMORA_RELEASE(...) VELMORA_THREAD_ANNOTATION(release_capability(__VA_ARGS__))
#define VELMORA_TRY_ACQUIRE(...) VELMORA_THREAD_ANNOTATION(try_acquire_capability(__VA_ARGS__))
/// A function that the analysis cannot follow; a comment says why it is right.
#define VELMORA_UNCHECKED_LOCKING VELMORA_THREAD_ANNOTATION(no_thread_safety_analysis)
/// @}

namespace velmora {

/// A `std::mutex`, of the same size and layout, that clang's analysis knows as a lock.
class VELMORA_THREAD_ANNOTATION(capability("mutex")) Mutex : public std::mutex {
 public:
  void lock() VELMORA_ACQUIRE() { std::mutex::lock(); }
  void unlock() VELMORA_RELEASE() { std::mutex::unlock(); }
  bool try_lock() VELMORA_TRY_ACQUIRE(true) { return std::mutex::try_lock(); }
};

/// Holds a `Mutex` until the end of its scope.
class VELMORA_THREAD_ANNOTATION(scoped_lockable) MutexLock {
 public:
  explicit MutexLock(Mutex& mutex) VELMORA_ACQUIRE(mutex) : mutex_(mutex) { mutex_.lock(); }
  ~MutexLock() VELMORA_RELEASE() { mutex_.unlock(); }
  MutexLock(const MutexLock&) = delete;
  MutexLock& operator=(const MutexLock&) = delete;

 private:
  Mutex& mutex_;
};

/// Holds a `Mutex` until the end of its scope, but for the time that it waits for a condition or is
/// let go on purpose.
class VELMORA_THREAD_ANNOTATION(scoped_lockable) WaitingLock {
 public:
  explicit WaitingLock(Mutex& mutex) VELMORA_ACQUIRE(mutex) : lock_(mutex) {}
  ~WaitingLock() VELMORA_RELEASE() {}  // NOLINT(modernize-use-equals-default): has an annotation
  WaitingLock(const WaitingLock&) = delete;
  WaitingLock& operator=(const WaitingLock&) = delete;

  void Unlock() VELMORA_RELEASE() { lock_.unlock(); }
  void Lock() VELMORA_ACQUIRE() { lock_.lock(); }
  /// For a `std::condition_variable`, which gives the lock back before it returns.
  std::unique_lock<std::mutex>& Native() { return lock_; }

 private:
  std::unique_lock<std::mutex> lock_;
};

}  // namespace velmora
