#include "velmora_kit/units.h"

namespace velmora::kit {

using namespace intermediate_results;

namespace {

// What a region of the interface has to be to get into a list of candidates.
int CheckCandidate(const CPredetectedRegionElement* region) {
  if (region == nullptr) return EC_NullPointer;
  const bool isCandidate = dynamic_cast<const CandidateRegion*>(region) != nullptr;
  return isCandidate ? EC_Ok : EC_ResultTypeMismatchIrreplaceable;
}

}  // namespace

BinaryImageUnit::BinaryImageUnit(const BinaryImageUnit& other)
    : CBinaryImageUnit(),
      SectionResultUnitBase(other.GetSourceImageObject().get(), other.GetSectionImageInfo()) {
  CopyIntermediateResultUnit(&other);
  SetOriginalImageTag(other.GetOriginalImageTag());
  SetImageData(other.GetImageData());
}

int BinaryImageUnit::Replace(const CIntermediateResultUnit* unit) {
  if (unit == nullptr) return EC_NullPointer;
  const auto* other = dynamic_cast<const BinaryImageUnit*>(unit);
  if (other == nullptr) return EC_ResultTypeMismatchIrreplaceable;
  return other == this ? EC_Ok : SetImageData(other->GetImageData());
}

int BinaryImageUnit::SetImageData(const basic_structures::CImageData* image) {
  if (image == nullptr) return EC_NullPointer;
  if (image->GetImagePixelFormat() != basic_structures::PXF_Binary8)
    return EC_ImagePixelFormatNotMet;
  image_ = std::make_unique<basic_structures::CImageData>(
      image->GetBytesLength(), image->GetBytes(), image->GetWidth(), image->GetHeight(),
      image->GetStride(), image->GetImagePixelFormat(), image->GetOrientation(),
      image->GetImageTag());
  return EC_Ok;
}

CandidatesUnit::CandidatesUnit(const CandidatesUnit& other)
    : CPredetectedRegionsUnit(),
      SectionResultUnitBase(other.GetSourceImageObject().get(), other.GetSectionImageInfo()) {
  CopyIntermediateResultUnit(&other);
  SetOriginalImageTag(other.GetOriginalImageTag());
  CopyElements(other);
}

int CandidatesUnit::Replace(const CIntermediateResultUnit* unit) {
  if (unit == nullptr) return EC_NullPointer;
  const auto* other = dynamic_cast<const CandidatesUnit*>(unit);
  if (other == nullptr) return EC_ResultTypeMismatchIrreplaceable;
  if (other != this) CopyElements(*other);
  return EC_Ok;
}

const CandidateRegion* CandidatesUnit::GetPredetectedRegion(int index) const {
  // Only candidates ever get into the list.
  return HasIndex(index) ? static_cast<const CandidateRegion*>(
                               GetElementsVec()[static_cast<std::size_t>(index)].get())
                         : nullptr;
}

int CandidatesUnit::AddPredetectedRegion(const CPredetectedRegionElement* region) {
  if (const int code = CheckCandidate(region); code != EC_Ok) return code;
  AddElement(new CandidateRegion(*dynamic_cast<const CandidateRegion*>(region)));
  return EC_Ok;
}

int CandidatesUnit::SetPredetectedRegion(int index, const CPredetectedRegionElement* region) {
  if (const int code = CheckCandidate(region); code != EC_Ok) return code;
  if (!HasIndex(index)) return EC_IndexInvalid;
  SetElement(index, new CandidateRegion(*dynamic_cast<const CandidateRegion*>(region)));
  return EC_Ok;
}

void CandidatesUnit::CopyElements(const CandidatesUnit& other) {
  ClearElements();
  for (int i = 0; i < other.GetCount(); ++i)
    AddElement(new CandidateRegion(*other.GetPredetectedRegion(i)));
}

}  // namespace velmora::kit
