#include "velmora/foundation/char_array.h"

#include <cstddef>
#include <cstring>
#include <memory>
#include <utility>

#include "velmora/foundation/core_module.h"
#include "velmora/foundation/internal/byte_allocator.h"

namespace {

struct StringDeleter {
  void operator()(char* text) const { Nx_DeleteCharArray(&text); }
};

using OldString = std::unique_ptr<char, StringDeleter>;

}  // namespace

void Nx_CopyCharArray(const char* src, char** dst) {
  if (src == nullptr || dst == nullptr) return;
  // Freed at the end: src may point into it.
  const OldString old(std::exchange(*dst, nullptr));
  *dst = velmora::internal::DuplicateString(src);
}

void Nx_DeleteCharArray(char** p) {
  if (p == nullptr || *p == nullptr) return;
  velmora::basic_structures::CCoreModule::FreeBytes(reinterpret_cast<unsigned char*>(*p));
  *p = nullptr;
}

namespace velmora {

void CopyStringToBuffer(const std::string& s, char* buf, int size) {
  if (buf == nullptr || size <= 0) return;
  const std::size_t capacity = static_cast<std::size_t>(size);
  std::memset(buf, 0, capacity);
  s.copy(buf, capacity);
}

}  // namespace velmora
