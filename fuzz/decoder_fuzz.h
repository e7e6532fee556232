// Any bytes are a picture, whole and of the size that was allowed, or an error with a reason.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <new>
#include <numeric>

#include "velmora_capture/image_file/internal/decoder.h"

namespace velmora::capture {

inline void FuzzDecoder(const Decoder& decoder, const std::uint8_t* data, std::size_t size) {
  constexpr int kMaxPixels = 1 << 18;
  const FileBytes bytes{data, size};
  if (!decoder.isFormat(bytes)) return;
  PictureBuffer buffer(kMaxPixels);
  try {
    decoder.decode(bytes, buffer);
  } catch (const PictureError& error) {
    if (*error.what() == '\0') std::abort();
    return;
  } catch (const std::bad_alloc&) {
    return;
  }
  const int channels = buffer.GetChannels();
  if ((channels != 1 && channels != 3) || buffer.GetWidth() < 1 || buffer.GetHeight() < 1 ||
      std::int64_t{buffer.GetWidth()} * buffer.GetHeight() > kMaxPixels) {
    std::abort();
  }
  // Reads every pixel, so that the sanitizer sees whether they are all there.
  volatile unsigned sum =
      std::accumulate(buffer.GetRow(0), buffer.GetRow(0) + buffer.GetSize(), 0U);
  (void)sum;
}

}  // namespace velmora::capture
