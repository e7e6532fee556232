#include "velmora_capture/internal/graph_builder.h"

#include <algorithm>
#include <exception>
#include <map>
#include <new>

#include "velmora_capture/internal/task_settings.h"

namespace velmora::capture {
namespace {

bool Contains(const std::vector<std::string>& names, const std::string& name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

bool HasOutput(const Template& source) {
  const auto isOutput = [](const TaskTemplate& task) { return task.isOutput; };
  return std::any_of(source.definitions.begin(), source.definitions.end(),
                     [&](const DefinitionTemplate& definition) {
                       return std::any_of(definition.tasks.begin(), definition.tasks.end(),
                                          isOutput);
                     });
}

}  // namespace

GraphBuilder::GraphBuilder(const ModuleRegistry& registry, NxDataManagerPool& managers,
                           IntermediateResultReceiverVector& receivers, JsonDocument& document)
    : registry_(registry), managers_(managers), receivers_(receivers), document_(document) {}

NxRef<CaptureGraph> GraphBuilder::Build(const Template& source) {
  NxRef<CaptureGraph> graph = new CaptureGraph;
  graph->SetGraphName(source.name);
  graph->SetManagerPool(&managers_);
  std::map<std::string, std::vector<std::string>> parents;
  for (const DefinitionTemplate& definition : source.definitions) {
    CaptureDefinition* node = graph->AddDefinition(definition.name);
    node->SetPriorityLevel(definition.priority);
    node->SetOnlyIfNothingFound(definition.onlyIfNothingFound);
    parents[definition.name] = definition.parents;
    for (const TaskTemplate& task : definition.tasks) {
      if (const NxRef<Nx_WorkObjectBase> work = CreateWork(definition.name, task)) {
        node->AddTask(task.name, work, task.isOutput, task.unlessFoundBy);
      }
    }
  }
  graph->Link(parents);
  if (!HasOutput(source)) {
    notes_.emplace_back("no task has \"Output\": what is found is not told as codes");
  }
  return graph;
}

NxRef<Nx_WorkObjectBase> GraphBuilder::CreateWork(const std::string& definition,
                                                  const TaskTemplate& task) {
  std::string fault;
  const kit::CreateWorkObjectFunction create = registry_.Find(task.module, fault);
  if (create == nullptr) {
    ReportMissing(definition, task, fault);
    return nullptr;
  }
  NxRef<Nx_WorkObjectBase> head = CallModule(create, task);
  if (!head) return nullptr;
  ChooseWorkModes(*head, task);
  for (Nx_WorkObjectBase* work = head.get(); work != nullptr; work = work->GetNextWorkObject()) {
    work->SetTargetDefName(definition);
    work->SetTaskName(task.name);
    work->SetManagerPool(&managers_);
    work->SetIntermediateResultReceivers(&receivers_);
  }
  return head;
}

// What a module throws is its fault, not the template's: the error says so.
NxRef<Nx_WorkObjectBase> GraphBuilder::CallModule(kit::CreateWorkObjectFunction create,
                                                  const TaskTemplate& task) {
  const std::string name = "module \"" + task.module + "\"";
  try {
    TaskSettings settings(document_, task.settings, task.settingsPlace.path);
    NxRef<Nx_WorkObjectBase> work = create(settings);
    settings.CheckAllRead();
    if (!work) document_.AddError(task.modulePlace, EC_Unknown, name + " made no work object");
    return work;
  } catch (const std::bad_alloc&) {
    document_.AddError(task.modulePlace, EC_NoMemory, name + " ran out of memory");
  } catch (const std::exception& thrown) {
    document_.AddError(task.modulePlace, EC_Unknown, name + " failed: " + thrown.what());
  } catch (...) {
    document_.AddError(task.modulePlace, EC_Unknown, name + " failed");
  }
  return nullptr;
}

void GraphBuilder::ReportMissing(const std::string& definition, const TaskTemplate& task,
                                 const std::string& fault) {
  if (task.isOptional) {
    notes_.push_back("{" + definition + "}[" + task.name + "] is left out: " + fault);
  } else {
    document_.AddError(task.modulePlace, EC_ModuleNotFound, fault);
  }
}

// Each work object of the chain gets those that it knows, in the order of the template.
void GraphBuilder::ChooseWorkModes(Nx_WorkObjectBase& head, const TaskTemplate& task) {
  if (task.workModes.empty()) return;
  std::vector<std::string> known;
  for (Nx_WorkObjectBase* work = &head; work != nullptr; work = work->GetNextWorkObject()) {
    const std::vector<std::string> own = work->GetWorkModes();
    std::vector<std::string> chosen;
    for (const std::string& mode : task.workModes) {
      if (Contains(own, mode)) chosen.push_back(mode);
    }
    work->SetWorkModes(chosen);
    for (const std::string& mode : own) {
      if (!Contains(known, mode)) known.push_back(mode);
    }
  }
  for (const std::string& mode : task.workModes) {
    if (Contains(known, mode)) continue;
    document_.AddError(
        task.workModesPlace, EC_ParameterValueInvalid,
        "\"" + mode + "\" is no work mode of " + task.module + "; there is " + QuotedList(known));
  }
}

}  // namespace velmora::capture
