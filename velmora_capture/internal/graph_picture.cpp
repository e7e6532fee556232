#include "velmora_capture/internal/graph_picture.h"

#include <cstddef>
#include <cstdio>
#include <sstream>

namespace velmora::capture {
namespace {

// For a quoted string of DOT, whose only escapes are the quote's and the backslash's.
std::string Quoted(const std::string& text) {
  std::string out = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') out += '\\';
    out += c;
  }
  return out + "\"";
}

std::string NodeOf(const std::string& definition, const std::string& task) {
  return Quoted("{" + definition + "}[" + task + "]");
}

const char* StateOf(const TaskCounts& task) {
  if (task.isLeftOut) return "left out";
  if (task.timeouts > 0) return "timed out";
  if (task.failures > 0) return "failed";
  return task.runs > 0 ? "done" : "not run";
}

const char* ColourOf(const TaskCounts& task) {
  if (task.isLeftOut) return "#eeeeee";
  if (task.timeouts > 0) return "#ffe2a8";
  if (task.failures > 0) return "#ffc9c0";
  return task.runs > 0 ? "#d6f0d0" : "#eeeeee";
}

void WriteTask(std::ostream& out, const TaskCounts& task) {
  char numbers[128];
  std::snprintf(numbers, sizeof numbers, "%.1f ms in %lld call%s, %lld found",
                static_cast<double>(task.nanoseconds) / 1e6, static_cast<long long>(task.runs),
                task.runs == 1 ? "" : "s", static_cast<long long>(task.found));
  // \n inside a DOT string is a line break, so it is put together from quoted pieces.
  const std::string name = Quoted(task.task + " (" + task.module + ")");
  out << "    " << NodeOf(task.definition, task.task)
      << " [label=" << name.substr(0, name.size() - 1) << "\\n"
      << numbers << "\\n"
      << StateOf(task) << (task.timeouts > 0 ? " " + std::to_string(task.timeouts) + " times" : "")
      << "\", fillcolor=\"" << ColourOf(task) << "\"];\n";
}

// @param task  the first of the definition's tasks
void WriteDefinition(std::ostream& out, const DefinitionTemplate& definition, std::size_t index,
                     const TaskCounts* task) {
  out << "  subgraph cluster_" << index << " {\n    label=" << Quoted(definition.name) << ";\n";
  for (std::size_t i = 0; i < definition.tasks.size(); ++i) WriteTask(out, task[i]);
  for (const TaskTemplate& one : definition.tasks) {
    for (const std::string& other : one.unlessFoundBy) {
      out << "    " << NodeOf(definition.name, other) << " -> " << NodeOf(definition.name, one.name)
          << " [style=dashed, label=\"unless found\"];\n";
    }
  }
  out << "  }\n";
}

// Clusters cannot be the ends of an arrow: it is drawn between tasks and cut at the boxes.
void WriteArrow(std::ostream& out, const Template& source, std::size_t parent, std::size_t child) {
  const auto anchor = [&](std::size_t i) {
    const DefinitionTemplate& definition = source.definitions[i];
    return NodeOf(definition.name, definition.tasks.front().name);
  };
  out << "  " << anchor(parent) << " -> " << anchor(child) << " [ltail=cluster_" << parent
      << ", lhead=cluster_" << child << "];\n";
}

}  // namespace

std::string DrawGraph(const Template& source, const std::vector<TaskCounts>& tasks) {
  std::ostringstream out;
  out.exceptions(std::ios::badbit | std::ios::failbit);  // it has all of the text, or throws
  out << "digraph " << Quoted(source.name)
      << " {\n  compound=true;\n  rankdir=LR;\n  fontname=\"sans-serif\";\n  label="
      << Quoted(source.name)
      << ";\n  node [shape=box, style=filled, fontname=\"sans-serif\"];\n"
         "  edge [fontname=\"sans-serif\", fontsize=10];\n";
  const TaskCounts* task = tasks.data();
  for (std::size_t i = 0; i < source.definitions.size(); ++i) {
    WriteDefinition(out, source.definitions[i], i, task);
    task += source.definitions[i].tasks.size();
  }
  for (std::size_t child = 0; child < source.definitions.size(); ++child) {
    for (const std::string& name : source.definitions[child].parents) {
      for (std::size_t parent = 0; parent < source.definitions.size(); ++parent) {
        if (source.definitions[parent].name == name) WriteArrow(out, source, parent, child);
      }
    }
  }
  out << "}\n";
  return out.str();
}

}  // namespace velmora::capture
