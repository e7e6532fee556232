// PNG through libspng.
#include <spng.h>

#include <cstdlib>
#include <memory>
#include <new>
#include <vector>

#include "velmora_capture/image_file/internal/decoder.h"

namespace velmora::capture {

namespace {

constexpr std::size_t kMostMetadata = std::size_t{1} << 24;  // bytes of chunks that are kept

struct FreeContext {
  void operator()(spng_ctx* context) const { spng_ctx_free(context); }
};
using Context = std::unique_ptr<spng_ctx, FreeContext>;

// Of this thread's picture: the library calls it broken data when its inflater finds no memory.
thread_local bool foundNoMemory = false;

void* Noted(void* memory) {
  if (memory == nullptr) foundNoMemory = true;
  return memory;
}

Context MakeContext() {
  spng_alloc allocation{[](std::size_t size) { return Noted(std::malloc(size)); },
                        [](void* old, std::size_t size) { return Noted(std::realloc(old, size)); },
                        [](std::size_t n, std::size_t size) { return Noted(std::calloc(n, size)); },
                        &std::free};
  foundNoMemory = false;
  Context context(spng_ctx_new2(&allocation, 0));
  if (context == nullptr) throw std::bad_alloc();
  return context;
}

void Check(int result) {
  if (result != 0 && foundNoMemory) throw std::bad_alloc();
  if (result == SPNG_IO_EOF) throw PictureError("the file ends within the picture");
  if (result != 0) throw PictureError(spng_strerror(result));
}

void DecodePixels(spng_ctx& context, PictureBuffer& buffer, spng_format format) {
  Check(spng_decode_image(&context, buffer.GetRow(0), buffer.GetSize(), format, SPNG_DECODE_TRNS));
}

// Rows of less than a byte for a pixel, which is what most pictures of codes are: several times as
// fast as the library's own way to 8 bits.
void DecodeBits(spng_ctx& context, const spng_ihdr& header, PictureBuffer& buffer) {
  const unsigned depth = header.bit_depth;
  const unsigned most = (1U << depth) - 1;
  const unsigned scale = 255 / most;  // 255, 85 or 17, without a remainder
  std::vector<unsigned char> packed((std::size_t{header.width} * depth + 7) / 8);
  Check(spng_decode_image(&context, nullptr, 0, SPNG_FMT_RAW, SPNG_DECODE_PROGRESSIVE));
  for (int y = 0; y < buffer.GetHeight(); ++y) {
    const int result = spng_decode_row(&context, packed.data(), packed.size());
    if (result != SPNG_EOI) Check(result);
    unsigned char* const row = buffer.GetRow(y);
    for (unsigned x = 0; x < header.width; ++x) {
      const unsigned bit = x * depth % 8;
      const unsigned value = packed[std::size_t{x} * depth / 8] >> (8 - depth - bit) & most;
      row[x] = static_cast<unsigned char>(value * scale);
    }
  }
}

bool IsPng(const FileBytes& bytes) {
  return bytes.HasAt(0, "\x89PNG\r\n\x1A\n", 8);
}

void DecodePng(const FileBytes& bytes, PictureBuffer& buffer) {
  const Context context = MakeContext();
  Check(spng_set_chunk_limits(context.get(), kMostMetadata, kMostMetadata));
  Check(spng_set_png_buffer(context.get(), bytes.data, bytes.size));
  spng_ihdr header{};
  Check(spng_get_ihdr(context.get(), &header));
  buffer.CheckSize(header.width, header.height);
  spng_trns transparency{};
  const int opaque = spng_get_trns(context.get(), &transparency);
  if (opaque != SPNG_ECHUNKAVAIL) Check(opaque);
  const bool isGrey = (header.color_type & SPNG_COLOR_TYPE_TRUECOLOR) == 0;
  const bool hasAlpha = (header.color_type & SPNG_COLOR_TYPE_GRAYSCALE_ALPHA) != 0 || opaque == 0;
  if (hasAlpha) {
    buffer.Allocate(header.width, header.height, 4);
    DecodePixels(*context, buffer, SPNG_FMT_RGBA8);
    buffer.BlendOverWhite(isGrey ? 1 : 3);
  } else if (isGrey && header.bit_depth <= 8) {
    buffer.Allocate(header.width, header.height, 1);
    if (header.bit_depth < 8 && header.interlace_method == 0) {
      DecodeBits(*context, header, buffer);
    } else {
      DecodePixels(*context, buffer, SPNG_FMT_G8);
    }
  } else {
    buffer.Allocate(header.width, header.height, 3);
    DecodePixels(*context, buffer, SPNG_FMT_RGB8);
    if (isGrey) buffer.KeepFirstChannel();
  }
}

}  // namespace

const Decoder kPngDecoder{&IsPng, &DecodePng};

}  // namespace velmora::capture
