#include "velmora_capture/internal/json_node.h"

#include <json/reader.h>
#include <json/writer.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <utility>

#include "velmora_capture/internal/json_memory.h"

namespace velmora::capture {
namespace {

constexpr int kDeepest = 100;  // levels; a template has eight

const char* TypeName(const Json::Value& value) {
  switch (value.type()) {
    case Json::nullValue:
      return "null";
    case Json::intValue:
    case Json::uintValue:
    case Json::realValue:
      return "a number";
    case Json::stringValue:
      return "a string";
    case Json::booleanValue:
      return "true or false";
    case Json::arrayValue:
      return "an array";
    case Json::objectValue:
      return "an object";
  }
  return "something else";
}

// The value as it stands in the text, cut where it gets long.
std::string Excerpt(const Json::Value& value) {
  if (value.isArray() || value.isObject()) return TypeName(value);
  constexpr std::size_t kLongest = 40;
  Json::StreamWriterBuilder builder;
  builder["indentation"] = "";
  std::string text = WriteJson(builder, value);
  if (text.size() > kLongest) text = text.substr(0, kLongest) + "...";
  return text;
}

// Where the text is nested more deeply than the reader follows it; brackets in strings do not
// count.
std::size_t FindTooDeep(const std::string& text) {
  int depth = 0;
  bool isInString = false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (isInString && c == '\\') {
      ++i;
    } else if (c == '"') {
      isInString = !isInString;
    } else if (!isInString && (c == '[' || c == '{')) {
      if (++depth > kDeepest) return i;
    } else if (!isInString && (c == ']' || c == '}')) {
      --depth;
    }
  }
  return 0;
}

}  // namespace

std::string QuotedList(const std::vector<std::string>& names) {
  std::string list;
  for (const std::string& name : names) list += (list.empty() ? "\"" : ", \"") + name + "\"";
  return list.empty() ? "nothing" : list;
}

JsonDocument::JsonDocument(std::string name, std::string text)
    : name_(std::move(name)), text_(std::move(text)) {}

bool JsonDocument::Parse() {
  Json::CharReaderBuilder builder;
  builder["rejectDupKeys"] = true;
  builder["failIfExtra"] = true;
  builder["allowTrailingCommas"] = false;
  builder["stackLimit"] = kDeepest;
  const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
  std::string faults;
  try {
    if (reader->parse(text_.data(), text_.data() + text_.size(), &root_, &faults)) return true;
  } catch (const Json::Exception& error) {
    // The same exception that says that there is no memory.
    if (std::strstr(error.what(), "stackLimit") == nullptr) throw;
    AddError(PlaceAt(FindTooDeep(text_), {}), EC_JsonParseFailed,
             "nested more than " + std::to_string(kDeepest) + " levels deep");
    return false;
  }
  // The first of them: "* Line 3, Column 5\n  what is wrong\n"; the others mostly follow from it.
  JsonPlace place;
  // Not sscanf: MinGW's ends the process without memory.
  const char* rest = faults.c_str();
  const auto read = [&rest](const char* word, int& number) {
    const char* const found = std::strstr(rest, word);
    if (found == nullptr) return;
    char* end = nullptr;
    number = static_cast<int>(std::strtol(found + std::strlen(word), &end, 10));
    rest = end;
  };
  read("Line ", place.line);
  read("Column ", place.column);
  const std::string message = rest + std::strspn(rest, " \n");
  AddError(place, EC_JsonParseFailed, message.substr(0, message.find('\n')));
  return false;
}

JsonPlace JsonDocument::PlaceOf(const Json::Value& value, const std::string& path) const {
  return PlaceAt(static_cast<std::size_t>(value.getOffsetStart()), path);
}

JsonPlace JsonDocument::PlaceAt(std::size_t offset, const std::string& path) const {
  offset = std::min(offset, text_.size());
  const std::string before = text_.substr(0, offset);
  const std::size_t lineStart = before.rfind('\n') + 1;  // 0 when there is none: npos + 1
  return {path, 1 + static_cast<int>(std::count(before.begin(), before.end(), '\n')),
          1 + static_cast<int>(offset - lineStart)};
}

void JsonDocument::AddError(const JsonPlace& place, ErrorCode code, const std::string& message) {
  errors_.push_back({name_, place.line, place.column, place.path, code, message});
}

bool JsonNode::IsObject() const {
  if (value_.isObject()) return true;
  AddTypeError("an object");
  return false;
}

void JsonNode::AllowKeys(const std::vector<std::string>& keys) const {
  for (const std::string& key : value_.getMemberNames()) {
    if (std::find(keys.begin(), keys.end(), key) != keys.end()) continue;
    (*this)[key].AddError(EC_JsonKeyInvalid,
                          "there is no key \"" + key + "\" here; allowed are " + QuotedList(keys));
  }
}

