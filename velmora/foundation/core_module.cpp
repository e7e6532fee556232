#include "velmora/foundation/core_module.h"

#include <cstdlib>
#include <cstring>
#include <new>

#include "velmora/foundation/internal/byte_allocator.h"

const char* Nx_GetLibVersion() {
  return VELMORA_VERSION_STRING;
}

namespace velmora::basic_structures {

const char* CCoreModule::GetVersion() noexcept {
  return Nx_GetLibVersion();
}

unsigned char* CCoreModule::AllocateBytes(std::uint32_t size) noexcept {
  // malloc(0) may answer null, which would read as "no memory".
  return static_cast<unsigned char*>(std::malloc(size == 0 ? 1 : size));
}

void CCoreModule::FreeBytes(const unsigned char* bytes) noexcept {
  std::free(const_cast<unsigned char*>(bytes));
}

}  // namespace velmora::basic_structures

namespace velmora::internal {

unsigned char* AllocateBytesOrThrow(std::size_t size) {
  void* block = std::malloc(size == 0 ? 1 : size);
  if (block == nullptr) throw std::bad_alloc();
  return static_cast<unsigned char*>(block);
}

unsigned char* AllocateZeroedBytesOrThrow(std::size_t size) {
  void* block = std::calloc(size == 0 ? 1 : size, 1);
  if (block == nullptr) throw std::bad_alloc();
  return static_cast<unsigned char*>(block);
}

char* DuplicateString(const char* text) {
  if (text == nullptr) return nullptr;
  const std::size_t size = std::strlen(text) + 1;
  return static_cast<char*>(std::memcpy(AllocateBytesOrThrow(size), text, size));
}

}  // namespace velmora::internal
