/// @file
/// A work item that always ends.
#pragma once

#include "velmora/engine/work_item.h"

namespace velmora::capture {

/// Takes the next work of a table and sees to it that it ends, whatever the module does: what it
/// throws becomes an error of the image, and work that it left unfinished is finished.
class GuardedWorkItem final : public ResolvableWorkItem {
 public:
  using ResolvableWorkItem::ResolvableWorkItem;

  void Process(ThreadPoolBase* pool) override;
};

}  // namespace velmora::capture
