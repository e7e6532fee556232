#include "velmora_capture/internal/captured_result.h"

#include <algorithm>

#include "velmora/geometry/rect.h"

namespace velmora::capture {

using namespace basic_structures;

CodeItem::CodeItem(const kit::CodeRegion& region)
    : symbology_(region.GetSymbology()), text_(region.GetText()) {
  SetCCapturedResultItemPtr(this);
  SetTargetAndTaskName(region.GetTargetROIDefName(), region.GetProductTaskName());
  std::copy_n(region.GetVertices(), 4, location_.points);
}

CodeItem::CodeItem(const CodeItem& other)
    : NxvItemBase(other),
      CCapturedResultItem(other),
      symbology_(other.symbology_),
      text_(other.text_),
      location_(other.location_) {
  SetCCapturedResultItemPtr(this);
}

bool CodeItem::IsSameAs(const CodeItem& other) const {
  if (symbology_ != other.symbology_ || text_ != other.text_) return false;
  // The boxes overlap: linear codes are seen as wherever a scan line crossed them.
  const CRect a = location_.GetBoundingRect();
  const CRect b = other.location_.GetBoundingRect();
  return a.left <= b.right && b.left <= a.right && a.top <= b.bottom && b.top <= a.bottom;
}

const CCapturedResultItem* CodeItem::GetReferenceItem() const {
  const NxRef<NxvItemBase>& item = NxvItemBase::GetReferenceItem();
  return item ? item->GetCCapturedResultItemPtr() : nullptr;
}

CCapturedResultItem* CodeItem::Clone() const {
  return (new CodeItem(*this))->RetainCache();
}

bool CapturedResult::AddCode(const kit::CodeRegion& region) {
  NxRef<CodeItem> item = new CodeItem(region);
  for (const NxRef<NxvItemBase>& known : GetResultItems())
    if (item->IsSameAs(static_cast<const CodeItem&>(*known))) return false;
  AddResultItem(item);
  return true;
}

}  // namespace velmora::capture
