#include "velmora_capture/internal/template.h"

#include <algorithm>
#include <limits>
#include <map>
#include <string_view>
#include <utility>

namespace velmora::capture {
namespace {

constexpr int kMaxTimeoutMs = 1'000'000'000;
constexpr std::string_view kNotInModuleNames{"/\\:\0", 4};

using NamedLists = std::vector<std::pair<std::string, std::vector<std::string>>>;

bool Contains(const std::vector<std::string>& names, const std::string& name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

// Files an error if a name has been used before among its kin.
void CheckUnique(const JsonNode& node, const std::string& name, std::vector<std::string>& used) {
  if (name.empty()) return;
  if (Contains(used, name)) {
    node["Name"].AddError(EC_JsonNameValueDuplicated, "\"" + name + "\" is used twice");
  }
  used.push_back(name);
}

// Files an error for each string of the member that is not one of the names.
void CheckReferences(const JsonNode& node, const std::string& key,
                     const std::vector<std::string>& names) {
  for (const std::string& reference : node.ReadStrings(key)) {
    if (Contains(names, reference)) continue;
    node[key].AddError(EC_NameReferenceInvalid,
                       "there is no \"" + reference + "\"; there is " + QuotedList(names));
  }
}

void CheckCycle(const JsonNode& node, const std::string& key, const NamedLists& graph) {
  std::string path;
  for (const std::string& name : FindCycle(graph)) path += (path.empty() ? "" : " -> ") + name;
  if (!path.empty()) {
    node[key].AddError(EC_NameReferenceInvalid, "these wait for each other: " + path);
  }
}

TaskTemplate ReadTask(const JsonNode& node) {
  node.AllowKeys(
      {"Name", "Module", "Optional", "Output", "WorkModes", "UnlessFoundBy", "Settings"});
  TaskTemplate task;
  task.name = node.ReadName();
  task.module = node.ReadString("Module");
  // Modules are looked for in certain folders and nowhere else: a name is no path.
  if (node["Module"].GetValue().isString() &&
      (task.module.empty() || task.module.find_first_of(kNotInModuleNames) != std::string::npos)) {
    node["Module"].AddError(EC_JsonValueInvalid,
                            "\"" + task.module + "\" is not the name of a module");
  }
  task.isOptional = node.ReadBool("Optional", false);
  task.isOutput = node.ReadBool("Output", false);
  task.workModes = node.ReadStrings("WorkModes");
  task.unlessFoundBy = node.ReadStrings("UnlessFoundBy");
  if (node.Has("Settings") && node["Settings"].IsObject()) {
    task.settings = node["Settings"].GetValue();
  } else {
    // What a module finds wrong with settings that are absent stands where the task does.
    task.settings.setOffsetStart(node.GetValue().getOffsetStart());
  }
  task.modulePlace = node["Module"].GetPlace();
  task.workModesPlace = node["WorkModes"].GetPlace();
  task.settingsPlace = node["Settings"].GetPlace();
  return task;
}

DefinitionTemplate ReadDefinition(const JsonNode& node) {
  node.AllowKeys({"Name", "OnlyIfNothingFound", "Parents", "Priority", "Tasks"});
  DefinitionTemplate definition;
  definition.name = node.ReadName();
  definition.parents = node.ReadStrings("Parents");
  definition.onlyIfNothingFound = node.ReadBool("OnlyIfNothingFound", false);
  definition.priority = node.ReadInt("Priority", 0, std::numeric_limits<int>::max(), 0);
  const std::vector<JsonNode> tasks = node.ReadObjects("Tasks");
  std::vector<std::string> names;
  NamedLists graph;
  for (const JsonNode& task : tasks) {
    definition.tasks.push_back(ReadTask(task));
    const TaskTemplate& read = definition.tasks.back();
    CheckUnique(task, read.name, names);
    graph.emplace_back(read.name, read.unlessFoundBy);
  }
  for (const JsonNode& task : tasks) CheckReferences(task, "UnlessFoundBy", names);
  CheckCycle(node, "Tasks", graph);
  return definition;
}

// Depth-first search with the path that led here; a name that was left is known to be on no cycle.
class CycleSearch {
 public:
  explicit CycleSearch(const NamedLists& graph) : edges_(graph.begin(), graph.end()) {}

  bool Visit(const std::string& name) {
    if (isDone_[name]) return false;
    path_.push_back(name);
    if (std::count(path_.begin(), path_.end(), name) > 1) return true;
    for (const std::string& next : edges_[name]) {
      if (Visit(next)) return true;
    }
    path_.pop_back();
    isDone_[name] = true;
    return false;
  }

  // The path without the names that only led to the cycle.
  std::vector<std::string> Cycle() const {
    return {std::find(path_.begin(), path_.end(), path_.back()), path_.end()};
  }

 private:
  std::map<std::string, std::vector<std::string>> edges_;
  std::map<std::string, bool> isDone_;
  std::vector<std::string> path_;
};

}  // namespace

std::vector<std::string> FindCycle(const NamedLists& graph) {
  CycleSearch search(graph);
  for (const auto& [name, next] : graph) {
    if (search.Visit(name)) return search.Cycle();
  }
  return {};
}

Template ReadTemplate(JsonDocument& document) {
  Template result;
  const JsonNode root(document, document.GetRoot(), "");
  if (!root.IsObject()) return result;
  root.AllowKeys({"Name", "TimeoutMs", "Definitions"});
  result.name = root.ReadName();
  result.timeoutMs = root.ReadInt("TimeoutMs", 1, kMaxTimeoutMs, result.timeoutMs);
  const std::vector<JsonNode> definitions = root.ReadObjects("Definitions");
  std::vector<std::string> names;
  NamedLists graph;
  for (const JsonNode& node : definitions) {
    result.definitions.push_back(ReadDefinition(node));
    const DefinitionTemplate& read = result.definitions.back();
    CheckUnique(node, read.name, names);
    graph.emplace_back(read.name, read.parents);
  }
  for (const JsonNode& node : definitions) CheckReferences(node, "Parents", names);
  CheckCycle(root, "Definitions", graph);
  return result;
}

}  // namespace velmora::capture
