/// @file
/// The queue between those who make work and the threads that do it.
#pragma once

#include <deque>
#include <utility>

#include "velmora/engine/work_item.h"
#include "velmora/foundation/ref.h"
#include "velmora/platform/export.h"

namespace velmora {

/// Work items, first in first out; each is shared while it is queued. Copies share the items; a
/// move leaves its source empty.
///
/// @threadsafety none: whoever shares a queue, a pool usually, guards it
class VELMORA_EXPORT TaskUnitQueue {
 public:
  TaskUnitQueue() = default;
  TaskUnitQueue(const TaskUnitQueue&) = default;
  TaskUnitQueue(TaskUnitQueue&& other) { items_.swap(other.items_); }
  TaskUnitQueue& operator=(const TaskUnitQueue&) = default;
  TaskUnitQueue& operator=(TaskUnitQueue&& other) {
    TaskUnitQueue(std::move(other)).items_.swap(items_);
    return *this;
  }
  ~TaskUnitQueue() = default;

  void push(NxRef<RtrThreadWorkItemBase> item) { items_.push_back(std::move(item)); }

  /// @name Only while the queue is not empty, which is not checked
  /// @{
  void pop() {
    const NxRef<RtrThreadWorkItemBase> first = std::move(items_.front());  // goes when it is out
    items_.pop_front();
  }
  NxRef<RtrThreadWorkItemBase> front() const { return items_.front(); }
  NxRef<RtrThreadWorkItemBase> back() const { return items_.back(); }
  /// @}

  bool empty() const { return items_.empty(); }
  int size() const { return static_cast<int>(items_.size()); }

 private:
  std::deque<NxRef<RtrThreadWorkItemBase>> items_;
};

}  // namespace velmora
