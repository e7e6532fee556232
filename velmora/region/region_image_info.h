/// @file
/// The image in whose coordinates regions are given.
#pragma once

#include <array>
#include <map>
#include <string>
#include <vector>

#include "velmora/foundation/object_base.h"
#include "velmora/foundation/ref.h"
#include "velmora/platform/export.h"
#include "velmora/platform/mutex.h"

namespace velmora {

class NxImageData;

/// An image that regions are measured in, how it came from the original image, and the tips (hint
/// objects filed by name) that tasks leave on it for each other.
///
/// Regions on the same image share one.
///
/// @threadsafety any thread. Tips that are cleared are released after the lock.
class VELMORA_EXPORT NxRegionImageInfo : public NxObjectBase {
 public:
  /// @param image            shared; null if there is no image
  /// @param originalToLocal  nine doubles, 3x3 row major, that take a point of the original image
  ///                         to @p image; copied; null stands for the identity
  NxRegionImageInfo(NxImageData* image, const double* originalToLocal);
  ~NxRegionImageInfo() override;
  NxRegionImageInfo(const NxRegionImageInfo&) = delete;
  NxRegionImageInfo& operator=(const NxRegionImageInfo&) = delete;

  /// A new reference on the image; empty if there is none.
  NxRef<NxImageData> GetImage() const;

  /// The image, borrowed: this object keeps it alive; null if there is none.
  NxImageData* GetImagePtr() const { return image_.get(); }

  /// Nine doubles, 3x3 row major, borrowed.
  const double* GetOriginalToLocalTransMat() const { return originalToLocal_.data(); }

  /// Adds @p items (shared) behind the tips that @p key has already. A tip that holds this object,
  /// as a region measured in it does, keeps it alive until it is cleared.
  void AddTipsData(const std::string& key, const std::vector<NxRef<NxObjectBase>>& items);

  /// A copy of the tips of @p key, in the order in which they were added; empty if it has none.
  std::vector<NxRef<NxObjectBase>> GetTipsData(const std::string& key) const;

  /// Releases the tips of @p key, if it has any.
  void ClearTipsData(const std::string& key);
  /// Releases the tips of every key.
  void ClearAllTipsData();

 private:
  NxRef<NxImageData> image_;
  std::array<double, 9> originalToLocal_;
  mutable Mutex mutex_;
  std::map<std::string, std::vector<NxRef<NxObjectBase>>> tips_ VELMORA_GUARDED_BY(mutex_);
};

}  // namespace velmora
