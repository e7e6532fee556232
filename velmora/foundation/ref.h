/// @file
/// The intrusive reference through which shared objects are owned.
#pragma once

#include <cstddef>
#include <functional>
#include <type_traits>
#include <utility>

namespace velmora {

/// Owns one reference on a `T`, a class derived from `NxObjectBase`, `const` or not; or is empty.
///
/// The size of a pointer, no control block, no lock. Every replacement retains the new pointee
/// before it releases the old one, so that self-assignment and taking over a pointer that the old
/// pointee alone kept alive are safe. `nullptr`, `NULL`, `0` and, in assignments, `{}` are accepted
/// wherever a pointer is.
///
///     NxRef<Node> node = new Node;         // count 1
///     NxRef<const Node> same = node;       // count 2
///     node.reset();                        // count 1; `same` keeps the object alive
///
/// Copy and pointer assignment and `reset` throw what `NxObjectBase::release` throws and then leave
/// the ref and both counts as they were. Moves, `swap` and the destructor are `noexcept`: an
/// over-release that only the destructor or a move assignment meets ends the process through
/// `std::terminate`.
///
/// @threadsafety concurrent copies of different refs to one object are safe; one ref must not be
///               assigned and read concurrently
template <typename T>
class NxRef {
  template <typename U>
  using IfConvertible = std::enable_if_t<std::is_convertible_v<U*, T*>>;

 public:
  using element_type = T;

  NxRef() noexcept = default;
  NxRef(T* pointee) noexcept : pointee_(Retained(pointee)) {}
  NxRef(const NxRef& other) noexcept : pointee_(Retained(other.pointee_)) {}
  NxRef(NxRef&& other) noexcept : pointee_(std::exchange(other.pointee_, nullptr)) {}
  template <typename U, typename = IfConvertible<U>>
  NxRef(const NxRef<U>& other) noexcept : pointee_(Retained<T>(other.get())) {}
  template <typename U, typename = IfConvertible<U>>
  NxRef(NxRef<U>&& other) noexcept : pointee_(std::exchange(other.pointee_, nullptr)) {}

  ~NxRef() { Release(pointee_); }

  /// @throws int 4711, as all of these but the move assignment, if the old pointee is released more
  ///         often than retained
  NxRef& operator=(T* pointee) {
    Replace(pointee);
    return *this;
  }
  // NOLINTNEXTLINE(bugprone-unhandled-self-assignment): the new is retained before the old goes
  NxRef& operator=(const NxRef& other) { return *this = other.pointee_; }
  NxRef& operator=(NxRef&& other) noexcept {
    if (this != &other) Replace(std::move(other));
    return *this;
  }

  /// Drops the reference, if any.
  void reset() { Replace({}); }
  void swap(NxRef& other) noexcept { std::swap(pointee_, other.pointee_); }

  /// Empties this ref without dropping the reference, which belongs to the caller from now on.
  [[nodiscard]] T* Detach() noexcept { return std::exchange(pointee_, nullptr); }
  /// @return a ref that takes over a reference that the caller owns, one that was detached
  [[nodiscard]] static NxRef Adopt(T* pointee) noexcept {
    NxRef ref;
    ref.pointee_ = pointee;
    return ref;
  }

  T* get() const noexcept { return pointee_; }
  T* operator->() const noexcept { return pointee_; }
  T& operator*() const noexcept { return *pointee_; }
  explicit operator bool() const noexcept { return pointee_ != nullptr; }

 private:
  template <typename>
  friend class NxRef;
  template <typename U, typename... Arguments>
  friend NxRef<U> MakeRef(Arguments&&... arguments);

  template <typename U>
  static U* Retained(U* pointee) noexcept {
    if (pointee != nullptr) pointee->retain();
    return pointee;
  }
  static void Release(T* pointee) {
    if (pointee != nullptr) pointee->release();
  }
  // The old pointee is released before the new one is stored: its destructor still finds itself
  // here, and a 4711 leaves this ref as it was.
  void Replace(NxRef incoming) {
    Release(pointee_);
    pointee_ = std::exchange(incoming.pointee_, nullptr);
  }

  T* pointee_ = nullptr;
};

/// Makes a `T` and takes the first reference on it, which needs no interlocked operation: at once
/// `NxRef<T>(new T(arguments...))` and faster. The constructor of `T` lets no other thread know the
/// object.
template <typename T, typename... Arguments>
NxRef<T> MakeRef(Arguments&&... arguments) {
  NxRef<T> ref;
  ref.pointee_ = new T(std::forward<Arguments>(arguments)...);
  ref.pointee_->RetainNew();
  return ref;
}

// `NULL`, `0` and `nullptr` reach the pointer overloads: their parameter takes no part in
// deduction.

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

/// Orders by address, for ordered containers.
template <typename T>
bool operator<(const NxRef<T>& a, const NxRef<T>& b) noexcept {
  return std::less<T*>{}(a.get(), b.get());
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
