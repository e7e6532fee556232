/// @file
/// Bases for the objects that a module shares with observers and applications.
///
/// Such an object is two things at once: what the engine works with (`NxRegionObject`), and the
/// abstract face that others see (`CPredetectedRegionElement`). Both count references and are
/// copied, and the face asks for what the object knows already; the templates here answer for it. A
/// module's class derives from one of them and adds what is its own:
///
///     class Spot final : public PredetectedRegionBase<Spot> {
///      public:
///       Spot(NxSourceImageObject* source, const NxRef<NxRegionImageInfo>& info)
///           : PredetectedRegionBase(source, kSpot, info, nullptr) {}
///     };
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <utility>

#include "velmora/foundation/error_code.h"
#include "velmora/foundation/ref.h"
#include "velmora/geometry/quadrilateral.h"
#include "velmora/image/image_copy.h"
#include "velmora/image/image_data.h"
#include "velmora/region/region_object.h"
#include "velmora/region/unit_base.h"
#include "velmora/results/captured_result_base.h"
#include "velmora/results/captured_result_item.h"
#include "velmora/results/detection_units.h"
#include "velmora/results/intermediate_result_unit.h"
#include "velmora/results/item_base.h"
#include "velmora/results/region_object_element.h"
#include "velmora/results/result_imp_base.h"

namespace velmora::kit {

/// Cloning and counting of a @p Face through its @p Counted object.
///
/// @tparam Derived  the final class, which has a public copy constructor
///
/// @threadsafety `Retain` and `Release` from any thread
template <typename Derived, typename Face, typename Counted>
class SharedFace : public Face, public Counted {
 public:
  SharedFace& operator=(const SharedFace&) = delete;

  /// @return a new object with one reference, to be given back with `Release`
  [[nodiscard]] decltype(std::declval<Face&>().Clone()) Clone() const override {
    return (new Derived(static_cast<const Derived&>(*this)))->Share();
  }
  // Whoever holds a const pointer may share the object; the object itself is never const.
  void Retain() const override { const_cast<SharedFace*>(this)->Share(); }
  void Release() const override { const_cast<SharedFace*>(this)->ReleaseCache(); }

 protected:
  template <typename... Arguments>
  explicit SharedFace(std::in_place_t, Arguments&&... arguments)
      : Counted(std::forward<Arguments>(arguments)...) {}
  SharedFace(const SharedFace&) = default;
  ~SharedFace() override = default;

 private:
  auto Share() { return this->RetainCache(); }
};

/// A result item, as an application sees it. Its name and reference are those of `NxvItemBase`.
///
/// @tparam Face  derived from `CCapturedResultItem`
template <typename Derived, typename Face>
class ResultItemBase : public SharedFace<Derived, Face, basic_structures::NxvItemBase> {
  using Item = basic_structures::NxvItemBase;
  using Shared = SharedFace<Derived, Face, Item>;

 public:
  const basic_structures::CCapturedResultItem* GetReferenceItem() const override {
    const NxRef<Item>& item = Item::GetReferenceItem();
    return item ? item->GetCCapturedResultItemPtr() : nullptr;
  }
  const char* GetTargetROIDefName() const override { return this->GetTargetName().c_str(); }
  const char* GetTaskName() const override { return Item::GetTaskName().c_str(); }

 protected:
  ResultItemBase() : Shared(std::in_place) { this->SetCCapturedResultItemPtr(this); }
  /// A copy has a face of its own.
  ResultItemBase(const ResultItemBase& other) : Shared(other) {
    this->SetCCapturedResultItemPtr(this);
  }
};

/// The result of one image. What `CCapturedResultBase` asks for is in `ResultImpBase`.
///
/// @tparam Face  derived from `CCapturedResultBase`
template <typename Face>
class ResultBase : public Face, public basic_structures::ResultImpBase {
 public:
  /// @param tag  cloned; may be null
  ResultBase(const char* sourceImageHashId, const basic_structures::CImageTag* tag)
      : ResultImpBase(sourceImageHashId, tag) {
    SetCProductResultPtr(static_cast<Face*>(this));
  }

