#include "velmora/image/image_tag.h"

#include <utility>

#include "velmora/foundation/core_module.h"
#include "velmora/foundation/internal/byte_allocator.h"

namespace velmora::basic_structures {

CImageTag::~CImageTag() = default;

CFileImageTag::CFileImageTag(const char* filePath, int pageNumber, int totalPages)
    : filePath_(internal::DuplicateString(filePath)),
      pageNumber_(pageNumber),
      totalPages_(totalPages) {}

CFileImageTag::CFileImageTag(const CFileImageTag& other)
    : CImageTag(other),
      filePath_(internal::DuplicateString(other.filePath_)),
      pageNumber_(other.pageNumber_),
      totalPages_(other.totalPages_) {}

CFileImageTag& CFileImageTag::operator=(const CFileImageTag& other) {
  CFileImageTag copy(other);  // first, so that a tag may be assigned to itself
  CImageTag::operator=(other);
  std::swap(filePath_, copy.filePath_);
  pageNumber_ = other.pageNumber_;
  totalPages_ = other.totalPages_;
  return *this;
}

CFileImageTag::~CFileImageTag() {
  CCoreModule::FreeBytes(reinterpret_cast<unsigned char*>(filePath_));
}

ImageTagType CFileImageTag::GetType() const {
  return ITT_File;
}

CImageTag* CFileImageTag::Clone() const {
  return new CFileImageTag(*this);
}

CVideoFrameTag::CVideoFrameTag(VideoFrameQuality quality, bool isCropped, const CRect* cropRegion,
                               int originalWidth, int originalHeight, unsigned int clarity)
    : quality_(quality),
      isCropped_(isCropped),
      cropRegion_(cropRegion != nullptr ? std::make_shared<const CRect>(*cropRegion) : nullptr),
      originalWidth_(originalWidth),
      originalHeight_(originalHeight),
      clarity_(clarity) {}

CVideoFrameTag::~CVideoFrameTag() = default;

ImageTagType CVideoFrameTag::GetType() const {
  return ITT_VideoFrame;
}

CImageTag* CVideoFrameTag::Clone() const {
  auto* clone = new CVideoFrameTag(quality_, isCropped_, cropRegion_.get(), originalWidth_,
                                   originalHeight_, clarity_);
  clone->CImageTag::operator=(*this);
  return clone;
}

}  // namespace velmora::basic_structures
