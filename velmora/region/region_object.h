/// @file
/// The unit of data that flows between the tasks of the engine.
#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

#include "velmora/foundation/error_code.h"
#include "velmora/foundation/ref.h"
#include "velmora/geometry/nx_quad.h"
#include "velmora/geometry/point.h"
#include "velmora/geometry/quadrilateral.h"
#include "velmora/platform/export.h"
#include "velmora/region/region_image_info.h"
#include "velmora/region/source_image_object.h"
#include "velmora/region/work_modes_state.h"
#include "velmora/results/region_object_element.h"

namespace velmora {

class NxImageData;

/// How a region relates to another one that lies in the same place. Only the value of the base
/// class is known here; the others belong to the modules that compare regions.
enum RegionObjectDuplicateStatus : std::int32_t {
  RODS_NotDuplicate = 0,
};

/// One quadrilateral of one source image: where it is, which image it is measured in, which region
/// it was found in, who produced it, and how far work on it has come.
///
/// The quadrilateral is the inherited one. Task modules derive their kinds of region from this
/// class and from a public element class, and hand the element to `SetCRegionObjectElementPtr`.
///
/// A copy is a region of its own as to place, names and flags, and shares what describes the same
/// find: source image, reference region, image info, work modes and the status bits. Marking one
/// copy uploaded, invalid or checked marks them all. See docs/regions.md for what copying and
/// assigning carry over.
///
/// Regions own the region they were found in. Do not make a chain of reference regions that leads
/// back to its start: it would never die, and a search along it never end.
///
/// Move a region with `SetLocationWithQuadrilateral`. The inherited operations that change the
/// quadrilateral leave the whole-image flag and the hash id as they were.
///
/// @threadsafety any number of readers, of which copying, assigning from the region and
///               `GetRegionHashId` are three; the status bits and the work-mode operations also
///               while others set them. Everything else is set before the region is shared, the
///               cached measures of the quadrilateral included.
class VELMORA_EXPORT NxRegionObject : public Nx_Quad {
 public:
  /// Region type 0, no source image, an image info without an image and with the identity.
  NxRegionObject();

  /// Stores @p source (shared, may be null) and @p type, then does `InitNxRegionObject`.
  NxRegionObject(NxSourceImageObject* source, intermediate_results::RegionObjectElementType type,
                 const NxRef<NxRegionImageInfo>& info, const Nx_Quad* quad);

  /// Leaves the public element null, which belongs to @p other. Computes the hash id if
  /// @p other has none and there are a source image and an image.
  NxRegionObject(const NxRegionObject& other);

  /// Takes over the public element of @p other too, and its hash id as it is. As with every shared
  /// object, assign only to a region that nobody shares yet.
  NxRegionObject& operator=(const NxRegionObject& other);

  ~NxRegionObject() override;

  /// Puts the region on an image: holds @p info, then sets
  ///  - the validity flags: without an image, image data are not valid; with an image that PDF
  ///    content was extracted into, both flags say what it holds; else they stay;
  ///  - the place: @p quad, or the whole image if it is null (without an image the old place
  ///    stays and the region is not the whole image);
  ///  - the hash id, if there are a source image and an image.
  void InitNxRegionObject(const NxRef<NxRegionImageInfo>& info, const Nx_Quad* quad);

  /// Moves the region. The corners are put into clockwise order if they are not.
  ///
  /// Order and convexity are judged in 32 bits: between corners 46,341 pixels or more apart the
  /// products wrap, and a convex quadrilateral may be refused or reordered wrongly. Work on a
  /// scaled or cropped image then.
  /// @return `EC_Ok`; `EC_QuadrilateralInvalid` if they make no convex quadrilateral, and nothing
  ///         changes
  int SetLocationWithQuadrilateral(const basic_structures::CQuadrilateral& quadrilateral);

  /// Where the region is, in pixels of `GetRegionImage`.
  const Nx_Quad& GetRegionQuad() const { return *this; }

  /// True if the vertices equal the four at @p points in that very order. False for null.
  bool IsTotSamePoints(const NxPoint_<int>* points) const;

