/// @file
/// Reading JSON with errors that say where.
#pragma once

#include <json/value.h>

#include <string>
#include <utility>
#include <vector>

#include "velmora/foundation/error_code.h"
#include "velmora_capture/capture_template.h"

namespace velmora::capture {

/// A place in a JSON text.
struct JsonPlace {
  std::string path;  ///< like "Definitions[1].Tasks[0].Module"; empty for the whole text
  int line = 1;
  int column = 1;
};

/// A JSON text and what was found wrong with it. A fault does not end the reading, so that a user
/// sees all of them at once.
class JsonDocument {
 public:
  /// @param name  of the file, for the messages
  JsonDocument(std::string name, std::string text);

  /// @return false, with an error filed, if the text is no JSON; comments are allowed
  bool Parse();

  const Json::Value& GetRoot() const { return root_; }
  JsonPlace PlaceOf(const Json::Value& value, const std::string& path) const;
  JsonPlace PlaceAt(std::size_t offset, const std::string& path) const;

  void AddError(const JsonPlace& place, ErrorCode code, const std::string& message);
  const std::vector<TemplateError>& GetErrors() const { return errors_; }

 private:
  std::string name_;
  std::string text_;
  Json::Value root_;
  std::vector<TemplateError> errors_;
};

/// A value in a document, with its path. What is missing or of another type is filed as an error
/// and read as empty or as the value for an absent key.
class JsonNode {
 public:
  JsonNode(JsonDocument& document, const Json::Value& value, std::string path)
      : document_(document), value_(value), path_(std::move(path)) {}

  JsonPlace GetPlace() const { return document_.PlaceOf(value_, path_); }
  const Json::Value& GetValue() const { return value_; }
  bool IsObject() const;

  /// Files an error for each member that is not among @p keys.
  void AllowKeys(const std::vector<std::string>& keys) const;
  bool Has(const std::string& key) const;
  JsonNode operator[](const std::string& key) const;
  JsonNode operator[](Json::ArrayIndex index) const;

  /// The member "Name", which must be there, without "{}[]" and not empty.
  std::string ReadName() const;
  std::string ReadString(const std::string& key) const;
  bool ReadBool(const std::string& key, bool whenAbsent) const;
  int ReadInt(const std::string& key, int smallest, int largest, int whenAbsent) const;
  double ReadDouble(const std::string& key, double smallest, double largest,
                    double whenAbsent) const;
  std::vector<std::string> ReadStrings(const std::string& key) const;
  /// The elements of an array member, which must be objects.
  std::vector<JsonNode> ReadObjects(const std::string& key) const;

  void AddError(ErrorCode code, const std::string& message) const;
  void AddTypeError(const std::string& wanted) const;

 private:
  JsonDocument& document_;
  const Json::Value& value_;
  std::string path_;
};

/// @return "a", "b", "c"; "nothing" for an empty list
std::string QuotedList(const std::vector<std::string>& names);

}  // namespace velmora::capture
