/// @file
/// The template's graph as a drawing.
#pragma once

#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

namespace velmora::capture {

/// What became of a task in a run.
struct TaskSummary {
  std::string name;
  std::string module;
  bool isLeftOut = false;  ///< its module is missing
  std::int64_t nanoseconds = 0;
  std::int64_t calls = 0;  ///< times that its module worked
  std::int64_t found = 0;
  std::int64_t failures = 0;  ///< calls that ended in an error, time-outs among them
  std::int64_t timeouts = 0;
  std::vector<std::string> unlessFoundBy;
};

struct DefinitionSummary {
  std::string name;
  std::vector<std::string> parents;
  std::vector<TaskSummary> tasks;
};

struct GraphSummary {
  std::string templateName;
  std::vector<DefinitionSummary> definitions;
};

/// Writes the graph in the DOT language: a box for each definition with its tasks, an arrow from
/// parent to child, each task with its time and its state.
void WriteDot(std::ostream& out, const GraphSummary& graph);

/// The name of the DOT text from which @p file is made.
std::string DotFileFor(const std::string& file);

/// Writes @p file as SVG through Graphviz; without it, leaves the DOT text in `DotFileFor(file)`.
/// @return the name of the file written; empty if it could not be
std::string WriteGraphFile(const std::string& file, const GraphSummary& graph);

}  // namespace velmora::capture
