#include "velmora/log/json_converter.h"

#include <json/value.h>
#include <json/writer.h>

#include <memory>
#include <sstream>

#include "velmora/log/internal/with_json.h"

namespace velmora {

std::string JsonConverter::GetStyledString(const Json::Value& value) {
  return internal::WithJson([&] {
    std::ostringstream text;
    // Otherwise a stream without memory gives a part of the text and says nothing.
    text.exceptions(std::ios::badbit | std::ios::failbit);
    const std::unique_ptr<Json::StreamWriter> writer(Json::StreamWriterBuilder().newStreamWriter());
    writer->write(value, &text);
    return text.str();
  });
}

}  // namespace velmora
