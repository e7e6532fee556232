/// @file
/// A template that runs.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

#include "velmora/engine/dependency_graph.h"
#include "velmora_capture/internal/capture_definition.h"
#include "velmora_capture/internal/image_job.h"

namespace velmora::capture {

class TaskStatistics;

/// The definitions of a template between a begin and an end node, and the images that are on their
/// way from one to the other.
///
/// Whoever ended a piece of work calls `Advance`, which finds out what comes next for that image.
///
/// @threadsafety built before the first image; then `Run`, `Advance`, `TakeDone` and `GetJobCount`
///               from any thread; the definitions are called with the lock held
class CaptureGraph final : public NxDependencyGraph {
 public:
  CaptureGraph();

  CaptureDefinition* AddDefinition(const std::string& name);
  /// The definitions of the template in its order, without begin and end.
  const std::vector<CaptureDefinition*>& GetDefinitions() const { return definitions_; }
  /// Links the definitions; those without parents begin, those without children end. To be called
  /// once, when all definitions are there.
  void Link(const std::map<std::string, std::vector<std::string>>& parents);

  /// Begins the work on an image. The region must have a source image object, whose image id names
  /// the job. The semaphore is produced once the job is done.
  int Run(const NxRef<NxRegionObject>& wholeImage, ThreadPoolBase* pool,
          NxSemaphore* semaphore) override;

  /// Moves an image on after some work for the task has ended. Does nothing if the image is done.
  void Advance(std::uint64_t imageId, NxTaskOutput* task);
  /// The jobs that are done, each once.
  std::vector<std::unique_ptr<ImageJob>> TakeDone();
  /// Jobs that were begun and not taken yet.
  std::size_t GetJobCount() const;

  /// Counts the work from now on; borrowed.
  void SetStatistics(TaskStatistics* statistics) { statistics_ = statistics; }
  TaskStatistics& GetStatistics() const { return *statistics_; }

  /// For the definitions while they are called.
  ImageJob& GetJob(std::uint64_t imageId) { return *jobs_.at(imageId); }

 private:
  // With the lock held: moves a job that is done to the others of its kind.
  bool MoveIfDone(std::uint64_t imageId);

  std::vector<CaptureDefinition*> definitions_;
  TaskStatistics* statistics_ = nullptr;
  // Taken before the lock of the pool, which gets new items while it is held.
  mutable std::mutex mutex_;  // guards what follows, and all that belongs to a job
  std::map<std::uint64_t, std::unique_ptr<ImageJob>> jobs_;
  std::vector<std::unique_ptr<ImageJob>> done_;
};

}  // namespace velmora::capture
