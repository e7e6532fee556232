#include "velmora/foundation/char_array.h"

#include <cstddef>
#include <cstring>

#include "velmora/foundation/core_module.h"
#include "velmora/foundation/internal/byte_allocator.h"

void Nx_CopyCharArray(const char* src, char** dst) {
  if (src == nullptr || dst == nullptr) return;
  Nx_DeleteCharArray(dst);
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
