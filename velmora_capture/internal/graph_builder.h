/// @file
/// From a template to a graph that runs.
#pragma once

#include <string>
#include <vector>

#include "velmora/engine/data_manager_pool.h"
#include "velmora/engine/work_object_base.h"
#include "velmora_capture/internal/capture_graph.h"
#include "velmora_capture/internal/module_registry.h"
#include "velmora_capture/internal/task_statistics.h"
#include "velmora_capture/internal/template.h"

namespace velmora::capture {

/// Loads the modules that a template names and links its definitions.
class GraphBuilder {
 public:
  /// All arguments outlive the graph, but for the document, which gets the errors.
  GraphBuilder(ModuleRegistry& registry, TaskStatistics& statistics, NxDataManagerPool& managers,
               IntermediateResultReceiverVector& receivers, JsonDocument& document);

  /// Modules that are missing, and settings and work modes that modules refuse, are filed with the
  /// document; the graph is of use only if there is no error.
  NxRef<CaptureGraph> Build(const Template& source);

  /// A sentence on each optional task whose module is missing.
  const std::vector<std::string>& GetNotes() const { return notes_; }

 private:
  // Null if the module or its work object could not be had.
  NxRef<Nx_WorkObjectBase> CreateWork(const std::string& definition, const TaskTemplate& task);
  void ReportMissing(const std::string& definition, const TaskTemplate& task);
  bool ChooseWorkModes(Nx_WorkObjectBase& work, const TaskTemplate& task);

  ModuleRegistry& registry_;
  TaskStatistics& statistics_;
  NxDataManagerPool& managers_;
  IntermediateResultReceiverVector& receivers_;
  JsonDocument& document_;
  std::vector<std::string> notes_;
};

/// The graph of a template as it stands after a run.
GraphSummary Summarise(const Template& source, CaptureGraph& graph,
                       const TaskStatistics& statistics);

}  // namespace velmora::capture
