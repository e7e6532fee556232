#include "velmora/log/json_converter.h"

#include <json/value.h>
#include <json/writer.h>

namespace velmora {

std::string JsonConverter::GetStyledString(const Json::Value& value) {
  return Json::writeString(Json::StreamWriterBuilder(), value);
}

}  // namespace velmora
