#include "velmora_capture/internal/graph_builder.h"

#include <json/writer.h>

#include <algorithm>
#include <map>

#include "velmora/foundation/char_array.h"

namespace velmora::capture {

GraphBuilder::GraphBuilder(ModuleRegistry& registry, TaskStatistics& statistics,
                           NxDataManagerPool& managers, IntermediateResultReceiverVector& receivers,
                           JsonDocument& document)
    : registry_(registry),
      statistics_(statistics),
      managers_(managers),
      receivers_(receivers),
      document_(document) {}

NxRef<CaptureGraph> GraphBuilder::Build(const Template& source) {
  NxRef<CaptureGraph> graph = new CaptureGraph;
  graph->SetGraphName(source.name);
  graph->SetManagerPool(&managers_);
  std::map<std::string, std::vector<std::string>> parents;
  for (const DefinitionTemplate& definition : source.definitions) {
    CaptureDefinition* node = graph->AddDefinition(definition.name);
    parents[definition.name] = definition.parents;
    for (const TaskTemplate& task : definition.tasks) {
      const NxRef<Nx_WorkObjectBase> work = CreateWork(definition.name, task);
      if (!work) continue;
      node->AddTask(task.name, work, task.isOutput, task.unlessFoundBy);
      statistics_.AddTask(work.get(), node->GetTasks().back()->GetTaskFullName());
    }
  }
  graph->Link(parents);
  return graph;
}

NxRef<Nx_WorkObjectBase> GraphBuilder::CreateWork(const std::string& definition,
                                                  const TaskTemplate& task) {
  const modules::CreateWorkObjectFunction create = registry_.FindFactory(task.module);
  if (create == nullptr) {
    ReportMissing(definition, task);
    return nullptr;
  }
  char* error = nullptr;
  const std::string settings = Json::writeString(Json::StreamWriterBuilder(), task.settings);
  NxRef<Nx_WorkObjectBase> work = create(settings.c_str(), &statistics_, &error);
  if (!work) {
    document_.AddError(task.settingsPlace, EC_ParameterValueInvalid,
                       error != nullptr ? error : "the module gave no reason");
    Nx_DeleteCharArray(&error);
    return nullptr;
  }
  if (!ChooseWorkModes(*work, task)) return nullptr;
  work->SetTargetDefName(definition);
  work->SetTaskName(task.name);
  work->SetManagerPool(&managers_);
  work->SetIntermediateResultReceivers(&receivers_);
  return work;
}

void GraphBuilder::ReportMissing(const std::string& definition, const TaskTemplate& task) {
  const std::string what = "module \"" + task.module + "\" was not found: there is no usable " +
                           ModuleRegistry::FileNameOf(task.module) +
                           " beside the program or where the system looks";
  if (task.isOptional) {
    notes_.push_back("{" + definition + "}[" + task.name + "] is left out: " + what);
  } else {
    document_.AddError(task.modulePlace, EC_ModuleNotFound, what);
  }
}

bool GraphBuilder::ChooseWorkModes(Nx_WorkObjectBase& work, const TaskTemplate& task) {
  const std::vector<std::string> known = work.GetWorkModes();
  bool isGood = true;
  for (const std::string& mode : task.workModes) {
    if (std::find(known.begin(), known.end(), mode) != known.end()) continue;
    document_.AddError(
        task.workModesPlace, EC_ParameterValueInvalid,
        "\"" + mode + "\" is no work mode of " + task.module + "; there is " + QuotedList(known));
    isGood = false;
  }
  if (isGood && !task.workModes.empty()) work.SetWorkModes(task.workModes);
  return isGood;
}

GraphSummary Summarise(const Template& source, CaptureGraph& graph,
                       const TaskStatistics& statistics) {
  GraphSummary summary{source.name, {}};
  for (const DefinitionTemplate& definition : source.definitions) {
    summary.definitions.push_back({definition.name, definition.parents, {}});
    const auto& node =
        static_cast<CaptureDefinition&>(*graph.GetTargetDefNodesMap().at(definition.name));
    for (const TaskTemplate& task : definition.tasks) {
      TaskSummary described;
      described.name = task.name;
      described.module = task.module;
      described.unlessFoundBy = task.unlessFoundBy;
      described.isLeftOut = true;
      for (const NxRef<NxTargetTaskSetting>& setting : node.GetTasks()) {
        if (setting->GetTaskName() != task.name) continue;
        described.isLeftOut = false;
        statistics.Describe(*setting->GetTaskObject(), described);
      }
      summary.definitions.back().tasks.push_back(described);
    }
  }
  return summary;
}

}  // namespace velmora::capture
