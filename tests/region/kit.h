// Pictures, counted objects and the concrete classes that the tests of this room share. The
// classes are what a task module would write.
#pragma once

#include <atomic>
#include <string>

#include "tests/support/temporary_directory.h"
#include "velmora/image/nx_image_data.h"
#include "velmora/log/log.h"
#include "velmora/region/region_object.h"
#include "velmora/region/unit_base.h"
#include "velmora/results/detection_units.h"
#include "velmora/results/region_object_element.h"

namespace velmora::testing {

// The hash id of a picture depends on its bytes alone, so few of them do for any size.
inline NxRef<NxImageData> MakeImage(const std::string& bytes, int width, int height,
                                    const basic_structures::CImageTag* tag = nullptr) {
  return new NxImageData(bytes.size(), reinterpret_cast<const unsigned char*>(bytes.data()), width,
                         height, width, basic_structures::PXF_Grayscale8, 0, tag);
}

// Keeps a count of the live ones.
class Counted : public NxObjectBase {
 public:
  explicit Counted(std::atomic<int>* live = nullptr) : live_(live) {
    if (live_ != nullptr) ++*live_;
  }
  ~Counted() override {
    if (live_ != nullptr) --*live_;
  }
  Counted(const Counted&) = delete;
  Counted& operator=(const Counted&) = delete;

 private:
  std::atomic<int>* live_;
};

// Turns the log of the process on, and off again.
class ScopedLog {
 public:
  ScopedLog(LogMode mode, int level) {
    NxLog::GetInstance().InitLogFromSetting(mode, level, (directory_ / "").c_str());
  }
  ~ScopedLog() { NxLog::GetInstance().InitLogFromSetting(LM_None, 0, ""); }
  ScopedLog(const ScopedLog&) = delete;
  ScopedLog& operator=(const ScopedLog&) = delete;

  std::string Text() const { return ReadFile(directory_ / "VelmoraScanlyx.log"); }

 private:
  TemporaryDirectory directory_;
};

// A region that is its own public element.
class FoundRegion : public NxRegionObject, public intermediate_results::CPredetectedRegionElement {
 public:
  FoundRegion(NxSourceImageObject* source, const NxRef<NxRegionImageInfo>& info,
              const Nx_Quad& quad)
      : NxRegionObject(source, intermediate_results::ROET_Default, info, &quad) {
    SetCRegionObjectElementPtr(this);
  }
  FoundRegion(const FoundRegion& other)
      : NxRegionObject(other),
        CPredetectedRegionElement(other),
        modeName_(other.modeName_),
        confidence_(other.confidence_) {
    SetCRegionObjectElementPtr(this);
  }
  FoundRegion& operator=(const FoundRegion&) = delete;

  intermediate_results::RegionObjectElementType GetElementType() const override {
    return GetRegionType();
  }
  basic_structures::CQuadrilateral GetLocation() const override {
    basic_structures::CQuadrilateral location;
    GetVertices(location.points, 4);
    return location;
  }
  int SetLocation(const basic_structures::CQuadrilateral& location) override {
    return SetLocationWithQuadrilateral(location);
  }
  const CRegionObjectElement* GetReferencedElement() const override {
    return ConvertReferenceRegionToElement();
  }
  CRegionObjectElement* Clone() const override { return (new FoundRegion(*this))->RetainCache(); }
  void Retain() const override { const_cast<FoundRegion*>(this)->RetainCache(); }
  void Release() const override { const_cast<FoundRegion*>(this)->ReleaseCache(); }

  const char* GetModeName() const override { return modeName_.c_str(); }
  void SetModeName(const char* name) override { modeName_ = name != nullptr ? name : ""; }
  int GetConfidence() const override { return confidence_; }
  void SetConfidence(int percent) override { confidence_ = percent; }

 private:
  std::string modeName_;
  int confidence_ = 0;
};

// A unit whose elements are FoundRegions only.
class FoundRegionsUnit : public SectionResultUnitBase,
                         public intermediate_results::CPredetectedRegionsUnit {
 public:
  using SectionResultUnitBase::SectionResultUnitBase;
  FoundRegionsUnit(const FoundRegionsUnit& other)
      : SectionResultUnitBase(other), CPredetectedRegionsUnit() {
    CopyIntermediateResultUnit(&other);
  }
  FoundRegionsUnit& operator=(const FoundRegionsUnit&) = delete;

  intermediate_results::IntermediateResultUnitType GetUnitType() const override {
    return static_cast<intermediate_results::IntermediateResultUnitType>(16);
  }
  CIntermediateResultUnit* Clone() const override {
    return (new FoundRegionsUnit(*this))->RetainCache();
  }
  int Replace(const CIntermediateResultUnit* unit) override {
    const auto* const other = dynamic_cast<const FoundRegionsUnit*>(unit);
    if (other == nullptr) return EC_NullPointer;
    SetElements(other->GetElementsVec());
    return EC_Ok;
  }
  void Retain() const override { const_cast<FoundRegionsUnit*>(this)->RetainCache(); }
  void Release() const override { const_cast<FoundRegionsUnit*>(this)->ReleaseCache(); }

  int GetCount() const override { return static_cast<int>(GetElementsVec().size()); }
  const intermediate_results::CPredetectedRegionElement* GetPredetectedRegion(
      int index) const override {
    if (index < 0 || index >= GetCount()) return nullptr;
    NxRegionObject* const region = GetElementsVec()[static_cast<std::size_t>(index)].get();
    return static_cast<FoundRegion*>(region);
  }
  int AddPredetectedRegion(const intermediate_results::CPredetectedRegionElement* region) override {
    const auto* const found = dynamic_cast<const FoundRegion*>(region);
    if (found == nullptr) return EC_NullPointer;
    AddElement(new FoundRegion(*found));
    return EC_Ok;
  }
  int SetPredetectedRegion(int index,
                           const intermediate_results::CPredetectedRegionElement* region) override {
    const auto* const found = dynamic_cast<const FoundRegion*>(region);
    if (found == nullptr) return EC_NullPointer;
    if (GetPredetectedRegion(index) == nullptr) return EC_IndexInvalid;
    SetElement(index, new FoundRegion(*found));
    return EC_Ok;
  }
  int RemovePredetectedRegion(int index) override { return RemoveElement(index); }
  void RemoveAllPredetectedRegions() override { ClearElements(); }
};

}  // namespace velmora::testing
