// The result of one image: what an application reads (CSpotResult), and the class behind it.
#pragma once

#include "velmora/image/image_tag.h"
#include "velmora/results/captured_result_base.h"
#include "velmora/results/result_imp_base.h"

namespace spots {

namespace vb = velmora::basic_structures;

/// The spots of one image as an application sees them.
class CSpotResult : public vb::CCapturedResultBase {
 public:
  virtual int GetItemsCount() const = 0;
  /// @return borrowed, alive as long as this result unless retained
  virtual const vb::CCapturedResultItem* GetItem(int index) const = 0;
  virtual void Release() = 0;
};

/// Every operation is answered by the member of the same meaning in ResultImpBase.
class SpotResult final : public CSpotResult, public vb::ResultImpBase {
 public:
  SpotResult(const char* imageHashId, const vb::CImageTag* tag) : ResultImpBase(imageHashId, tag) {
    SetCProductResultPtr(static_cast<CSpotResult*>(this));
  }

  const char* GetSourceImageHashId() const override { return GetSourceImageHashIdBase().c_str(); }
  const vb::CImageTag* GetSourceImageTag() const override {
    return ResultImpBase::GetSourceImageTag();
  }
  void GetSourceImageRotationMatrix(double matrix[9]) const override {
    ResultImpBase::GetSourceImageRotationMatrix(matrix);
  }
  int GetErrorCode() const override { return ResultImpBase::GetErrorCode(); }
  const char* GetErrorString() const override { return GetErrorStringBase().c_str(); }

  int GetItemsCount() const override { return static_cast<int>(GetResultItems().size()); }
  const vb::CCapturedResultItem* GetItem(int index) const override {
    return GetResultItem(index)->GetCCapturedResultItemPtr();
  }

  /// Hands the result to an application, which gives it back with Release().
  CSpotResult* ToApplication() {
    RetainCache();
    return this;
  }
  void Release() override { ReleaseCache(); }
};

}  // namespace spots
