#include "velmora/platform/critical_section.h"

#include <pthread.h>

#include <cstring>
#include <new>
#include <system_error>

namespace velmora::platform {
namespace {

pthread_mutex_t* Mutex(unsigned char* storage) {
  return std::launder(reinterpret_cast<pthread_mutex_t*>(storage));
}

void ThrowIfFailed(int error, const char* what) {
  if (error != 0) throw std::system_error(error, std::generic_category(), what);
}

}  // namespace

CriticalSection::CriticalSection() {
  static_assert(alignof(pthread_mutex_t) <= alignof(void*));
  pthread_mutexattr_t attributes;
  ThrowIfFailed(pthread_mutexattr_init(&attributes), "pthread_mutexattr_init");
  pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
  const int error = pthread_mutex_init(new (storage_) pthread_mutex_t, &attributes);
  pthread_mutexattr_destroy(&attributes);
  ThrowIfFailed(error, "pthread_mutex_init");
}

CriticalSection::~CriticalSection() {
  pthread_mutex_destroy(Mutex(storage_));
}

CriticalSection& CriticalSection::operator=(const CriticalSection& other) noexcept {
  if (this != &other) std::memcpy(storage_, other.storage_, kSize);
  return *this;
}

void CriticalSection::lock() const {
  ThrowIfFailed(pthread_mutex_lock(Mutex(storage_)), "pthread_mutex_lock");
}

void CriticalSection::unlock() const {
  pthread_mutex_unlock(Mutex(storage_));
}

}  // namespace velmora::platform
