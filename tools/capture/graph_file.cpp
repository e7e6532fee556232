#include "tools/capture/graph_file.h"

#include <system_error>

#include "tools/capture/output_file.h"
#include "tools/capture/system.h"

namespace velmora::capture {

std::string DotFileFor(const std::string& file) {
  return file + ".dot";
}

std::string WriteGraphFile(const std::string& file, const std::string& dot) {
  std::string dotFile = DotFileFor(file);
  WriteFile(dotFile, "the graph", [&](std::ostream& out) { out << dot; });
  if (RunProgram({"dot", "-Tsvg", "-o", file, dotFile}) != 0) return dotFile;
  std::error_code ignored;
  std::filesystem::remove(ToPath(dotFile), ignored);
  return file;
}

}  // namespace velmora::capture
