/// @file
/// Calls of jsoncpp that may run out of memory.
#pragma once

#include <json/value.h>
#include <json/writer.h>

#include <ios>
#include <memory>
#include <new>
#include <sstream>
#include <string>

namespace velmora::capture {

/// Runs a call that fails for want of memory alone: jsoncpp throws an exception of its own where it
/// allocates text itself.
/// @throws std::bad_alloc
template <typename Call>
auto WithJson(const Call& call) {
  try {
    return call();
  } catch (const Json::RuntimeError&) {
    throw std::bad_alloc();
  }
}

/// The text of a value. `Json::writeString` gives a part of it without memory, and says nothing.
/// @throws std::bad_alloc
inline std::string WriteJson(const Json::StreamWriterBuilder& builder, const Json::Value& value) {
  return WithJson([&] {
    std::ostringstream text;
    text.exceptions(std::ios::badbit | std::ios::failbit);
    const std::unique_ptr<Json::StreamWriter> writer(builder.newStreamWriter());
    writer->write(value, &text);
    return text.str();
  });
}

}  // namespace velmora::capture
