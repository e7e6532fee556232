#include "velmora/image/image_data_wrapper.h"

#include "velmora/image/image_copy.h"

namespace velmora::basic_structures {

CImageDataWrapper::CImageDataWrapper(CImageData* image) {
  if (image == nullptr) return;
  // The owner is allocated first: shared_ptr(image) would destroy the image if it could not be.
  const auto owner = std::make_shared<std::unique_ptr<CImageData>>();
  owner->reset(image);
  imageData_ = std::shared_ptr<CImageData>(owner, image);
}

CImageDataWrapper::~CImageDataWrapper() = default;

CImageDataWrapper* CImageDataWrapper::DeepCopy() const {
  auto copy = imageData_ != nullptr ? CopyImage(*imageData_) : nullptr;
  auto wrapper = std::make_unique<CImageDataWrapper>(nullptr);
  wrapper->imageData_ = std::move(copy);
  return wrapper.release();
}

}  // namespace velmora::basic_structures
