#include "tests/support/no_memory.h"

#include <cstdlib>
#include <new>

void* operator new(std::size_t size) {
  void* block = velmora::testing::noMemoryDepth == 0 ? std::malloc(size) : nullptr;
  if (block == nullptr) throw std::bad_alloc();
  return block;
}
void operator delete(void* block) noexcept {
  std::free(block);
}
void operator delete(void* block, std::size_t) noexcept {
  std::free(block);
}
