#include "tools/cluster/template_text.h"

#include "tools/capture/output_file.h"
#include "tools/capture/text.h"
#include "tools/cluster/job.h"
#include "velmora_capture/capture_template.h"

namespace velmora::cluster {

TemplateText ReadTemplate(const std::string& file) {
  TemplateText result;
  if (file.empty()) {
    result.name = "default";
    result.text = capture::GetDefaultTemplate();
  } else {
    result.name = capture::ValidUtf8(capture::ToPath(file).filename().u8string());
    result.text = capture::ReadTextFile(file, "the template");
  }
  result.hash = Sha256(result.text);
  return result;
}

}  // namespace velmora::cluster