  const char* GetSourceImageHashId() const override {
    return this->GetSourceImageHashIdBase().c_str();
  }
  const basic_structures::CImageTag* GetSourceImageTag() const override {
    return ResultImpBase::GetSourceImageTag();
  }
  void GetSourceImageRotationMatrix(double matrix[9]) const override {
    ResultImpBase::GetSourceImageRotationMatrix(matrix);
  }
  int GetErrorCode() const override { return ResultImpBase::GetErrorCode(); }
  const char* GetErrorString() const override { return this->GetErrorStringBase().c_str(); }
};

/// A region that other tasks are to look at; observers see it as a predetected region.
template <typename Derived>
class PredetectedRegionBase
    : public SharedFace<Derived, intermediate_results::CPredetectedRegionElement, NxRegionObject> {
  using Shared =
      SharedFace<Derived, intermediate_results::CPredetectedRegionElement, NxRegionObject>;

 public:
  intermediate_results::RegionObjectElementType GetElementType() const override {
    return this->GetRegionType();
  }
  basic_structures::CQuadrilateral GetLocation() const override {
    basic_structures::CQuadrilateral location;
    this->ConvertToQuadrilateral(location);
    return location;
  }
  int SetLocation(const basic_structures::CQuadrilateral& location) override {
    return this->SetLocationWithQuadrilateral(location);
  }
  const intermediate_results::CRegionObjectElement* GetReferencedElement() const override {
    return this->ConvertReferenceRegionToElement();
  }
  const char* GetModeName() const override { return modeName_.c_str(); }
  void SetModeName(const char* name) override { modeName_ = name == nullptr ? "" : name; }
  int GetConfidence() const override { return this->GetRegionScore(); }
  void SetConfidence(int percent) override { this->SetRegionScore(percent); }

 protected:
  /// @param quad  null for a region as large as the image of @p info
  PredetectedRegionBase(NxSourceImageObject* source,
                        intermediate_results::RegionObjectElementType type,
                        const NxRef<NxRegionImageInfo>& info, const Nx_Quad* quad)
      : Shared(std::in_place, source, type, info, quad) {
    this->SetCRegionObjectElementPtr(this);
  }
  /// A copy has a face of its own.
  PredetectedRegionBase(const PredetectedRegionBase& other)
      : Shared(other), modeName_(other.modeName_) {
    this->SetCRegionObjectElementPtr(this);
  }

 private:
  std::string modeName_;
};

/// A unit, as observers see it: what all kinds of units have in common.
///
/// A derived class has a `CopyContent(const Derived&)`, which replaces what is its own; this class
/// calls it for copies and for `Replace`.
///
/// @tparam Face  derived from `CIntermediateResultUnit`
/// @tparam Type  the unit's bit among the unit types
template <typename Derived, typename Face, intermediate_results::IntermediateResultUnitType Type>
class SectionUnitBase : public SharedFace<Derived, Face, SectionResultUnitBase> {
  using Shared = SharedFace<Derived, Face, SectionResultUnitBase>;

 public:
  SectionUnitBase(NxSourceImageObject* source, NxRegionImageInfo* info)
      : Shared(std::in_place, source, info) {}

  intermediate_results::IntermediateResultUnitType GetUnitType() const override { return Type; }
  /// @return `EC_ResultTypeMismatchIrreplaceable` if @p unit is of another class
  int Replace(const intermediate_results::CIntermediateResultUnit* unit) override {
    if (unit == nullptr) return EC_NullPointer;
    const auto* other = dynamic_cast<const Derived*>(unit);
    if (other == nullptr) return EC_ResultTypeMismatchIrreplaceable;
    if (other != this) static_cast<Derived*>(this)->CopyContent(*other);
    return EC_Ok;
  }