  /// True if the vertices were the corners of the whole image, clockwise from (0, 0), when the
  /// region was last put on an image or moved with `SetLocationWithQuadrilateral`.
  bool RegionIsWholeImage() const { return isWholeImage_; }

  /// The matrix from the original image to a crop of this region, for concrete regions to compute.
  /// @param width, height  get the size of the crop
  /// @return false, and nothing is touched, in this class
  virtual bool GetCropROITransMat(NxImageData* image, int& width, int& height);

  /// Compares with another region, for concrete regions.
  /// @return `RODS_NotDuplicate` in this class
  virtual RegionObjectDuplicateStatus CheckDuplicateStatusWithRegionObject(
      const NxRegionObject& other, void* context);

  /// Sets the hash id: that of the image for the whole image; else the hash of the image's hash id
  /// followed by that of the quadrilateral. Leaves it as it is when there is no image.
  virtual void CalcRegionHashId();

  /// The hash id, computed by the first call if it is still empty; empty without an image. The
  /// first call may come from any thread: `CalcRegionHashId` runs under the region's own recursive
  /// lock.
  const std::string& GetRegionHashId();
  /// Replaces the hash id, until the region moves; an empty one is computed again when asked for.
  void SetRegionHashId(const std::string& hashId);

  intermediate_results::RegionObjectElementType GetRegionType() const { return type_; }
  void SetRegionType(intermediate_results::RegionObjectElementType type) { type_ = type; }
  /// How good the find is, on a scale of the module that made it; 0 at first.
  int GetRegionScore() const { return score_; }
  void SetRegionScore(int score) { score_ = score; }

  /// The capture this region belongs to; empty if there is none.
  const NxRef<NxSourceImageObject>& GetSourceImageObject() const { return source_; }
  void SetSourceImageObject(const NxRef<NxSourceImageObject>& source) { source_ = source; }

  /// What the region is measured in: a new reference, or the region's own one. Whoever assigns to
  /// that moves nothing and computes nothing anew: `InitNxRegionObject` does.
  NxRef<NxRegionImageInfo> GetRegionImageInfo() const { return imageInfo_; }
  NxRef<NxRegionImageInfo>& GetRegionImageInfo() { return imageInfo_; }

  /// The image of the image info, borrowed; null if there is none.
  NxImageData* GetRegionImage() const;

  /// The nine doubles of the image info, borrowed; null only if the region was given no image info.
  const double* GetTransMatFromOriginalToLocal() const;

  /// Writes the 3x3 identity into nine doubles.
  static void GetIdentityMatrix(double* matrix);

  /// The region this one was found in; empty for a root region.
  const NxRef<NxRegionObject>& GetReferenceRegion() const { return referenceRegion_; }
  /// The caller makes no ring: it would never die, and searches along it never end.
  void SetReferenceRegion(const NxRef<NxRegionObject>& region);

  /// Searches the chain of reference regions for one that the definition @p name produced.
  /// @return the reference through which the nearest such region is held: a member of this region
  ///         or of one along the chain, valid as long as that is; if there is none, the empty
  ///         reference at the end of the chain
  NxRef<NxRegionObject>& GetCertainReferenceRegionByTargetName(const std::string& name);

  /// The public element of the reference region; null if there is no reference region or its type
  /// is one that has no public element.
  const intermediate_results::CRegionObjectElement* ConvertReferenceRegionToElement() const;

  /// This region as applications see it, not owned; null until the concrete class sets it.
  intermediate_results::CRegionObjectElement* GetCRegionObjectElementPtr() const {
    return element_;
  }

  /// Adds a reference to this region for a holder of its public element.
  /// @return the public element; give it back with `ReleaseCache`
  intermediate_results::CRegionObjectElement* RetainCache();
  /// Drops the reference; may destroy this region.
  void ReleaseCache() { release(); }

  /// @name Status, shared with all copies of this region. Bits are only ever set.
  /// @{
  void SetUpload() { Mark(kUploaded); }
  bool IsUpload() const { return IsMarked(kUploaded); }
  void SetInvalid() { Mark(kInvalid); }
  bool IsValid() const { return !IsMarked(kInvalid); }
  void SetChecked() { Mark(kChecked); }
  bool IsChecked() const { return IsMarked(kChecked); }
  /// @}

