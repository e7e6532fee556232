#include "velmora_capture/capture_template.h"

#include "velmora/foundation/error_code.h"

namespace velmora::capture {

std::string TemplateError::ToString() const {
  return file + ":" + std::to_string(line) + ":" + std::to_string(column) + ": " +
         (path.empty() ? "" : path + ": ") + message + " (" + std::to_string(code) + ": " +
         Nc_GetErrorString(code) + ")";
}

}  // namespace velmora::capture
