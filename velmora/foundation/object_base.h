/// @file
/// The base of every shared object of the library.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <utility>

#include "velmora/platform/export.h"

namespace velmora {

/// What `release()` throws, as an `int`, when an object is released more often than retained.
inline constexpr int kOverReleaseError = 4711;

/// What the reference count of a dying object reads: a late release or retain of it is visible in
/// a debugger.
inline constexpr std::int32_t kPoisonedReferenceCount = static_cast<std::int32_t>(0xDEADF001U);

/// The optional text id of an object: a flag that says whether the id was ever set, and its value.
///
/// A plain value. The flag and the value change apart: `SetValue` leaves the flag alone.
struct VELMORA_EXPORT NxObjectBaseIdStruct {
  bool hasValue = false;
  std::string value;

  NxObjectBaseIdStruct() = default;
  NxObjectBaseIdStruct(const NxObjectBaseIdStruct&) = default;
  NxObjectBaseIdStruct(NxObjectBaseIdStruct&& other) noexcept;  ///< leaves @p other's text empty
  ~NxObjectBaseIdStruct() = default;
  NxObjectBaseIdStruct& operator=(const NxObjectBaseIdStruct& other);
  NxObjectBaseIdStruct& operator=(NxObjectBaseIdStruct&& other) noexcept;  ///< leaves it empty

  const std::string& GetValue() const { return value; }
  void SetValue(const std::string& text) { value = text; }
};

/// Base of all objects that are shared through `NxRef`: an atomic reference count and a text id.
///
/// An object is born with count 0, on the heap, and handed at once to an `NxRef`, which brings the
/// count to 1. The release that takes the count from 1 to 0 destroys it. Copying never transfers
/// references: a copy starts at 0, and an object that is assigned to is set back to 0, so assign
/// only to objects that nobody shares yet.
///
/// @threadsafety retain() and release() from any thread. The id is unguarded.
class VELMORA_EXPORT NxObjectBase {
 public:
  NxObjectBase() = default;

  /// Copies the id if @p other has one; the reference count starts at 0.
  NxObjectBase(const NxObjectBase& other);

  /// Sets this object's reference count to 0, then copies the id if @p other has one; otherwise
  /// clears the flag and leaves the old text in place.
  NxObjectBase& operator=(const NxObjectBase& other);

  virtual ~NxObjectBase();

  /// Adds a reference. The count is not checked. `const`, as `release()` is: sharing an object does
  /// not change it.
  /// @return this object
  const NxObjectBase* retain() const noexcept {
    // Relaxed: the caller already holds a reference, so nothing has to be made visible here.
    referenceCount_.fetch_add(1, std::memory_order_relaxed);
    return this;
  }
  NxObjectBase* retain() noexcept {
    std::as_const(*this).retain();
    return this;
  }

  /// `retain()` for an object that its constructing thread has not shared yet, as `MakeRef` does.
  void RetainNew() noexcept {
    // No other thread can change the count: the first reference needs no interlocked operation. A
    // constructor may have handed out some already.
    const std::int32_t count = referenceCount_.load(std::memory_order_relaxed);
    referenceCount_.store(count + 1, std::memory_order_relaxed);
  }

  /// Drops a reference and destroys the object with the last one.
  /// @throws int 4711 (`kOverReleaseError`) if the count is 0 already; nothing changes then
  void release() const {
    // Release: what this thread did to the object happens before its destruction elsewhere.
    // Acquire, here and there: the thread that destroys it sees what all the others did.
    const std::int32_t count = referenceCount_.load(std::memory_order_acquire);
    if (count == 0) throw int{kOverReleaseError};
    // The only reference is the caller's: no other thread can change the count, which therefore
    // needs no interlocked decrement before the mark replaces it. That is the end of most objects.
    if (count != 1 && referenceCount_.fetch_sub(1, std::memory_order_acq_rel) != 1) return;
    // Relaxed: no other thread may look at the object any more; the mark is for debuggers.
    referenceCount_.store(kPoisonedReferenceCount, std::memory_order_relaxed);
    delete this;
  }

  /// The count at this instant; other threads may have changed it by the time it is read. For
  /// tests and diagnostics, never for decisions.
  std::int32_t GetReferenceCount() const noexcept {
    return referenceCount_.load(std::memory_order_relaxed);
  }

  /// Gives the object an id.
  void SetObjectId(std::string id) {
    id_.hasValue = true;
    id_.value = std::move(id);
  }
  bool HasObjectId() const noexcept { return id_.hasValue; }
  /// The id; empty if it was never set.
  const std::string& GetObjectId() const noexcept { return id_.GetValue(); }

 private:
  mutable std::atomic<std::int32_t> referenceCount_{0};
  NxObjectBaseIdStruct id_;
};

}  // namespace velmora
