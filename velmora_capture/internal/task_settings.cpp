#include "velmora_capture/internal/task_settings.h"

#include <algorithm>

namespace velmora::capture {

bool TaskSettings::Take(const std::string& key) {
  read_.push_back(key);
  return node_.Has(key);
}

int TaskSettings::GetInt(const std::string& key, int smallest, int largest, int whenAbsent) {
  Take(key);
  return node_.ReadInt(key, smallest, largest, whenAbsent);
}

double TaskSettings::GetDouble(const std::string& key, double smallest, double largest,
                               double whenAbsent) {
  Take(key);
  return node_.ReadDouble(key, smallest, largest, whenAbsent);
}

bool TaskSettings::GetBool(const std::string& key, bool whenAbsent) {
  Take(key);
  return node_.ReadBool(key, whenAbsent);
}

std::string TaskSettings::GetString(const std::string& key, const std::string& whenAbsent) {
  if (!Take(key)) return whenAbsent;
  const std::string text = node_.ReadString(key);
  return node_[key].GetValue().isString() ? text : whenAbsent;
}

std::vector<std::string> TaskSettings::GetStrings(const std::string& key,
                                                  const std::vector<std::string>& whenAbsent) {
  if (!Take(key)) return whenAbsent;
  const std::size_t errorsBefore = document_.GetErrors().size();
  const std::vector<std::string> strings = node_.ReadStrings(key);
  return document_.GetErrors().size() == errorsBefore ? strings : whenAbsent;
}

std::string TaskSettings::GetChoice(const std::string& key, const std::vector<std::string>& allowed,
                                    const std::string& whenAbsent) {
  if (!Take(key) || !IsAmong(allowed, node_[key])) return whenAbsent;
  return node_[key].GetValue().asString();
}

std::vector<std::string> TaskSettings::GetChoices(const std::string& key,
                                                  const std::vector<std::string>& allowed) {
  if (!Take(key)) return allowed;
  const JsonNode array = node_[key];
  if (!array.GetValue().isArray() || array.GetValue().empty()) {
    array.AddTypeError("an array of " + QuotedList(allowed));
    return allowed;
  }
  std::vector<std::string> chosen;
  for (Json::ArrayIndex i = 0; i < array.GetValue().size(); ++i) {
    if (IsAmong(allowed, array[i])) chosen.push_back(array[i].GetValue().asString());
  }
  return chosen.size() == array.GetValue().size() ? chosen : allowed;
}

bool TaskSettings::IsAmong(const std::vector<std::string>& allowed, const JsonNode& text) const {
  if (!text.GetValue().isString()) {
    text.AddTypeError("one of " + QuotedList(allowed));
    return false;
  }
  const std::string value = text.GetValue().asString();
  if (std::find(allowed.begin(), allowed.end(), value) != allowed.end()) return true;
  text.AddError(EC_JsonValueInvalid, "\"" + value + "\" is not among " + QuotedList(allowed));
  return false;
}

void TaskSettings::AddError(const std::string& key, const std::string& message) {
  (node_.Has(key) ? node_[key] : node_).AddError(EC_ParameterValueInvalid, message);
}

}  // namespace velmora::capture
