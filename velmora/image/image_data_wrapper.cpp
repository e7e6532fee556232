#include "velmora/image/image_data_wrapper.h"

#include "velmora/image/image_copy.h"

namespace velmora::basic_structures {

CImageDataWrapper::CImageDataWrapper(CImageData* image) : imageData_(image) {}

CImageDataWrapper::~CImageDataWrapper() = default;

CImageDataWrapper* CImageDataWrapper::DeepCopy() const {
  auto copy = imageData_ != nullptr ? CopyImage(*imageData_) : nullptr;
  auto wrapper = std::make_unique<CImageDataWrapper>(nullptr);
  wrapper->imageData_ = std::move(copy);
  return wrapper.release();
}

}  // namespace velmora::basic_structures
