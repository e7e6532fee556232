// The result of one image: what an application reads (CSpotResult), and the class behind it.
#pragma once

#include "velmora/results/captured_result_base.h"
#include "velmora_kit/shared_faces.h"

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

/// What a result is asked for is in ResultImpBase; the base answers from there.
class SpotResult final : public velmora::kit::ResultBase<CSpotResult> {
 public:
  using ResultBase::ResultBase;

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