  /// Whether the vector content of a PDF page may be used for this region; false at first.
  bool IsPDFVectorValid() const { return isPdfVectorValid_; }
  void SetPDFVectorValidFlag(bool isValid) { isPdfVectorValid_ = isValid; }
  /// Whether the pixels may be used; true at first.
  bool IsImageDataValid() const { return isImageDataValid_; }
  void SetImageDataValidFlag(bool isValid) { isImageDataValid_ = isValid; }

  /// Names of the target-ROI definition and of the task that produced the region; empty at first.
  const std::string& GetTargetROIDefName() const { return targetRoiDefName_; }
  void SetTargetROIDefName(const std::string& name) { targetRoiDefName_ = name; }
  const std::string& GetProductTaskName() const { return productTaskName_; }
  void SetProductTaskName(const std::string& name) { productTaskName_ = name; }

  /// Starts the work modes anew, all not started, in place of those that are there. Ask
  /// `AlreadyInitWorkModesState` first.
  /// @param number  kept for the caller; the task engine passes 0
  /// @return the new state, borrowed
  WorkModesStateObject* InitWorkModesState(int number, const std::vector<std::string>& workModes);
  bool AlreadyInitWorkModesState() const { return workModesState_ != nullptr; }

  /// @name Work modes. Before `InitWorkModesState` setting does nothing and both questions are
  /// answered with true. Each takes the mutex of the work modes.
  /// @{
  void SetWorkModeState(const std::string& workMode, WorkModesState state);
  bool IsNoWorkModeInProgress() const;
  bool IsCompletedBeforeCertainWorkMode(const std::string& workMode) const;
  /// @}

  /// @name Only after `InitWorkModesState`
  /// @{
  WorkModesStateObject::StateList& GetStates() const { return workModesState_->GetStates(); }
  std::mutex& GetWorkModesStateMutex() const { return workModesState_->GetMutex(); }
  /// @}

 protected:
  /// For the concrete class, which is the element or owns it.
  void SetCRegionObjectElementPtr(intermediate_results::CRegionObjectElement* element) {
    element_ = element;
  }

 private:
  enum StatusBit : std::uint32_t { kUploaded = 1, kInvalid = 2, kChecked = 4 };

  // The status of a region and all its copies.
  class StatusCell : public NxObjectBase {
   public:
    // Relaxed: a bit says nothing about other data, and none is ever cleared.
    std::atomic<std::uint32_t> bits{0};
  };

  void Mark(StatusBit bit) { status_->bits.fetch_or(bit, std::memory_order_relaxed); }
  bool IsMarked(StatusBit bit) const {
    return (status_->bits.load(std::memory_order_relaxed) & bit) != 0;
  }

  // plain: taken only until the id is settled, which the analysis does not follow
  using HashIdLock = std::unique_lock<std::recursive_mutex>;

  NxRegionObject(const NxRegionObject& other, const HashIdLock& otherIsLocked);
  HashIdLock LockHashId() const;
  void InitValidityFlags(NxImageData* image);
  void InitLocation(NxImageData* image, const Nx_Quad* quad);
  void UpdateHashId(NxImageData* image);

  intermediate_results::RegionObjectElementType type_{};
  NxRef<NxSourceImageObject> source_;
  bool isWholeImage_ = false;
  NxRef<NxRegionObject> referenceRegion_;
  intermediate_results::CRegionObjectElement* element_ = nullptr;
  NxRef<NxRegionImageInfo> imageInfo_;
  bool isPdfVectorValid_ = false;
  bool isImageDataValid_ = true;
  std::int32_t score_ = 0;
  NxRef<StatusCell> status_;
  std::string hashId_;
  std::string targetRoiDefName_;
  std::string productTaskName_;
  NxRef<WorkModesStateObject> workModesState_;
  // Guards the hash id, and what computing it writes, until hashIdIsSettled_ is true. Recursive: a
  // concrete CalcRegionHashId may ask for the id, and for that of a copy which it makes.
  mutable std::recursive_mutex hashIdMutex_;  // plain: see HashIdLock
  std::atomic<bool> hashIdIsSettled_{false};
};

}  // namespace velmora
