// Any text is a template or has errors that name their place.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "velmora_capture/internal/template.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace velmora::capture;
  JsonDocument document("T", std::string(reinterpret_cast<const char*>(data), size));
  if (!document.Parse()) {
    if (document.GetErrors().empty()) std::abort();
    return 0;
  }
  const Template read = ReadTemplate(document);
  for (const TemplateError& error : document.GetErrors()) {
    if (error.file != "T" || error.line < 1 || error.column < 1 || error.message.empty()) {
      std::abort();
    }
  }
  if (document.GetErrors().empty() && (read.name.empty() || read.definitions.empty())) std::abort();
  return 0;
}
