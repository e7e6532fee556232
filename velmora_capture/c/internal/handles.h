/// @file
/// What the functions of the C interface share.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
#include <vector>

#include "velmora/foundation/error_code.h"
#include "velmora/foundation/ref.h"
#include "velmora_capture/c/velmora_capture.h"
#include "velmora_capture/capture_result.h"

namespace velmora::capture::c {

// Runs a body that returns a code; no exception leaves it.
template <typename Body>
std::int32_t Guarded(const Body& body) noexcept {
  try {
    return body();
  } catch (const std::bad_alloc&) {
    return EC_NoMemory;
  } catch (...) {
    return EC_Unknown;
  }
}

// Whether a caller's structure has a size that a version of `Struct` can have. Later versions
// append members, so the structure may be longer than ours; no version is longer than kLongest, so
// that most sizes that were never set are refused.
template <typename Struct>
bool HasValidSize(const Struct& value) {
  constexpr std::uint32_t kLongest = 1024;
  return value.size >= sizeof(Struct) && value.size <= kLongest &&
         value.size % alignof(Struct) == 0;
}

// Checks a structure that a function is to fill in.
template <typename Struct>
std::int32_t CheckOutput(const Struct* out) {
  if (out == nullptr) return EC_NullPointer;
  return HasValidSize(*out) ? EC_Ok : EC_ParameterValueInvalid;
}

// Fills in all members but the size, which stays the caller's.
template <typename Struct>
void Store(Struct* out, Struct value) {
  value.size = out->size;
  *out = value;
}

// Looks up one of `count` things to be stored in `out`.
template <typename Handle, typename Struct>
std::int32_t CheckLookup(const Handle* handle, std::int32_t index, std::size_t count,
                         const Struct* out) {
  if (handle == nullptr) return EC_NullPointer;
  if (index < 0 || static_cast<std::size_t>(index) >= count) return EC_IndexInvalid;
  return CheckOutput(out);
}

/// Makes a handle without a result, so that delivering one cannot run out of memory.
velmora_result* MakeResultHandle();
void SetResult(velmora_result& handle, const NxRef<CaptureResult>& result);

}  // namespace velmora::capture::c