 protected:
  /// Copies the image information; the derived class copies its content.
  SectionUnitBase(const SectionUnitBase& other)
      : Shared(std::in_place, other.GetSourceImageObject().get(), other.GetSectionImageInfo()) {
    using intermediate_results::TMT_Matrix1;
    using intermediate_results::TMT_Matrix2;
    this->CopyIntermediateResultUnit(&other);  // the ids and matrix 0
    for (const auto type : {TMT_Matrix1, TMT_Matrix2}) {
      double matrix[9];
      other.GetTransformMatrix(type, matrix);
      this->SetTransformMatrix(type, matrix);
    }
    this->SetUsageCount(other.GetUsageCount());
    this->SetOriginalImageTag(other.GetOriginalImageTag());
  }
};

/// A list of regions, all of class @p Region: later tasks read it, observers see and change it.
///
/// Copies are deep, since an observer may change its copy.
///
/// @tparam Region  derived from `PredetectedRegionBase`
template <typename Derived, typename Region, intermediate_results::IntermediateResultUnitType Type>
class PredetectedRegionsUnitBase
    : public SectionUnitBase<Derived, intermediate_results::CPredetectedRegionsUnit, Type> {
  using Element = intermediate_results::CPredetectedRegionElement;
  using Base = SectionUnitBase<Derived, intermediate_results::CPredetectedRegionsUnit, Type>;

 public:
  using Base::Base;

  int GetCount() const override { return static_cast<int>(this->GetElementsVec().size()); }
  const Region* GetPredetectedRegion(int index) const override {
    // Nothing but regions of this class ever gets into the list.
    return HasIndex(index) ? static_cast<const Region*>(
                                 this->GetElementsVec()[static_cast<std::size_t>(index)].get())
                           : nullptr;
  }
  /// Adds a copy.
  /// @return `EC_ResultTypeMismatchIrreplaceable` for a region of another class
  int AddPredetectedRegion(const Element* region) override {
    if (const int code = Check(region); code != EC_Ok) return code;
    this->AddElement(new Region(*dynamic_cast<const Region*>(region)));
    return EC_Ok;
  }
  int SetPredetectedRegion(int index, const Element* region) override {
    if (const int code = Check(region); code != EC_Ok) return code;
    if (!HasIndex(index)) return EC_IndexInvalid;
    this->SetElement(index, new Region(*dynamic_cast<const Region*>(region)));
    return EC_Ok;
  }
  int RemovePredetectedRegion(int index) override { return this->RemoveElement(index); }
  void RemoveAllPredetectedRegions() override { this->ClearElements(); }

  void CopyContent(const PredetectedRegionsUnitBase& other) {
    this->ClearElements();
    for (int i = 0; i < other.GetCount(); ++i) {
      this->AddElement(new Region(*other.GetPredetectedRegion(i)));
    }
  }

 protected:
  PredetectedRegionsUnitBase(const PredetectedRegionsUnitBase& other) : Base(other) {
    CopyContent(other);
  }

 private:
  bool HasIndex(int index) const { return index >= 0 && index < GetCount(); }

  static int Check(const Element* region) {
    if (region == nullptr) return EC_NullPointer;
    return dynamic_cast<const Region*>(region) != nullptr ? EC_Ok
                                                          : EC_ResultTypeMismatchIrreplaceable;
  }
};

/// An image of one pixel format, as a step of the work made it.
///
/// @tparam Face  `CBinaryImageUnit`, `CGrayscaleImageUnit` or another with the same operations
template <typename Derived, typename Face, intermediate_results::IntermediateResultUnitType Type,
          basic_structures::ImagePixelFormat Format>
class ImageUnitBase : public SectionUnitBase<Derived, Face, Type> {
  using Base = SectionUnitBase<Derived, Face, Type>;

 public:
  using Base::Base;

  const basic_structures::CImageData* GetImageData() const override { return image_.get(); }
  /// Copies the image.
  /// @return `EC_ImagePixelFormatNotMet` if it has another pixel format; the unit is left unchanged
  int SetImageData(const basic_structures::CImageData* image) override {
    if (image == nullptr) return EC_NullPointer;
    if (image->GetImagePixelFormat() != Format) return EC_ImagePixelFormatNotMet;
    image_ = CopyImage(*image);
    return EC_Ok;
  }

  void CopyContent(const ImageUnitBase& other) {
    image_ = other.image_ == nullptr ? nullptr : CopyImage(*other.image_);
  }

 protected:
  ImageUnitBase(const ImageUnitBase& other) : Base(other) { CopyContent(other); }

 private:
  std::unique_ptr<basic_structures::CImageData> image_;
};

}  // namespace velmora::kit
