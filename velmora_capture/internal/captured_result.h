/// @file
/// What an application gets for one image.
#pragma once

#include <array>
#include <string>

#include "velmora/geometry/quadrilateral.h"
#include "velmora/results/captured_result_base.h"
#include "velmora/results/captured_result_item.h"
#include "velmora/results/item_base.h"
#include "velmora/results/result_imp_base.h"
#include "velmora_kit/regions.h"

namespace velmora::capture {

/// A code as a result item.
class CodeItem final : public basic_structures::NxvItemBase,
                       public basic_structures::CCapturedResultItem {
 public:
  static constexpr auto kType = static_cast<basic_structures::CapturedResultItemType>(2);

  explicit CodeItem(const kit::CodeRegion& region);
  CodeItem(const CodeItem& other);
  CodeItem& operator=(const CodeItem&) = delete;

  const std::string& GetSymbology() const { return symbology_; }
  const std::string& GetText() const { return text_; }
  const basic_structures::CQuadrilateral& GetLocation() const { return location_; }

  /// Whether @p other is the same code, read once more: the same text at the same place.
  bool IsSameAs(const CodeItem& other) const;

  basic_structures::CapturedResultItemType GetType() const override { return kType; }
  const basic_structures::CCapturedResultItem* GetReferenceItem() const override;
  const char* GetTargetROIDefName() const override { return GetTargetName().c_str(); }
  const char* GetTaskName() const override { return NxvItemBase::GetTaskName().c_str(); }
  [[nodiscard]] basic_structures::CCapturedResultItem* Clone() const override;
  void Retain() const override { const_cast<CodeItem*>(this)->RetainCache(); }
  void Release() const override { const_cast<CodeItem*>(this)->ReleaseCache(); }

 private:
  std::string symbology_;
  std::string text_;
  basic_structures::CQuadrilateral location_;
};

/// The codes of one image, and its error.
class CapturedResult final : public basic_structures::ResultImpBase,
                             public basic_structures::CCapturedResultBase {
 public:
  using ResultImpBase::ResultImpBase;

  /// Adds the code unless it is there already.
  /// @return whether it was added
  bool AddCode(const kit::CodeRegion& region);

  const char* GetSourceImageHashId() const override { return GetSourceImageHashIdBase().c_str(); }
  const basic_structures::CImageTag* GetSourceImageTag() const override {
    return ResultImpBase::GetSourceImageTag();
  }
  void GetSourceImageRotationMatrix(double matrix[9]) const override {
    ResultImpBase::GetSourceImageRotationMatrix(matrix);
  }
  int GetErrorCode() const override { return ResultImpBase::GetErrorCode(); }
  const char* GetErrorString() const override { return GetErrorStringBase().c_str(); }
};

}  // namespace velmora::capture
