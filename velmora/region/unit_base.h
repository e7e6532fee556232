/// @file
/// The internal side of the intermediate-result units that observers see.
#pragma once

#include <atomic>
#include <vector>

#include "velmora/foundation/object_base.h"
#include "velmora/foundation/ref.h"
#include "velmora/platform/export.h"
#include "velmora/region/region_image_info.h"
#include "velmora/region/region_object.h"
#include "velmora/region/source_image_object.h"
#include "velmora/results/intermediate_result_unit.h"

namespace velmora {

class NxImageData;

/// The shared, internal side of a unit.
///
/// A concrete unit derives from this class (through `SectionResultUnitBase`) and from a public unit
/// class. The two do not know each other: this side finds its public face at run time, by a cast
/// across the object, and keeps it.
///
/// @threadsafety `RetainCache` and `ReleaseCache` from any thread
class VELMORA_EXPORT NxUnitBase : public NxObjectBase {
 public:
  NxUnitBase() = default;
  /// Copies the object base; the copy finds its own public face.
  NxUnitBase(const NxUnitBase& other) : NxObjectBase(other) {}
  /// Copies the object base; this unit keeps its own public face.
  NxUnitBase& operator=(const NxUnitBase& other);
  ~NxUnitBase() override;

  /// Finds the public face and keeps it; with the log at level 9 and in text mode, logs both.
  /// @return false if the concrete class is no `CIntermediateResultUnit`
  bool TransToCIntermediateResultUnitPtr();

  /// The public face as it was found last; null before that.
  intermediate_results::CIntermediateResultUnit* GetCIntermediateResultUnitPtr() const {
    return unit_.load(std::memory_order_relaxed);
  }

  /// Adds a reference to this unit for a holder of its public face, which is found first if need
  /// be.
  /// @return the public face, or null; give the reference back with `ReleaseCache` either way
  intermediate_results::CIntermediateResultUnit* RetainCache();
  /// Drops the reference; may destroy this unit.
  void ReleaseCache() { release(); }

  /// Tells the public face which image it comes from: its original-image hash id (left as it is if
  /// the image has none) and the original-to-local matrix. Computes the image's hash id if it is
  /// still empty. Does nothing if @p image is null or there is no public face.
  void CopySourceInfoFromImage(NxImageData* image);

  /// Copies from another unit to the public face: hash id, original-image hash id (each left as it
  /// is if @p other has none) and the original-to-local matrix. Does nothing if @p other is null or
  /// there is no public face.
  void CopyIntermediateResultUnit(const intermediate_results::CIntermediateResultUnit* other);

 private:
  intermediate_results::CIntermediateResultUnit* EnsureCIntermediateResultUnitPtr();

  // This same object seen as the public class. Relaxed accesses: two threads that look for it at
  // once store the same pointer, to an object that both see already.
  std::atomic<intermediate_results::CIntermediateResultUnit*> unit_{nullptr};
};

/// A unit whose content is the regions found on one section image.
///
/// Copies share the source image, the image info and the regions. Regions that leave the list are
/// released after it is whole again.
///
/// @threadsafety concurrent reads are safe; changes need the caller's own lock
class VELMORA_EXPORT SectionResultUnitBase : public NxUnitBase {
 public:
  /// Shares both.
  SectionResultUnitBase(NxSourceImageObject* source, NxRegionImageInfo* info);
  SectionResultUnitBase(const SectionResultUnitBase& other);
  SectionResultUnitBase& operator=(const SectionResultUnitBase& other);
  ~SectionResultUnitBase() override;

  const NxRef<NxSourceImageObject>& GetSourceImageObject() const { return source_; }
  /// Borrowed.
  NxRegionImageInfo* GetSectionImageInfo() const { return info_.get(); }

  /// Shares @p element behind those that are there.
  void AddElement(NxRef<NxRegionObject> element);
  /// Replaces an element. The index is not checked.
  void SetElement(int index, NxRef<NxRegionObject> element);
  void SetElements(std::vector<NxRef<NxRegionObject>> elements);
  /// The later elements move up one place.
  /// @return `EC_Ok`; `EC_IndexInvalid` if there is no such element, and nothing changes
  int RemoveElement(int index);
  void ClearElements();

  /// In the order in which they were added.
  const std::vector<NxRef<NxRegionObject>>& GetElementsVec() const { return elements_; }

 private:
  NxRef<NxSourceImageObject> source_;
  NxRef<NxRegionImageInfo> info_;
  std::vector<NxRef<NxRegionObject>> elements_;
};

}  // namespace velmora
