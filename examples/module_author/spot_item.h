// The result item of the spot module: what an application reads (CSpotResultItem), and the class
// behind it (SpotItem).
#pragma once

#include "velmora/geometry/quadrilateral.h"
#include "velmora/results/captured_result_item.h"
#include "velmora/results/item_base.h"

namespace spots {

namespace vb = velmora::basic_structures;

/// The module's number among the kinds of item.
constexpr auto kSpotItem = static_cast<vb::CapturedResultItemType>(1 << 20);

/// A dark spot as an application sees it. Only this class goes into the module's public headers.
class CSpotResultItem : public vb::CCapturedResultItem {
 public:
  /// Where the spot is in the original image.
  virtual vb::CQuadrilateral GetLocation() const = 0;
};

/// All seven operations of an item, and the module's own one. NxvItemBase holds what they tell.
class SpotItem final : public CSpotResultItem, public vb::NxvItemBase {
 public:
  explicit SpotItem(const vb::CQuadrilateral& location) : location_(location) {
    SetCCapturedResultItemPtr(this);  // without it no result would find the item
  }

  /// A copy starts without a public face: it has to get its own.
  SpotItem(const SpotItem& other)
      : CSpotResultItem(other), NxvItemBase(other), location_(other.location_) {
    SetCCapturedResultItemPtr(this);
  }
  SpotItem& operator=(const SpotItem&) = delete;

  // One override for both bases.
  vb::CapturedResultItemType GetType() const override { return kSpotItem; }

  const vb::CCapturedResultItem* GetReferenceItem() const override {
    const auto& item = NxvItemBase::GetReferenceItem();
    return item ? item->GetCCapturedResultItemPtr() : nullptr;
  }
  const char* GetTargetROIDefName() const override { return GetTargetName().c_str(); }
  const char* GetTaskName() const override { return NxvItemBase::GetTaskName().c_str(); }
  vb::CCapturedResultItem* Clone() const override { return (new SpotItem(*this))->RetainCache(); }

  // Whoever holds a const pointer may share the item; the object itself is never const.
  void Retain() const override { const_cast<SpotItem*>(this)->RetainCache(); }
  void Release() const override { const_cast<SpotItem*>(this)->ReleaseCache(); }

  vb::CQuadrilateral GetLocation() const override { return location_; }

 private:
  vb::CQuadrilateral location_;
};

}  // namespace spots