bool JsonNode::Has(const std::string& key) const {
  return value_.isMember(key);
}

JsonNode JsonNode::operator[](const std::string& key) const {
  return {document_, value_[key], path_.empty() ? key : path_ + "." + key};
}

JsonNode JsonNode::operator[](Json::ArrayIndex index) const {
  return {document_, value_[index], path_ + "[" + std::to_string(index) + "]"};
}

std::string JsonNode::ReadName() const {
  if (!Has("Name")) {
    AddError(EC_JsonNameKeyMissing, "this object has no \"Name\"");
    return {};
  }
  std::string name = ReadString("Name");
  if ((*this)["Name"].GetValue().isString() &&
      (name.empty() || name.find_first_of("{}[]") != std::string::npos)) {
    (*this)["Name"].AddError(
        EC_JsonValueInvalid,
        "\"" + name + "\" cannot be a name: a name is not empty and has none of {}[]");
    return {};
  }
  return name;
}

std::string JsonNode::ReadString(const std::string& key) const {
  if (!Has(key)) {
    AddError(EC_JsonKeyInvalid, "the key \"" + key + "\" is missing");
    return {};
  }
  const JsonNode member = (*this)[key];
  if (member.value_.isString()) return member.value_.asString();
  member.AddTypeError("a string");
  return {};
}

bool JsonNode::ReadBool(const std::string& key, bool whenAbsent) const {
  if (!Has(key)) return whenAbsent;
  const JsonNode member = (*this)[key];
  if (member.value_.isBool()) return member.value_.asBool();
  member.AddTypeError("true or false");
  return whenAbsent;
}

int JsonNode::ReadInt(const std::string& key, int smallest, int largest, int whenAbsent) const {
  if (!Has(key)) return whenAbsent;
  const JsonNode member = (*this)[key];
  if (!member.value_.isIntegral()) {
    member.AddTypeError("a whole number");
    return whenAbsent;
  }
  if (member.value_.isInt() && member.value_.asInt() >= smallest &&
      member.value_.asInt() <= largest) {
    return member.value_.asInt();
  }
  member.AddError(EC_JsonValueInvalid, Excerpt(member.value_) + " is not between " +
                                           std::to_string(smallest) + " and " +
                                           std::to_string(largest));
  return whenAbsent;
}

double JsonNode::ReadDouble(const std::string& key, double smallest, double largest,
                            double whenAbsent) const {
  if (!Has(key)) return whenAbsent;
  const JsonNode member = (*this)[key];
  if (!member.value_.isNumeric()) {
    member.AddTypeError("a number");
    return whenAbsent;
  }
  const double number = member.value_.asDouble();
  if (number >= smallest && number <= largest) return number;
  member.AddError(EC_JsonValueInvalid, Excerpt(member.value_) + " is not between " +
                                           Excerpt(smallest) + " and " + Excerpt(largest));
  return whenAbsent;
}

std::vector<std::string> JsonNode::ReadStrings(const std::string& key) const {
  std::vector<std::string> strings;
  if (!Has(key)) return strings;
  const JsonNode member = (*this)[key];
  if (!member.value_.isArray()) member.AddTypeError("an array of strings");
  for (Json::ArrayIndex i = 0; member.value_.isArray() && i < member.value_.size(); ++i) {
    const JsonNode element = member[i];
    if (element.value_.isString()) {
      strings.push_back(element.value_.asString());
    } else {
      element.AddTypeError("a string");
    }
  }
  return strings;
}

std::vector<JsonNode> JsonNode::ReadObjects(const std::string& key) const {
  std::vector<JsonNode> objects;
  if (!Has(key)) {
    AddError(EC_JsonKeyInvalid, "the key \"" + key + "\" is missing");
    return objects;
  }
  const JsonNode member = (*this)[key];
  if (!member.value_.isArray() || member.value_.empty()) {
    member.AddTypeError("an array with one object at least");
    return objects;
  }
  for (Json::ArrayIndex i = 0; i < member.value_.size(); ++i) {
    const JsonNode element = member[i];
    if (element.IsObject()) objects.push_back(element);
  }
  return objects;
}

void JsonNode::AddError(ErrorCode code, const std::string& message) const {
  document_.AddError(GetPlace(), code, message);
}

void JsonNode::AddTypeError(const std::string& wanted) const {
  AddError(EC_JsonTypeInvalid, Excerpt(value_) + " stands where " + wanted + " is wanted");
}

}  // namespace velmora::capture
