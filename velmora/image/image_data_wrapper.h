/// @file
/// An image where a reference-counted object is asked for.
#pragma once

#include <memory>

#include "velmora/foundation/object_base.h"
#include "velmora/image/image_data.h"
#include "velmora/platform/export.h"

namespace velmora::basic_structures {

/// Lets a `CImageData` be shared through `NxRef`.
///
/// @threadsafety as `NxObjectBase`; the image as `CImageData`
class VELMORA_EXPORT CImageDataWrapper : public NxObjectBase {
 public:
  /// @param image  taken over, destroyed with the last wrapper that shows it; may be null
  /// @throws std::bad_alloc; the image still belongs to the caller then
  explicit CImageDataWrapper(CImageData* image);

  /// Copy construction and copy assignment are shallow: both wrappers then show the same image,
  /// which lives until the last of them is gone. `DeepCopy()` makes an independent one.
  CImageDataWrapper(const CImageDataWrapper&) = default;
  CImageDataWrapper& operator=(const CImageDataWrapper&) = default;
  ~CImageDataWrapper() override;

  /// Still owned by the wrapper; null if it holds none.
  const CImageData* GetImageData() const noexcept { return imageData_.get(); }

  /// @return a new wrapper with reference count 0 that holds a copy of the image, with its own
  ///         bytes and a clone of the tag; or none, if this one holds none
  /// @throws std::bad_alloc
  [[nodiscard]] CImageDataWrapper* DeepCopy() const;

 private:
  std::shared_ptr<CImageData> imageData_;
};

}  // namespace velmora::basic_structures
