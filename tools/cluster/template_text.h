/// @file
/// The template that jobs are for.
#pragma once

#include <string>

namespace velmora::cluster {

struct TemplateText {
  std::string name;  ///< of the file without its folder; "default" for the built-in one
  std::string text;
  std::string hash;  ///< SHA-256 of the text
};

/// @param file  empty for the built-in template
/// @throws capture::UsageError
TemplateText ReadTemplate(const std::string& file);

}  // namespace velmora::cluster
