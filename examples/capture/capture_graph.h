/// @file
/// A template that runs.
#pragma once

#include <map>
#include <memory>
#include <vector>

#include "examples/capture/capture_definition.h"
#include "examples/capture/image_job.h"
#include "velmora/engine/dependency_graph.h"

namespace velmora::capture {

/// The definitions of a template between a begin and an end node, and the images that are on their
/// way from one to the other.
///
/// @threadsafety built before the first image; then the thread of the router alone
class CaptureGraph final : public NxDependencyGraph {
 public:
  CaptureGraph();

  CaptureDefinition* AddDefinition(const std::string& name);
  /// The definitions of the template in its order, without begin and end.
  const std::vector<CaptureDefinition*>& GetDefinitions() const { return definitions_; }
  /// Links the definitions; those without parents begin, those without children end. To be called
  /// once, when all definitions are there.
  void Link(const std::map<std::string, std::vector<std::string>>& parents);

  /// Begins the work on an image. The region must have a source image object, which names the job.
  int Run(const NxRef<NxRegionObject>& wholeImage, ThreadPoolBase* pool,
          NxSemaphore* semaphore) override;

  /// Moves all images on, as far as the work that has ended allows.
  /// @return the jobs that are done
  std::vector<std::unique_ptr<ImageJob>> Advance();
  std::size_t GetJobCount() const { return jobs_.size(); }
  ImageJob& GetJob(const NxSourceImageObject* source) { return *jobs_.at(source); }

 private:
  std::vector<CaptureDefinition*> definitions_;
  std::map<const NxSourceImageObject*, std::unique_ptr<ImageJob>> jobs_;
};

}  // namespace velmora::capture
