// One decoder for each format of picture files.
#pragma once

#include <cstddef>
#include <cstring>
#include <new>

#include "velmora_capture/image_file/internal/picture_buffer.h"

namespace velmora::capture {

// The bytes of a file, borrowed.
struct FileBytes {
  const unsigned char* data = nullptr;
  std::size_t size = 0;

  bool HasAt(std::size_t offset, const char* text, std::size_t length) const {
    return size >= offset + length && std::memcmp(data + offset, text, length) == 0;
  }
};

// Throws std::bad_alloc if so much memory is not to be had: before calls of libraries that do not
// get over every allocation that fails.
inline void RequireMemory(std::size_t size) {
  ::operator delete(::operator new(size));
}

struct Decoder {
  // Whether the first bytes are those of this format.
  bool (*isFormat)(const FileBytes& bytes);

  // Fills the buffer with the whole first picture of the file. Throws PictureError, also if the
  // file ends too early, and std::bad_alloc.
  void (*decode)(const FileBytes& bytes, PictureBuffer& buffer);
};

extern const Decoder kPngDecoder;
extern const Decoder kJpegDecoder;
extern const Decoder kWebpDecoder;
extern const Decoder kGifDecoder;
extern const Decoder kTiffDecoder;
extern const Decoder kBmpDecoder;
extern const Decoder kPnmDecoder;

}  // namespace velmora::capture
