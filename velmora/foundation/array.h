/// @file
/// Counted arrays of a fixed length.
#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>
#include <stdexcept>
#include <type_traits>

#include "velmora/foundation/object_base.h"
#include "velmora/foundation/ref.h"

namespace velmora {

/// A shared array of a fixed number of elements. Owns its buffer; not copyable.
///
/// An `NxArray<char>` made from bytes is a C string: its buffer is one longer than the bytes and
/// ends in a 0, and `GetCount()` includes that terminator.
///
/// @threadsafety concurrent reads are safe; writes need the caller's own lock
template <typename T>
class NxArray : public NxObjectBase {
 public:
  /// @p count value-initialised elements.
  /// @throws std::bad_alloc
  explicit NxArray(std::uint32_t count) : elements_(new T[count]()), count_(count) {}

  /// A copy of @p count elements; for `char`, with a terminating 0 behind them.
  /// @param elements may be null only if @p count is 0
  /// @throws std::bad_alloc; std::length_error for 2^32 - 1 chars, whose count with the terminator
  ///         does not fit
  NxArray(const T* elements, std::uint32_t count) : NxArray(BufferCount(count)) {
    std::copy_n(elements, count, elements_);
  }

  ~NxArray() override { delete[] elements_; }
  NxArray(const NxArray&) = delete;
  NxArray& operator=(const NxArray&) = delete;

  T* GetData() noexcept { return elements_; }
  const T* GetData() const noexcept { return elements_; }
  std::uint32_t GetCount() const noexcept { return count_; }

  /// The index is not checked.
  T& operator[](std::uint32_t index) noexcept { return elements_[index]; }
  const T& operator[](std::uint32_t index) const noexcept { return elements_[index]; }

  T* begin() noexcept { return elements_; }
  T* end() noexcept { return elements_ + count_; }
  const T* begin() const noexcept { return elements_; }
  const T* end() const noexcept { return elements_ + count_; }

 private:
  static std::uint32_t BufferCount(std::uint32_t count) {
    if constexpr (!std::is_same_v<T, char>) return count;
    if (count == std::numeric_limits<std::uint32_t>::max()) {
      throw std::length_error("NxArray<char>");
    }
    return count + 1;
  }

  T* elements_;
  std::uint32_t count_;
};

template <typename T>
using NxArrayRef = NxRef<NxArray<T>>;

}  // namespace velmora
