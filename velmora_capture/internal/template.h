/// @file
/// What to run: the template as the user wrote it.
#pragma once

#include <json/value.h>

#include <string>
#include <vector>

#include "velmora_capture/internal/json_node.h"

namespace velmora::capture {

/// One task of a definition, and where in the template its parts stand.
struct TaskTemplate {
  std::string name;
  std::string module;
  bool isOptional = false;                 ///< left out if the module is missing
  bool isOutput = false;                   ///< what it finds is a result of the capture
  std::vector<std::string> workModes;      ///< in the order to be tried; empty for the module's own
  std::vector<std::string> unlessFoundBy;  ///< tasks of this definition that make this one needless
  Json::Value settings{Json::objectValue};  ///< an object, which keeps its place in the text
  JsonPlace modulePlace;
  JsonPlace workModesPlace;
  JsonPlace settingsPlace;
};

/// A kind of region and the tasks that run on each of its regions: those that the parents found, or
/// the whole image when they found none or there are no parents.
struct DefinitionTemplate {
  std::string name;
  std::vector<std::string> parents;
  int priority = 0;  ///< of its work in the pool; 0 is first
  std::vector<TaskTemplate> tasks;
  /// Not run on regions where a definition that it descends from found a result.
  bool onlyIfNothingFound = false;
};

struct Template {
  std::string name;
  int timeoutMs = 10000;
  std::vector<DefinitionTemplate> definitions;
};

/// Reads and validates a template. Every fault is filed with @p document, which was parsed before;
/// the result is of use only if there is none.
Template ReadTemplate(JsonDocument& document);

/// Looks for a cycle in a graph given by the names that each name points at.
/// @return the names on the first cycle, the first one repeated at the end; empty if there is none
std::vector<std::string> FindCycle(
    const std::vector<std::pair<std::string, std::vector<std::string>>>& graph);

}  // namespace velmora::capture
