// Calls of jsoncpp that may run out of memory.
#pragma once

#include <json/value.h>

#include <new>

namespace velmora::internal {

// What is done with valid values fails for want of memory alone, for which jsoncpp throws an
// exception of its own where it allocates text itself.
template <typename Call>
auto WithJson(const Call& call) {
  try {
    return call();
  } catch (const Json::RuntimeError&) {
    throw std::bad_alloc();
  }
}

}  // namespace velmora::internal
