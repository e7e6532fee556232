/// @file
/// What a capture runs, and what can be wrong with it.
#pragma once

#include <string>

#include "velmora_capture/export.h"

namespace velmora::capture {

/// A fault of a template, a module that is missing, or a setting that a module refuses.
struct TemplateError {
  std::string file;  ///< the name that the caller gave the template
  int line = 1;      ///< from 1
  int column = 1;    ///< from 1, in bytes
  std::string path;  ///< like "Definitions[1].Tasks[0].Module"; empty for the whole text
  int code = 0;      ///< an `ErrorCode`
  std::string message;

  /// "FILE:LINE:COLUMN: PATH: MESSAGE (CODE: text of the code)".
  VELMORA_CAPTURE_EXPORT std::string ToString() const;
};

/// The template that finds and reads every code that the modules of the system can read.
/// @return JSON text, never null
VELMORA_CAPTURE_EXPORT const char* GetDefaultTemplate();

}  // namespace velmora::capture
