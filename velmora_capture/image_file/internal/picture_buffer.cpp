#include "velmora_capture/image_file/internal/picture_buffer.h"

#include <cstdlib>
#include <limits>
#include <new>
#include <string>
#include <utility>

namespace velmora::capture {

PictureBuffer::~PictureBuffer() {
  std::free(pixels_);
}

void PictureBuffer::CheckSize(std::uint64_t width, std::uint64_t height) const {
  const auto size = [&] { return std::to_string(width) + " x " + std::to_string(height); };
  if (width == 0 || height == 0) throw PictureError("a picture of " + size() + " pixels");
  const auto limit = static_cast<std::uint64_t>(maxPixels_);
  if (width > limit / height) {
    throw PictureError("too large: " + size() + " pixels, the limit is " + std::to_string(limit));
  }
  constexpr std::uint64_t kMostBytes = std::numeric_limits<int>::max();  // of a row of 4 channels
  if (width > kMostBytes / 4 || height > kMostBytes) {
    throw PictureError("too large: a side of " + std::to_string(width > height ? width : height) +
                       " pixels, the limit is " + std::to_string(kMostBytes / 4));
  }
}

void PictureBuffer::Allocate(std::uint64_t width, std::uint64_t height, int channels) {
  CheckSize(width, height);
  // At most 2^31 bytes a row; where std::size_t has 32 bits the product may still not fit into it.
  const std::uint64_t rowBytes = width * static_cast<unsigned>(channels);
  if (rowBytes > std::numeric_limits<std::size_t>::max() / height) throw std::bad_alloc();
  std::free(std::exchange(pixels_, nullptr));
  pixels_ = static_cast<unsigned char*>(
      std::calloc(static_cast<std::size_t>(rowBytes), static_cast<std::size_t>(height)));
  if (pixels_ == nullptr) throw std::bad_alloc();
  width_ = static_cast<int>(width);
  height_ = static_cast<int>(height);
  channels_ = channels;
}

void PictureBuffer::BlendOverWhite(int channels, AlphaKind kind) {
  const int step = channels_;
  const unsigned char* from = pixels_;
  const unsigned char* const end = from + GetSize();
  for (unsigned char* to = pixels_; from != end; from += step) {
    const unsigned alpha = from[step - 1];
    for (int c = 0; c < channels; ++c) {
      const unsigned premultiplied =
          kind == AlphaKind::kStraight ? (from[c] * alpha + 127) / 255 : from[c];
      const unsigned blended = premultiplied + 255 - alpha;
      *to++ = static_cast<unsigned char>(blended < 255 ? blended : 255);
    }
  }
  ShrinkTo(channels);
}

void PictureBuffer::KeepFirstChannel() {
  const std::size_t count = GetSize() / static_cast<unsigned>(channels_);
  for (std::size_t i = 0; i < count; ++i) {
    pixels_[i] = pixels_[i * static_cast<unsigned>(channels_)];
  }
  ShrinkTo(1);
}

void PictureBuffer::ShrinkTo(int channels) {
  channels_ = channels;
  void* const smaller = std::realloc(pixels_, GetSize());
  if (smaller != nullptr) pixels_ = static_cast<unsigned char*>(smaller);
}

unsigned char* PictureBuffer::Release() {
  return std::exchange(pixels_, nullptr);
}

}  // namespace velmora::capture
