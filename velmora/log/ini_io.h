/// @file
/// The reader of the log's configuration file.
#pragma once

#include <map>
#include <string>

#include "velmora/platform/export.h"

namespace velmora {

/// The sections, keys and values of an ini file.
///
///     ; comment
///     [Section]
///     Key = value
///
/// White space is removed everywhere, inside names and values too, so that a value holds no blank.
/// Bytes outside ASCII are kept. Names are compared exactly. A later equal key replaces the earlier
/// one. Lines without "=", section lines without "]" and whatever follows the 1023rd character of
/// a line are ignored. Keys in front of the first section are filed under the section "". A UTF-8
/// byte-order mark is skipped.
///
/// @threadsafety as a `std::map`
class VELMORA_EXPORT INI_IO {
 public:
  /// Replaces the content by that of a file.
  /// @return false, with the content unchanged, if the file cannot be read or @p path is null
  bool Load(const char* path);

  /// @return the value; empty if there is none
  std::string GetValue(const std::string& section, const std::string& key) const;

  /// @return the decimal number that the value begins with, limited to what an int holds; 0 if it
  ///         begins with none
  int GetInt(const std::string& section, const std::string& key) const;

 private:
  using Section = std::map<std::string, std::string>;

  std::map<std::string, Section> sections_;
};

}  // namespace velmora
