#include "velmora_kit/settings.h"

#include <json/reader.h>
#include <json/writer.h>

#include <algorithm>
#include <cstring>
#include <memory>

namespace velmora::modules {
namespace {

std::string ToText(const Json::Value& value) {
  Json::StreamWriterBuilder builder;
  builder["indentation"] = "";
  return Json::writeString(builder, value);
}

std::string ListOf(const std::vector<std::string>& names) {
  std::string list;
  for (const std::string& name : names) list += (list.empty() ? "\"" : ", \"") + name + "\"";
  return list.empty() ? "nothing" : list;
}

}  // namespace

ModuleSettings::ModuleSettings(const char* text) {
  const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
  std::string faults;
  if (!reader->parse(text, text + std::strlen(text), &values_, &faults) || !values_.isObject())
    throw SettingsError("settings are a JSON object");
}

const Json::Value& ModuleSettings::Read(const std::string& key) {
  read_.push_back(key);
  const Json::Value& values = values_;  // the const operator creates no entry
  return values[key];
}

int ModuleSettings::GetInt(const std::string& key, int smallest, int largest, int whenAbsent) {
  const Json::Value& value = Read(key);
  if (value.isNull()) return whenAbsent;
  if (!value.isInt() || value.asInt() < smallest || value.asInt() > largest)
    throw SettingsError("\"" + key + "\": " + ToText(value) + " is no whole number from " +
                        std::to_string(smallest) + " to " + std::to_string(largest));
  return value.asInt();
}

std::vector<std::string> ModuleSettings::GetChoice(const std::string& key,
                                                   const std::vector<std::string>& allowed) {
  const Json::Value& value = Read(key);
  if (value.isNull()) return allowed;
  if (!value.isArray() || value.empty())
    throw SettingsError("\"" + key + "\": " + ToText(value) + " is no array of " + ListOf(allowed));
  std::vector<std::string> chosen;
  for (const Json::Value& element : value) {
    const std::string text = element.isString() ? element.asString() : "";
    if (std::find(allowed.begin(), allowed.end(), text) == allowed.end())
      throw SettingsError("\"" + key + "\": " + ToText(element) + " is not among " +
                          ListOf(allowed));
    chosen.push_back(text);
  }
  return chosen;
}

void ModuleSettings::CheckAllRead() const {
  for (const std::string& key : values_.getMemberNames())
    if (std::find(read_.begin(), read_.end(), key) == read_.end())
      throw SettingsError("\"" + key + "\" is no setting of this module; there is " +
                          ListOf(read_));
}

}  // namespace velmora::modules
