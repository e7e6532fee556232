#include "velmora/image/nx_image_data.h"

#include <algorithm>

#include "velmora/foundation/hash_algorithm.h"

namespace velmora {
namespace {

template <typename T>
NxArrayRef<T> ArrayOf(const std::vector<T>& elements) {
  return new NxArray<T>(elements.data(), static_cast<std::uint32_t>(elements.size()));
}

template <typename T>
bool HasElements(const NxArrayRef<T>& array) {
  return array != nullptr && array->GetCount() > 0;
}

}  // namespace

NxImageData::~NxImageData() = default;

void NxImageData::GetRotationTransformMatrix(double out[9]) const noexcept {
  std::copy_n(rotationTransformMatrix_.data(), 9, out);
}

void NxImageData::SetRotationTransformMatrix(const double in[9]) noexcept {
  std::copy_n(in, 9, rotationTransformMatrix_.data());
}

void NxImageData::SetOrientationType(int exifOrientation) noexcept {
  switch (exifOrientation) {
    case 6:
      orientation_ = 90;
      break;
    case 3:
      orientation_ = 180;
      break;
    case 8:
      orientation_ = 270;
      break;
    default:
      orientation_ = 0;
      break;
  }
}

void NxImageData::GetVectorLines(NxArrayRef<float>& starts, NxArrayRef<float>& ends,
                                 NxArrayRef<unsigned char>& flags) const {
  starts = vectorLineStarts_;
  ends = vectorLineEnds_;
  flags = vectorLineFlags_;
}

void NxImageData::SetVectorLines(const NxArrayRef<float>& starts, const NxArrayRef<float>& ends,
                                 const NxArrayRef<unsigned char>& flags) {
  vectorLineStarts_ = starts;
  vectorLineEnds_ = ends;
  vectorLineFlags_ = flags;
}

void NxImageData::GetVectorRects(NxArrayRef<basic_structures::NxRect_<float>>& rects,
                                 NxArrayRef<unsigned char>& flags) const {
  rects = vectorRects_;
  flags = vectorRectFlags_;
}

void NxImageData::SetVectorRects(const NxArrayRef<basic_structures::NxRect_<float>>& rects,
                                 const NxArrayRef<unsigned char>& flags) {
  vectorRects_ = rects;
  vectorRectFlags_ = flags;
}

void NxImageData::SetImageRois(const NxArrayRef<Nx_Quad>& rois) {
  pdfImageRois_ = rois;
}

void NxImageData::SetImageRois(const std::vector<Nx_Quad>& rois) {
  if (!rois.empty()) pdfImageRois_ = ArrayOf(rois);
}

void NxImageData::GetPDFImageROIs(NxArrayRef<Nx_Quad>& rois) const {
  rois = pdfImageRois_;
}

void NxImageData::SetBarcodeTextBlocks(const NxArrayRef<TextBlock>& blocks) {
  pdfTextBlocks_ = blocks;
}

void NxImageData::SetBarcodeTextBlocks(const std::vector<TextBlock>& blocks) {
  pdfTextBlocks_ = ArrayOf(blocks);
}

void NxImageData::GetPDFTextBlocks(NxArrayRef<TextBlock>& blocks) const {
  blocks = pdfTextBlocks_;
}

bool NxImageData::ExistPDFVectorDatas() const noexcept {
  // Lines count as soon as there is an array of them; rectangles only if the array holds any.
  return extracted_ && (vectorLineStarts_ != nullptr || HasElements(vectorRects_));
}

bool NxImageData::ExistPDFImageDatas() const noexcept {
  return extracted_ && HasElements(pdfImageRois_);
}

bool NxImageData::ExistPDFTextDatas() const noexcept {
  return extracted_ && HasElements(pdfTextBlocks_);
}

void NxImageData::CalcHashID() {
  // Acquire: whoever sees the flag sees the id that was stored before it.
  if (bytes_ == nullptr || hashIdIsSet_.load(std::memory_order_acquire)) return;
  const MutexLock lock(hashIdMutex_);
  if (!HasObjectId()) {
    SetObjectId(
        NxHashAlgorithm::Generate_BKDRHash(bytes_, static_cast<std::uint32_t>(bytesLength_)));
  }
  hashIdIsSet_.store(true, std::memory_order_release);
}

const std::string& NxImageData::GetHashID() {
  CalcHashID();
  return GetObjectId();
}

void NxImageData::SetHashID(const std::string& id) {
  const MutexLock lock(hashIdMutex_);
  SetObjectId(id);
  hashIdIsSet_.store(true, std::memory_order_release);
}

}  // namespace velmora
