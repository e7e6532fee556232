// The smallest items a module could write, which count how many of them are alive.
#pragma once

#include <atomic>

#include "velmora/results/captured_result_item.h"
#include "velmora/results/item_base.h"

namespace velmora::testing {

using basic_structures::CapturedResultItemType;
using basic_structures::CCapturedResultItem;
using basic_structures::CImageData;
using basic_structures::COriginalImageResultItem;
using basic_structures::NxvItemBase;

class TestItem final : public COriginalImageResultItem, public NxvItemBase {
 public:
  TestItem() {
    SetCCapturedResultItemPtr(this);
    ++alive;
  }
  // As the base leaves it: without a public face of its own.
  TestItem(const TestItem& other) : COriginalImageResultItem(other), NxvItemBase(other) { ++alive; }
  TestItem& operator=(const TestItem&) = default;
  ~TestItem() override { --alive; }

  CapturedResultItemType GetType() const override { return basic_structures::CRIT_OriginalImage; }
  const CCapturedResultItem* GetReferenceItem() const override {
    const auto& item = NxvItemBase::GetReferenceItem();
    return item ? item->GetCCapturedResultItemPtr() : nullptr;
  }
  const char* GetTargetROIDefName() const override { return GetTargetName().c_str(); }
  const char* GetTaskName() const override { return NxvItemBase::GetTaskName().c_str(); }
  CCapturedResultItem* Clone() const override {
    auto* clone = new TestItem(*this);
    clone->SetCCapturedResultItemPtr(clone);
    return clone->RetainCache();
  }
  void Retain() const override { const_cast<TestItem*>(this)->RetainCache(); }
  void Release() const override { const_cast<TestItem*>(this)->ReleaseCache(); }
  const CImageData* GetImageData() const override { return nullptr; }

  static inline std::atomic<int> alive{0};
};

}  // namespace velmora::testing
