/// @file
/// C strings and buffers that cross the module's border.
#pragma once

#include <string>

#include "velmora/platform/export.h"

extern "C" {

/// Replaces the C string at @p dst by a copy of @p src. Nothing happens if either is null.
///
/// @param src  NUL-terminated; may be, or point into, the string that @p dst holds
/// @param dst  where the owning pointer stands: null, or a string that this function made, which is
///             freed after the copy is made. Free the new one with `Nx_DeleteCharArray` or
///             `CCoreModule::FreeBytes`, never with an allocator of your own module
/// @throws std::bad_alloc; the pointer at @p dst is null then, its old string gone
/// @threadsafety any thread, as long as nobody else uses @p dst
VELMORA_EXPORT void Nx_CopyCharArray(const char* src, char** dst);

/// Frees the string at @p p and sets the pointer to null. Nothing happens if either is null.
VELMORA_EXPORT void Nx_DeleteCharArray(char** p);
}

namespace velmora {

using ::Nx_CopyCharArray;
using ::Nx_DeleteCharArray;

/// Fills all @p size bytes of @p buf with 0, then copies the first min(length, size) bytes of @p s
/// to its start. Nothing happens if @p buf is null or @p size below 1.
///
/// A string as long as the buffer, or longer, leaves no terminating 0: size the buffer for it.
VELMORA_EXPORT void CopyStringToBuffer(const std::string& s, char* buf, int size);

}  // namespace velmora
