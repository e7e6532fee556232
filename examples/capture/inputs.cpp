#include "examples/capture/inputs.h"

#include <filesystem>
#include <iostream>
#include <system_error>

#include "examples/capture/image_file.h"
#include "velmora/util/path_helper.h"

namespace velmora::capture {
namespace {

void AppendStandardInput(std::vector<std::string>& files) {
  for (std::string line; std::getline(std::cin, line);) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    if (!line.empty()) files.push_back(line);
  }
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
    if (HasPictureExtension(file))  // names look the same on every system
      files.push_back(std::filesystem::path(file).generic_string());
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
