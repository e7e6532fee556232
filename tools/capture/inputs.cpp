#include "tools/capture/inputs.h"

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <system_error>

#include "velmora/util/path_helper.h"
#include "velmora_capture/image_file/image_file.h"

namespace velmora::capture {
namespace {

void AppendStandardInput(std::vector<std::string>& files) {
  for (std::string line; std::getline(std::cin, line);) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    if (!line.empty()) files.push_back(line);
  }
}

// Names look the same on every system. A path of the standard library would be another name on
// Windows: it turns letters beyond ASCII, which the C functions take in the system's code, to UTF-8.
std::string WithSlashes(std::string file) {
  if (std::filesystem::path::preferred_separator != '/')
    std::replace(file.begin(), file.end(), '\\', '/');
  return file;
}

void AppendDirectory(const std::string& directory, std::vector<std::string>& files) {
  std::error_code error;
  if (const std::filesystem::directory_iterator readable(directory, error); error) {
    files.push_back(directory);  // to be reported like a file that cannot be read
    return;
  }
  const std::size_t before = files.size();
  const auto listed = GetAllFiles(directory, true, nullptr);
  for (const std::string& file : listed->GetVector())
    if (HasPictureExtension(file)) files.push_back(WithSlashes(file));
  if (files.size() == before) std::cerr << "note: there is no picture in " << directory << "\n";
}

}  // namespace

std::vector<std::string> ExpandInputs(const std::vector<std::string>& inputs) {
  std::vector<std::string> files;
  for (const std::string& input : inputs) {
    if (input == "-") {
      AppendStandardInput(files);
    } else if (PathHelper::JudgePathType(input.c_str()) == PathHelper::PT_Directory) {
      AppendDirectory(input, files);
    } else {
      files.push_back(input);
    }
  }
  return files;
}

}  // namespace velmora::capture
