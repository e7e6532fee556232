// The pixels that a decoder fills.
#pragma once

#include <cstddef>
#include <cstdint>
#include <stdexcept>

namespace velmora::capture {

// What a decoder throws: why the bytes are no picture that can be had.
class PictureError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// How the first three channels of a picture with alpha are stored.
enum class AlphaKind {
  kStraight,
  kPremultiplied,  // already multiplied by alpha
};

// Rows without padding, of grey or of R, G, B. Alpha is one channel more, the last, until it is
// blended.
class PictureBuffer {
 public:
  explicit PictureBuffer(std::int64_t maxPixels) : maxPixels_(maxPixels) {}
  PictureBuffer(const PictureBuffer&) = delete;
  PictureBuffer& operator=(const PictureBuffer&) = delete;
  ~PictureBuffer();

  // Throws PictureError if a side is 0 or the picture is larger than it may be. Decoders that know
  // how many bytes a picture of that size takes ask before they allocate it.
  void CheckSize(std::uint64_t width, std::uint64_t height) const;

  // Checks the size, then allocates zeros, so that rows that were never written show nothing.
  // Throws std::bad_alloc.
  void Allocate(std::uint64_t width, std::uint64_t height, int channels);

  int GetWidth() const { return width_; }
  int GetHeight() const { return height_; }
  int GetChannels() const { return channels_; }
  int GetStride() const { return width_ * channels_; }
  std::size_t GetSize() const {
    return static_cast<std::size_t>(GetStride()) * static_cast<unsigned>(height_);
  }
  std::int64_t GetMaxPixels() const { return maxPixels_; }
  unsigned char* GetRow(int y) {
    return pixels_ + static_cast<std::size_t>(GetStride()) * static_cast<unsigned>(y);
  }

  // Leaves the first channels, without alpha: all others, or 1 of R, G, B that are equal.
  void BlendOverWhite(int channels, AlphaKind kind = AlphaKind::kStraight);

  // Leaves the first channel only.
  void KeepFirstChannel();

  // The pixels, to be freed with std::free.
  unsigned char* Release();

 private:
  void ShrinkTo(int channels);

  std::int64_t maxPixels_;
  unsigned char* pixels_ = nullptr;
  int width_ = 0;
  int height_ = 0;
  int channels_ = 0;
};

}  // namespace velmora::capture
