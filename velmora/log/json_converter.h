/// @file
/// JSON as text.
#pragma once

#include <string>

#include "velmora/platform/export.h"

namespace Json {
class Value;
}

namespace velmora {

/// JSON values as text, for log files and for people.
///
/// @threadsafety any thread
class VELMORA_EXPORT JsonConverter {
 public:
  JsonConverter() = delete;

  /// The text of a value as `Json::StreamWriterBuilder` writes it by default: indented by tabs,
  /// without a final newline.
  static std::string GetStyledString(const Json::Value& value);
};

}  // namespace velmora
