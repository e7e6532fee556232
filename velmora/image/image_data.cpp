#include "velmora/image/image_data.h"

#include <cstring>

#include "velmora/foundation/core_module.h"
#include "velmora/foundation/internal/byte_allocator.h"

namespace velmora::basic_structures {
namespace {

CImageTag* CloneOrNull(const CImageTag* tag) {
  return tag != nullptr ? tag->Clone() : nullptr;
}

}  // namespace

// Both constructors delegate to the default one: from there on a throw runs the destructor, which
// frees what is stored so far.
CImageData::CImageData(unsigned long long bytesLength, const unsigned char* bytes, int width,
                       int height, int stride, ImagePixelFormat format, int orientation,
                       const CImageTag* tag)
    : CImageData(bytesLength, nullptr, nullptr, width, height, stride, format, orientation, tag) {
  if (bytes == nullptr) return;
  const auto size = static_cast<std::uint32_t>(bytesLength);
  unsigned char* copy = internal::AllocateBytesOrThrow(size);
  std::memcpy(copy, bytes, size);
  bytes_ = copy;
  releaseBytes_ = &CCoreModule::FreeBytes;
  hasOwnBuffer_ = true;
}

CImageData::CImageData(unsigned long long bytesLength, const unsigned char* bytes,
                       ReleaseBytes releaseBytes, int width, int height, int stride,
                       ImagePixelFormat format, int orientation, const CImageTag* tag)
    : CImageData() {
  imageTag_ = CloneOrNull(tag);  // first: if it throws, the caller still owns the bytes
  bytesLength_ = bytesLength;
  bytes_ = bytes;
  width_ = width;
  height_ = height;
  stride_ = stride;
  format_ = format;
  orientation_ = orientation;
  releaseBytes_ = releaseBytes;
}

CImageData::~CImageData() {
  if (releaseBytes_ != nullptr) releaseBytes_(bytes_);
  delete imageTag_;
}

void CImageData::SetImageTag(const CImageTag* tag) {
  if (tag == imageTag_) return;
  CImageTag* clone = CloneOrNull(tag);
  delete imageTag_;
  imageTag_ = clone;
}

}  // namespace velmora::basic_structures
