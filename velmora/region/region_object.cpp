#include "velmora/region/region_object.h"

#include <algorithm>
#include <array>

#include "velmora/foundation/hash_algorithm.h"
#include "velmora/foundation/internal/arithmetic.h"
#include "velmora/image/nx_image_data.h"
#include "velmora/platform/internal/system.h"

namespace velmora {

using basic_structures::CQuadrilateral;
using intermediate_results::CRegionObjectElement;
using intermediate_results::RegionObjectElementType;
using internal::WrapSub;

namespace {

using Corners = std::array<NxPoint_<int>, 4>;

constexpr std::array<double, 9> kIdentity = {1, 0, 0, 0, 1, 0, 0, 0, 1};

Corners CornersOf(const NxImageData& image) {
  const int right = WrapSub(image.GetWidth(), 1);
  const int bottom = WrapSub(image.GetHeight(), 1);
  return {NxPoint_<int>(0, 0), NxPoint_<int>(right, 0), NxPoint_<int>(right, bottom),
          NxPoint_<int>(0, bottom)};
}

}  // namespace

NxRegionObject::NxRegionObject()
    : imageInfo_(new NxRegionImageInfo(nullptr, kIdentity.data())), status_(new StatusCell) {}

NxRegionObject::NxRegionObject(NxSourceImageObject* source, RegionObjectElementType type,
                               const NxRef<NxRegionImageInfo>& info, const Nx_Quad* quad)
    : type_(type), source_(source), status_(new StatusCell) {
  NxRegionObject::InitNxRegionObject(info, quad);
}

NxRegionObject::NxRegionObject(const NxRegionObject& other)
    : NxRegionObject(other, other.LockHashId()) {}

NxRegionObject::NxRegionObject(const NxRegionObject& other, const HashIdLock& /*otherIsLocked*/)
    : Nx_Quad(other),
      type_(other.type_),
      source_(other.source_),
      isWholeImage_(other.isWholeImage_),
      referenceRegion_(other.referenceRegion_),
      imageInfo_(other.imageInfo_),
      isPdfVectorValid_(other.isPdfVectorValid_),
      isImageDataValid_(other.isImageDataValid_),
      score_(other.score_),
      status_(other.status_),
      hashId_(other.hashId_),
      targetRoiDefName_(other.targetRoiDefName_),
      productTaskName_(other.productTaskName_),
      workModesState_(other.workModesState_) {
  if (hashId_.empty()) UpdateHashId(GetRegionImage());
}

// Assigning a region to itself needs no check: each member takes care of it.
// NOLINTNEXTLINE(bugprone-unhandled-self-assignment)
NxRegionObject& NxRegionObject::operator=(const NxRegionObject& other) {
  // A region may be given one that only its own reference region or the tips of its image info keep
  // alive, which must then live until all is copied.
  const NxRef<NxRegionObject> oldReferenceRegion = referenceRegion_;
  const NxRef<NxRegionImageInfo> oldImageInfo = imageInfo_;
  {
    const HashIdLock otherIsLocked = other.LockHashId();
    Nx_Quad::operator=(other);
    SetRegionHashId(other.hashId_);
  }
  type_ = other.type_;
  source_ = other.source_;
  isWholeImage_ = other.isWholeImage_;
  referenceRegion_ = other.referenceRegion_;
  element_ = other.element_;
  imageInfo_ = other.imageInfo_;
  isPdfVectorValid_ = other.isPdfVectorValid_;
  isImageDataValid_ = other.isImageDataValid_;
  score_ = other.score_;
  status_ = other.status_;
  targetRoiDefName_ = other.targetRoiDefName_;
  productTaskName_ = other.productTaskName_;
  workModesState_ = other.workModesState_;
  return *this;
}

NxRegionObject::~NxRegionObject() {
  platform::FreeMutex(hashIdMutex_);
}

void NxRegionObject::InitNxRegionObject(const NxRef<NxRegionImageInfo>& info, const Nx_Quad* quad) {
  imageInfo_ = info;
  NxImageData* const image = GetRegionImage();
  InitValidityFlags(image);
  InitLocation(image, quad);
  UpdateHashId(image);
}

void NxRegionObject::InitValidityFlags(NxImageData* image) {
  if (image == nullptr) {
    isImageDataValid_ = false;
  } else if (image->IsExtracted()) {
    isPdfVectorValid_ = image->ExistPDFVectorDatas();
    isImageDataValid_ = image->ExistPDFImageDatas();
  }
}

void NxRegionObject::InitLocation(NxImageData* image, const Nx_Quad* quad) {
  if (quad != nullptr) {
    CloneQuad(*quad);
  } else if (image != nullptr) {
    SetVertices(CornersOf(*image).data());
  }
  isWholeImage_ = image != nullptr && IsTotSamePoints(CornersOf(*image).data());
}

// The hash id names a place on a capture: a region that belongs to none gets it when asked. Under
// construction this is the operation of this class, whatever the concrete class overrides.
void NxRegionObject::UpdateHashId(NxImageData* image) {
  // NOLINTNEXTLINE(clang-analyzer-optin.cplusplus.VirtualCall)
  if (source_ && image != nullptr) CalcRegionHashId();
}

int NxRegionObject::SetLocationWithQuadrilateral(const CQuadrilateral& quadrilateral) {
  Corners corners;
  std::copy_n(quadrilateral.points, corners.size(), corners.begin());
  if (!IsPointsClockWise(corners.data())) SetVerticesToClockWise(corners.data(), -1);
  if (!Nx_Quad(corners.data()).IsConvex()) return EC_QuadrilateralInvalid;

  SetVertices(corners.data());
  InitQuad();  // also tells the concrete class that what it derived from the place is stale
  NxImageData* const image = GetRegionImage();
  if (image != nullptr) isWholeImage_ = IsTotSamePoints(CornersOf(*image).data());
  UpdateHashId(image);
  return EC_Ok;
}

bool NxRegionObject::IsTotSamePoints(const NxPoint_<int>* points) const {
  return points != nullptr && std::equal(points, points + 4, GetVertices());
}

bool NxRegionObject::GetCropROITransMat(NxImageData*, int&, int&) {
  return false;
}

RegionObjectDuplicateStatus NxRegionObject::CheckDuplicateStatusWithRegionObject(
    const NxRegionObject&, void*) {
  return RODS_NotDuplicate;
}

void NxRegionObject::CalcRegionHashId() {
  NxImageData* const image = GetRegionImage();
  if (image == nullptr) return;
  if (isWholeImage_) {
    hashId_ = image->GetHashID();
    return;
  }
  CalcHashID();
  const std::string text = image->GetHashID() + GetObjectId();
  hashId_ = NxHashAlgorithm::GenerateHash(text.data(), static_cast<std::uint32_t>(text.size()))
                ->GetData();
}

const std::string& NxRegionObject::GetRegionHashId() {
  if (const HashIdLock lock = LockHashId()) {
    if (hashId_.empty()) CalcRegionHashId();
    // Release: a thread that sees the flag sees the id.
    hashIdIsSettled_.store(!hashId_.empty(), std::memory_order_release);
  }
  return hashId_;
}

void NxRegionObject::SetRegionHashId(const std::string& hashId) {
  hashIdIsSettled_.store(false, std::memory_order_relaxed);
  hashId_ = hashId;
}

// Owns nothing once the id is there, when threads do no more than read it.
NxRegionObject::HashIdLock NxRegionObject::LockHashId() const {
  if (hashIdIsSettled_.load(std::memory_order_acquire)) return {};
  return HashIdLock(hashIdMutex_);
}

NxImageData* NxRegionObject::GetRegionImage() const {
  return imageInfo_ ? imageInfo_->GetImagePtr() : nullptr;
}

const double* NxRegionObject::GetTransMatFromOriginalToLocal() const {
  return imageInfo_ ? imageInfo_->GetOriginalToLocalTransMat() : nullptr;
}

void NxRegionObject::GetIdentityMatrix(double* matrix) {
  std::copy(kIdentity.begin(), kIdentity.end(), matrix);
}

void NxRegionObject::SetReferenceRegion(const NxRef<NxRegionObject>& region) {
  // The old one goes last, from outside of this object: cutting a ring may destroy this region.
  NxRef<NxRegionObject> other = region;
  referenceRegion_.swap(other);
}

NxRef<NxRegionObject>& NxRegionObject::GetCertainReferenceRegionByTargetName(
    const std::string& name) {
  NxRef<NxRegionObject>* slot = &referenceRegion_;
  while (*slot && (*slot)->targetRoiDefName_ != name) slot = &(*slot)->referenceRegion_;
  return *slot;
}

const CRegionObjectElement* NxRegionObject::ConvertReferenceRegionToElement() const {
  if (!referenceRegion_ || IsWithoutPublicElement(referenceRegion_->type_)) return nullptr;
  return referenceRegion_->element_;
}

CRegionObjectElement* NxRegionObject::RetainCache() {
  retain();
  return element_;
}

WorkModesStateObject* NxRegionObject::InitWorkModesState(
    int number, const std::vector<std::string>& workModes) {
  workModesState_ = new WorkModesStateObject(number, workModes);
  return workModesState_.get();
}

void NxRegionObject::SetWorkModeState(const std::string& workMode, WorkModesState state) {
  if (workModesState_) workModesState_->SetState(workMode, state);
}

bool NxRegionObject::IsNoWorkModeInProgress() const {
  return !workModesState_ || workModesState_->IsNoneInProgress();
}

bool NxRegionObject::IsCompletedBeforeCertainWorkMode(const std::string& workMode) const {
  return !workModesState_ || workModesState_->IsCompletedBefore(workMode);
}

}  // namespace velmora
