/// @file
/// Takes images from a source through a graph to whoever wants the results.
#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <memory>

#include "tools/capture/image_report.h"
#include "tools/capture/image_source.h"
#include "velmora/foundation/semaphore.h"
#include "velmora/foundation/thread_pool_base.h"
#include "velmora_capture/internal/capture_graph.h"
#include "velmora_capture/internal/task_statistics.h"

namespace velmora::capture {

class CapturedResult;

/// Keeps as many images in flight as the pool needs to stay busy. The thread that calls `Run` begins
/// images and reports those that are done; in between it sleeps on the semaphore, which the source
/// and finished images produce. What comes next for an image the pool's threads find out.
class Router {
 public:
  struct Settings {
    int timeoutMs = 0;    ///< budget of each image
    bool inOrder = true;  ///< report images by ascending id, whichever is done first
    std::function<void(const ImageReport&)> report;
    std::function<bool()> isCancelled;
  };

  Router(Settings settings, CaptureGraph& graph, TaskStatistics& statistics);

  /// Returns when the source is exhausted and every image reported, or, once the run is cancelled,
  /// when the images in flight are.
  void Run(ImageSource& source, ThreadPoolBase& pool, NxSemaphore& events);

 private:
  bool StartNext(ImageSource& source, ThreadPoolBase& pool, NxSemaphore& events);
  void Finish(const ImageJob& job, const ImageSource& source);
  ImageReport Describe(const ImageJob& job, const ImageSource& source);
  void DescribeTask(const CaptureDefinition& definition, const NxTargetTaskSetting& task,
                    const ImageJob& job, CapturedResult& result, ImageReport& report);
  void Report(ImageReport report);

  Settings settings_;
  CaptureGraph& graph_;
  TaskStatistics& statistics_;
  std::map<int, ImageReport> waiting_;  // reports whose turn has not come, by id
  int nextId_ = 0;
};

}  // namespace velmora::capture
