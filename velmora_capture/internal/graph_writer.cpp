#include "velmora_capture/internal/graph_writer.h"

#include <cstdio>
#include <fstream>

#include "tools/capture/system.h"

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

const char* StateOf(const TaskSummary& task) {
  if (task.isLeftOut) return "left out";
  if (task.timeouts > 0) return "timed out";
  if (task.failures > 0) return "failed";
  return task.calls > 0 ? "done" : "not run";
}

const char* ColourOf(const TaskSummary& task) {
  if (task.isLeftOut) return "#eeeeee";
  if (task.timeouts > 0) return "#ffe2a8";
  if (task.failures > 0) return "#ffc9c0";
  return task.calls > 0 ? "#d6f0d0" : "#eeeeee";
}

void WriteTask(std::ostream& out, const std::string& definition, const TaskSummary& task) {
  char numbers[128];
  std::snprintf(numbers, sizeof numbers, "%.1f ms in %lld call%s, %lld found",
                static_cast<double>(task.nanoseconds) / 1e6, static_cast<long long>(task.calls),
                task.calls == 1 ? "" : "s", static_cast<long long>(task.found));
  // \n inside a DOT string is a line break, so it is put together from quoted pieces.
  const std::string name = Quoted(task.name + " (" + task.module + ")");
  const std::string state = StateOf(task);
  out << "    " << Quoted("{" + definition + "}[" + task.name + "]")
      << " [label=" << name.substr(0, name.size() - 1) << "\\n"
      << numbers << "\\n"
      << state << (task.timeouts > 0 ? " " + std::to_string(task.timeouts) + " times" : "")
      << "\", fillcolor=\"" << ColourOf(task) << "\"];\n";
}

void WriteDefinition(std::ostream& out, const DefinitionSummary& definition, std::size_t index) {
  out << "  subgraph cluster_" << index << " {\n    label=" << Quoted(definition.name) << ";\n";
  for (const TaskSummary& task : definition.tasks) WriteTask(out, definition.name, task);
  for (const TaskSummary& task : definition.tasks)
    for (const std::string& other : task.unlessFoundBy)
      out << "    " << Quoted("{" + definition.name + "}[" + other + "]") << " -> "
          << Quoted("{" + definition.name + "}[" + task.name + "]")
          << " [style=dashed, label=\"unless found\"];\n";
  out << "  }\n";
}

// Clusters cannot be the ends of an arrow: it is drawn between tasks and cut at the boxes.
void WriteArrow(std::ostream& out, const GraphSummary& graph, std::size_t parent,
                std::size_t child) {
  const auto anchor = [&](std::size_t i) {
    const DefinitionSummary& definition = graph.definitions[i];
    return Quoted("{" + definition.name + "}[" + definition.tasks.front().name + "]");
  };
  out << "  " << anchor(parent) << " -> " << anchor(child) << " [ltail=cluster_" << parent
      << ", lhead=cluster_" << child << "];\n";
}

}  // namespace

void WriteDot(std::ostream& out, const GraphSummary& graph) {
  out << "digraph " << Quoted(graph.templateName)
      << " {\n  compound=true;\n  rankdir=LR;\n  fontname=\"sans-serif\";\n  label="
      << Quoted(graph.templateName)
      << ";\n  node [shape=box, style=filled, fontname=\"sans-serif\"];\n"
         "  edge [fontname=\"sans-serif\", fontsize=10];\n";
  for (std::size_t i = 0; i < graph.definitions.size(); ++i)
    WriteDefinition(out, graph.definitions[i], i);
  for (std::size_t child = 0; child < graph.definitions.size(); ++child)
    for (const std::string& name : graph.definitions[child].parents)
      for (std::size_t parent = 0; parent < graph.definitions.size(); ++parent)
        if (graph.definitions[parent].name == name) WriteArrow(out, graph, parent, child);
  out << "}\n";
}

std::string DotFileFor(const std::string& file) {
  return file + ".dot";
}

std::string WriteGraphFile(const std::string& file, const GraphSummary& graph) {
  std::string dotFile = DotFileFor(file);
  std::ofstream dot(dotFile, std::ios::binary);
  WriteDot(dot, graph);
  dot.close();
  if (!dot) return {};
  if (RunProgram({"dot", "-Tsvg", "-o", file, dotFile}) != 0) return dotFile;
  std::remove(dotFile.c_str());
  return file;
}

}  // namespace velmora::capture
