#include "velmora_capture/internal/item_list.h"

#include "velmora_capture/internal/capture_work_item.h"

namespace velmora::capture {

ItemList::~ItemList() {
  while (Pop()) {
  }
}

void ItemList::Push(CaptureWorkItem& item) noexcept {
  item.retain();
  item.nextInList_ = nullptr;
  (first_ == nullptr ? first_ : last_->nextInList_) = &item;
  last_ = &item;
}

NxRef<CaptureWorkItem> ItemList::Pop() noexcept {
  NxRef<CaptureWorkItem> item = first_;
  if (!item) return item;
  first_ = first_->nextInList_;
  item->release();  // the list's; the reference that is returned remains
  return item;
}

}  // namespace velmora::capture
