/// @file
/// The template's graph as a drawing.
#pragma once

#include <string>
#include <vector>

#include "velmora_capture/capture.h"
#include "velmora_capture/internal/template.h"

namespace velmora::capture {

/// The graph in the DOT language: a box for each definition with its tasks, an arrow from parent to
/// child, each task with its time and its state.
/// @param tasks  all tasks of the template, in its order
std::string DrawGraph(const Template& source, const std::vector<TaskCounts>& tasks);

}  // namespace velmora::capture
