// The throwing allocator behind every buffer that CCoreModule::FreeBytes may be given.
#pragma once

#include <cstddef>
#include <cstring>

namespace velmora::internal {

// A block of `size` bytes from the C heap, uninitialised; 0 gives a real block too. Throws
// std::bad_alloc. Freed with CCoreModule::FreeBytes.
unsigned char* AllocateBytesOrThrow(std::size_t size);

// The same, zero-filled.
unsigned char* AllocateZeroedBytesOrThrow(std::size_t size);

// A copy of a C string that CCoreModule::FreeBytes frees; null gives null. Throws std::bad_alloc.
char* DuplicateString(const char* text);

}  // namespace velmora::internal
