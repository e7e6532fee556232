/// @file
/// A work item that always ends.
#pragma once

#include <cstdint>

#include "velmora/engine/work_item.h"

namespace velmora {
class NxTaskOutput;
}

namespace velmora::capture {

class CaptureGraph;

/// Takes the next work of a table and sees to it that it ends, whatever the module does: what it
/// throws becomes an error of the image, and work that it left unfinished is finished. The thread
/// that did the work then moves the image on, so that nobody has to be woken for it.
class GuardedWorkItem final : public ResolvableWorkItem {
 public:
  /// @param task   whose next work is done
  /// @param graph  outlives the item; told of the end of the work
  GuardedWorkItem(NxTaskOutput& task, std::uint64_t imageId, CaptureGraph& graph);

  void Process(ThreadPoolBase* pool) override;
  void FinishWork() override;

 private:
  NxTaskOutput* task_;  // a name only: it may be gone once its work has ended
  CaptureGraph& graph_;
};

}  // namespace velmora::capture
