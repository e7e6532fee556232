/// @file
/// The settings of a task as a module reads them.
#pragma once

#include <string>
#include <vector>

#include "velmora_capture/internal/json_node.h"
#include "velmora_kit/settings.h"

namespace velmora::capture {

/// Reads the members of a JSON object for a module. Errors are filed with the object's document.
class TaskSettings final : public kit::Settings {
 public:
  /// @param document  outlives the reader
  /// @param values    an object that keeps its place in the document; outlives the reader
  /// @param path      of the object
  TaskSettings(JsonDocument& document, const Json::Value& values, const std::string& path)
      : document_(document), node_(document, values, path) {}

  int GetInt(const std::string& key, int smallest, int largest, int whenAbsent) override;
  double GetDouble(const std::string& key, double smallest, double largest,
                   double whenAbsent) override;
  bool GetBool(const std::string& key, bool whenAbsent) override;
  std::string GetString(const std::string& key, const std::string& whenAbsent) override;
  std::vector<std::string> GetStrings(const std::string& key,
                                      const std::vector<std::string>& whenAbsent) override;
  std::string GetChoice(const std::string& key, const std::vector<std::string>& allowed,
                        const std::string& whenAbsent) override;
  std::vector<std::string> GetChoices(const std::string& key,
                                      const std::vector<std::string>& allowed) override;
  void AddError(const std::string& key, const std::string& message) override;

  /// To be called last: files an error for each member that was never read.
  void CheckAllRead() const { node_.AllowKeys(read_); }

 private:
  // Notes the key as read; whether it is there.
  bool Take(const std::string& key);
  bool IsAmong(const std::vector<std::string>& allowed, const JsonNode& text) const;

  JsonDocument& document_;
  JsonNode node_;
  std::vector<std::string> read_;
};

}  // namespace velmora::capture
