/// @file
/// The intrusive reference through which shared objects are owned.
#pragma once

#include <cstddef>
#include <functional>
#include <type_traits>
#include <utility>

namespace velmora {

/// Owns one reference on a `T`, a class derived from `NxObjectBase`; or is empty.
///
/// The size of a pointer, no control block, no lock. Every replacement retains the new pointee
/// before it releases the old one, so that self-assignment and taking over a pointer that the old
/// pointee alone kept alive are safe.
///
///     NxRef<Node> node = new Node;   // count 1
///     NxRef<Node> same = node;       // count 2
///     node.reset();                  // count 1; `same` keeps the object alive
///
/// The destructor may throw what `NxObjectBase::release` throws. Standard containers therefore
/// copy rather than move refs when they grow: reserve first where that matters.
///
/// @threadsafety copies of different refs to one object are safe at once; one ref must not be
///               assigned and read at once
template <typename T>
class NxRef {
  template <typename U>
  using IfConvertible = std::enable_if_t<std::is_convertible_v<U*, T*>>;

 public:
  using element_type = T;

  NxRef() noexcept = default;
  NxRef(std::nullptr_t) noexcept {}
  NxRef(T* pointee) noexcept : pointee_(Retained(pointee)) {}
  NxRef(const NxRef& other) noexcept : pointee_(Retained(other.pointee_)) {}
  NxRef(NxRef&& other) noexcept : pointee_(std::exchange(other.pointee_, nullptr)) {}
  template <typename U, typename = IfConvertible<U>>
  NxRef(const NxRef<U>& other) noexcept : pointee_(Retained<T>(other.get())) {}
  template <typename U, typename = IfConvertible<U>>
  NxRef(NxRef<U>&& other) noexcept : pointee_(std::exchange(other.pointee_, nullptr)) {}

  ~NxRef() noexcept(false) { Release(pointee_); }

  NxRef& operator=(T* pointee) {
    Replace(Retained(pointee));
    return *this;
  }
  NxRef& operator=(std::nullptr_t) {
    Replace(nullptr);
    return *this;
  }
  // NOLINTNEXTLINE(bugprone-unhandled-self-assignment): the new is retained before the old goes
  NxRef& operator=(const NxRef& other) { return *this = other.pointee_; }
  NxRef& operator=(NxRef&& other) {
    if (this != &other) Replace(std::exchange(other.pointee_, nullptr));
    return *this;
  }

  /// Drops the reference, if any.
  void reset() { Replace(nullptr); }
  void swap(NxRef& other) noexcept { std::swap(pointee_, other.pointee_); }

  T* get() const noexcept { return pointee_; }
  T* operator->() const noexcept { return pointee_; }
  T& operator*() const noexcept { return *pointee_; }
  explicit operator bool() const noexcept { return pointee_ != nullptr; }

 private:
  template <typename>
  friend class NxRef;

  template <typename U>
  static U* Retained(U* pointee) noexcept {
    if (pointee != nullptr) pointee->retain();
    return pointee;
  }
  static void Release(T* pointee) {
    if (pointee != nullptr) pointee->release();
  }
  // Takes over a pointee that is retained already. The old pointee goes before the new one is
  // stored: its destructor still finds itself here, and a 4711 leaves this ref as it was.
  void Replace(T* retained) {
    Release(pointee_);
    pointee_ = retained;
  }

  T* pointee_ = nullptr;
};

template <typename T, typename U>
bool operator==(const NxRef<T>& a, const NxRef<U>& b) noexcept {
  return a.get() == b.get();
}
template <typename T, typename U>
bool operator!=(const NxRef<T>& a, const NxRef<U>& b) noexcept {
  return a.get() != b.get();
}
template <typename T>
bool operator==(const NxRef<T>& a, const std::remove_reference_t<T>* b) noexcept {
  return a.get() == b;
}
template <typename T>
bool operator!=(const NxRef<T>& a, const std::remove_reference_t<T>* b) noexcept {
  return a.get() != b;
}
template <typename T>
bool operator==(const std::remove_reference_t<T>* a, const NxRef<T>& b) noexcept {
  return a == b.get();
}
template <typename T>
bool operator!=(const std::remove_reference_t<T>* a, const NxRef<T>& b) noexcept {
  return a != b.get();
}
template <typename T>
bool operator==(const NxRef<T>& a, std::nullptr_t) noexcept {
  return a.get() == nullptr;
}
template <typename T>
bool operator!=(const NxRef<T>& a, std::nullptr_t) noexcept {
  return a.get() != nullptr;
}
template <typename T>
bool operator==(std::nullptr_t, const NxRef<T>& b) noexcept {
  return b.get() == nullptr;
}
template <typename T>
bool operator!=(std::nullptr_t, const NxRef<T>& b) noexcept {
  return b.get() != nullptr;
}

template <typename T>
void swap(NxRef<T>& a, NxRef<T>& b) noexcept {
  a.swap(b);
}

}  // namespace velmora

template <typename T>
struct std::hash<velmora::NxRef<T>> {
  std::size_t operator()(const velmora::NxRef<T>& ref) const noexcept {
    return std::hash<T*>{}(ref.get());
  }
};
