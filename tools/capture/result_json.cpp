#include "tools/capture/result_json.h"

#include <json/reader.h>
#include <json/writer.h>

#include <memory>

#include "tools/capture/text.h"
#include "velmora/foundation/error_code.h"

namespace velmora::capture {
namespace {

Json::Value ToValue(const CaptureResult& result) {
  const std::string text = result.ToJson();
  Json::Value value;
  const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
  reader->parse(text.data(), text.data() + text.size(), &value, nullptr);
  return value;
}

std::string ToLine(Json::Value value, const std::string& image, const Json::Value& id) {
  value["image"] = ValidUtf8(image);
  value["id"] = id;
  Json::StreamWriterBuilder builder;
  builder["indentation"] = "";
  return Json::writeString(builder, value);
}

}  // namespace

std::string FormatJsonLine(const CaptureResult& result, const std::string& image,
                           const Json::Value& id) {
  return ToLine(ToValue(result), image, id);
}

std::string FormatJsonLine(const CaptureError& error, const std::string& image,
                           const Json::Value& id) {
  const NxRef<CaptureResult> nothing(new CaptureResult("", nullptr));
  Json::Value value = ToValue(*nothing);
  Json::Value& told = value["errors"][0];
  told["code"] = error.code;
  told["message"] = Nc_GetErrorString(error.code);
  if (!error.text.empty()) told["text"] = error.text;
  return ToLine(std::move(value), image, id);
}

}  // namespace velmora::capture
