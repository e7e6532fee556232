/// @file
/// A template that runs.
#pragma once

#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "velmora/engine/dependency_graph.h"
#include "velmora/platform/mutex.h"
#include "velmora_capture/internal/capture_definition.h"
#include "velmora_capture/internal/capture_job.h"
#include "velmora_capture/internal/observers.h"
#include "velmora_capture/internal/receivers.h"
#include "velmora_capture/internal/turn.h"

namespace velmora::capture {

/// The definitions of a template between a begin and an end node.
///
/// @threadsafety built before the first image; then any thread
class CaptureGraph final : public NxDependencyGraph {
 public:
  CaptureGraph();
  ~CaptureGraph() override;

  CaptureDefinition* AddDefinition(const std::string& name);
  /// The definitions of the template in its order, without begin and end.
  const std::vector<CaptureDefinition*>& GetDefinitions() const { return definitions_; }
  /// Links the definitions; those without parents begin, those without children end. To be called
  /// once, when all definitions are there.
  void Link(const std::map<std::string, std::vector<std::string>>& parents);

  /// @param observers  outlive the graph; none are told otherwise
  void SetObservers(const Observers& observers) { observers_ = &observers; }
  const Observers& GetObservers() const { return *observers_; }
  /// @param receivers  outlive the graph
  void SetReceivers(const Receivers& receivers) { receivers_ = &receivers; }
  /// Null if none were set.
  const Receivers* GetReceivers() const { return receivers_; }

  /// Begins the work on an image; the semaphore is produced once that is done.
  int Run(const NxRef<NxRegionObject>& wholeImage, ThreadPoolBase* pool,
          NxSemaphore* semaphore) override;

  /// Begins a job, on its strand.
  void Begin(CaptureJob& job);

  /// The turn of a single-thread work object; null for others.
  Turn* FindTurn(const Nx_WorkObjectBase& work);
  /// @return the name, valid as long as the graph
  const char* KeepName(const std::string& name);

 private:
  const Observers nobody_;
  const Observers* observers_ = &nobody_;
  const Receivers* receivers_ = nullptr;
  std::vector<CaptureDefinition*> definitions_;
  Mutex mutex_;
  std::set<std::string> names_ VELMORA_GUARDED_BY(mutex_);
  std::map<const Nx_WorkObjectBase*, std::unique_ptr<Turn>> turns_ VELMORA_GUARDED_BY(mutex_);
};

}  // namespace velmora::capture
