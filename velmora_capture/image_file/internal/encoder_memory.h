// Memory for stb's encoder, which does not look whether it got any.
#pragma once

#include <cstddef>
#include <cstdlib>
#include <new>

namespace velmora::capture {

// Frees at its end what the encoder allocated on this thread since its beginning. Scopes are not
// nested.
class EncoderMemory {
 public:
  EncoderMemory() { current = this; }
  ~EncoderMemory() {
    while (blocks_.behind != &blocks_) Free(blocks_.behind + 1);
    current = nullptr;
  }
  EncoderMemory(const EncoderMemory&) = delete;
  EncoderMemory& operator=(const EncoderMemory&) = delete;

  // As realloc, but throws std::bad_alloc, through the encoder.
  static void* Reallocate(void* old, std::size_t size) {
    Link* const before = old == nullptr ? &current->blocks_ : (static_cast<Link*>(old) - 1)->before;
    void* const memory =
        std::realloc(old == nullptr ? nullptr : static_cast<Link*>(old) - 1, sizeof(Link) + size);
    if (memory == nullptr) throw std::bad_alloc();
    Link* const block = static_cast<Link*>(memory);
    if (old == nullptr) *block = {before, before->behind};
    block->before->behind = block;
    block->behind->before = block;
    return block + 1;
  }

  static void Free(void* memory) {
    if (memory == nullptr) return;
    Link* const block = static_cast<Link*>(memory) - 1;
    block->before->behind = block->behind;
    block->behind->before = block->before;
    std::free(block);
  }

 private:
  // In front of each block.
  struct alignas(std::max_align_t) Link {
    Link* before;
    Link* behind;
  };

  static thread_local EncoderMemory* current;

  Link blocks_{&blocks_, &blocks_};
};

}  // namespace velmora::capture
