/// @file
/// One image on its way through the graph.
#pragma once

#include <cstddef>
#include <map>
#include <vector>

#include "velmora/engine/roi_def_output.h"
#include "velmora/engine/task_output.h"
#include "velmora/foundation/ref.h"
#include "velmora/foundation/semaphore.h"
#include "velmora/foundation/thread_pool_base.h"
#include "velmora/region/region_object.h"
#include "velmora/region/source_image_object.h"

namespace velmora::capture {

class CaptureDefinition;

/// How far a definition has come on one image.
struct DefinitionRun {
  std::size_t parentsLeft = 0;                 ///< that have not finished yet
  std::vector<NxRef<NxRegionObject>> regions;  ///< that the parents have found
  std::vector<NxRef<NxROIDefOutput>> outputs;  ///< one for each region that is worked on
  std::size_t unfinished = 0;                  ///< outputs whose tasks are not all done
};

/// How far a task has come on one region.
struct TaskRun {
  CaptureDefinition* definition = nullptr;
  NxROIDefOutput* output = nullptr;  ///< that the task belongs to; one of the definition's
  int queuedItems = 0;               ///< work items put on the pool until now
  int waitsFor = 0;                  ///< tasks that have to finish first
};

/// All that is known about one image while its work goes on. The definitions themselves are shared
/// by all images and keep nothing.
///
/// @threadsafety guarded by the lock of the graph until it is done; then its taker's
struct ImageJob {
  NxRef<NxSourceImageObject> source;
  NxRef<NxRegionObject> wholeImage;
  ThreadPoolBase* pool = nullptr;
  NxSemaphore* semaphore = nullptr;
  std::map<const CaptureDefinition*, DefinitionRun> definitions;
  std::map<NxTaskOutput*, TaskRun> tasks;
  bool isDone = false;
};

}  // namespace velmora::capture
