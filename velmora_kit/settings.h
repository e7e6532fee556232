/// @file
/// The settings of a task, as its module reads them.
#pragma once

#include <json/value.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace velmora::modules {

/// Settings that a module cannot use; `what()` says which value is wrong and which are allowed.
class SettingsError : public std::invalid_argument {
 public:
  using std::invalid_argument::invalid_argument;
};

/// The members of a JSON object, each read once; what nobody asked for is an error of the user.
class ModuleSettings {
 public:
  /// @throws SettingsError if @p text is no JSON object
  explicit ModuleSettings(const char* text);

  /// @throws SettingsError if the value is no whole number in the range
  int GetInt(const std::string& key, int smallest, int largest, int whenAbsent);

  /// @param allowed  the strings that may be chosen from
  /// @return the chosen ones in the order of the user; all that are allowed if the key is absent
  /// @throws SettingsError for a value that is no array, or holds anything else
  std::vector<std::string> GetChoice(const std::string& key,
                                     const std::vector<std::string>& allowed);

  /// To be called last.
  /// @throws SettingsError if there is a key that was never read
  void CheckAllRead() const;

 private:
  const Json::Value& Read(const std::string& key);

  Json::Value values_;
  std::vector<std::string> read_;
};

}  // namespace velmora::modules
