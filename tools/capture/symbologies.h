/// @file
/// A template for some kinds of codes only.
#pragma once

#include <string>
#include <vector>

namespace velmora::capture {

/// Leaves only @p wanted in the "Symbologies" of a template's tasks, and leaves out the tasks that
/// have none left. Tasks without such a list stay as they are.
///
/// @return the template; @p templateText itself if it is no template
/// @throws UsageError if one of them is in no task's list
std::string NarrowSymbologies(const std::string& templateText,
                              const std::vector<std::string>& wanted);

}  // namespace velmora::capture
