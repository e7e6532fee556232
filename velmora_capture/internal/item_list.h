/// @file
/// A queue of work items that allocates nothing.
#pragma once

#include "velmora/foundation/ref.h"

namespace velmora::capture {

class CaptureWorkItem;

/// Work items, first in first out, linked through the items themselves: an item is in one list at
/// most. Each is shared while it is queued.
///
/// @threadsafety none: its owner guards it
class ItemList {
 public:
  ItemList() = default;
  ItemList(const ItemList&) = delete;
  ItemList& operator=(const ItemList&) = delete;
  ~ItemList();

  void Push(CaptureWorkItem& item) noexcept;
  /// @return empty if the list is
  NxRef<CaptureWorkItem> Pop() noexcept;

 private:
  CaptureWorkItem* first_ = nullptr;
  CaptureWorkItem* last_ = nullptr;
};

}  // namespace velmora::capture
