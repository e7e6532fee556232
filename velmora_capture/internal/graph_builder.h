/// @file
/// From a template to a graph that runs.
#pragma once

#include <string>
#include <vector>

#include "velmora/engine/data_manager_pool.h"
#include "velmora/engine/work_object_base.h"
#include "velmora_capture/internal/capture_graph.h"
#include "velmora_capture/internal/module_registry.h"
#include "velmora_capture/internal/template.h"

namespace velmora::capture {

/// Makes the work objects of a template's tasks and links its definitions.
class GraphBuilder {
 public:
  /// All arguments outlive the graph, but for the registry and the document, which gets the errors.
  GraphBuilder(const ModuleRegistry& registry, NxDataManagerPool& managers,
               IntermediateResultReceiverVector& receivers, JsonDocument& document);

  /// Modules that are missing, and settings and work modes that modules refuse, are filed with the
  /// document; the graph is of use only if there is no error.
  NxRef<CaptureGraph> Build(const Template& source);

  /// A sentence on each optional task whose module is missing.
  const std::vector<std::string>& GetNotes() const { return notes_; }

 private:
  // Null if the module or its work object could not be had.
  NxRef<Nx_WorkObjectBase> CreateWork(const std::string& definition, const TaskTemplate& task);
  NxRef<Nx_WorkObjectBase> CallModule(kit::CreateWorkObjectFunction create,
                                      const TaskTemplate& task);
  void ReportMissing(const std::string& definition, const TaskTemplate& task,
                     const std::string& fault);
  void ChooseWorkModes(Nx_WorkObjectBase& head, const TaskTemplate& task);

  const ModuleRegistry& registry_;
  NxDataManagerPool& managers_;
  IntermediateResultReceiverVector& receivers_;
  JsonDocument& document_;
  std::vector<std::string> notes_;
};

}  // namespace velmora::capture
