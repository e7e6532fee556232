#include "velmora/image/nx_image_data_inner.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>

#include "velmora/foundation/core_module.h"
#include "velmora/foundation/internal/arithmetic.h"
#include "velmora/foundation/internal/byte_allocator.h"

namespace velmora {

using basic_structures::CCoreModule;
using basic_structures::ImagePixelFormat;

namespace {

// The 32-bit product, widened with its sign.
std::uint64_t BufferLength(int stride, int height) {
  return static_cast<std::uint64_t>(std::int64_t{internal::WrapMul(stride, height)});
}

std::size_t AllocationSize(int stride, int height) {
  const std::int32_t size = internal::WrapMul(stride, height);
  if (size < 0) throw std::bad_alloc();
  return static_cast<std::size_t>(size);
}

}  // namespace

NxImageDataInner::NxImageDataInner(const unsigned char* bytes, int width, int height, int stride,
                                   ImagePixelFormat format)
    : CImageData(BufferLength(stride, height), bytes, nullptr, width, height, stride, format, 0,
                 nullptr),
      borrowed_(true) {}

NxImageDataInner::NxImageDataInner(int width, int height, int stride, ImagePixelFormat format)
    : NxImageDataInner(nullptr, width, height, stride, format) {
  bytes_ = internal::AllocateZeroedBytesOrThrow(AllocationSize(stride, height));
  releaseBytes_ = &CCoreModule::FreeBytes;
  hasOwnBuffer_ = true;
  borrowed_ = false;
}

NxImageDataInner* NxImageDataInner::CreateUninitialised(int width, int height, int stride,
                                                        ImagePixelFormat format) {
  auto image = std::make_unique<NxImageDataInner>(nullptr, width, height, stride, format);
  image->bytes_ = internal::AllocateBytesOrThrow(AllocationSize(stride, height));
  image->releaseBytes_ = &CCoreModule::FreeBytes;
  image->hasOwnBuffer_ = true;
  image->borrowed_ = false;
  return image.release();
}

NxImageDataInner::~NxImageDataInner() {
  if (borrowed_) bytes_ = nullptr;
}

}  // namespace velmora
