// How the full name of a task is put together.
#pragma once

#include <string>

namespace velmora::internal {

inline std::string TaskFullName(const std::string& targetDefName, const std::string& taskName) {
  std::string name;
  name.reserve(targetDefName.size() + taskName.size() + 4);
  name.append("{").append(targetDefName).append("}[").append(taskName).append("]");
  return name;
}

}  // namespace velmora::internal
