// A place for the files of a test.
#pragma once

#include <filesystem>
#include <random>
#include <string>
#include <system_error>

namespace velmora::testing {

// A directory of its own for one test case, removed with everything in it.
class TemporaryDirectory {
 public:
  TemporaryDirectory() {
    std::random_device random;
    path_ = std::filesystem::temp_directory_path() / ("velmora " + std::to_string(random()));
    std::filesystem::create_directory(path_);
  }
  ~TemporaryDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

  const std::filesystem::path& GetPath() const { return path_; }

  // The directory with its last separator, or something in it.
  std::string operator/(const std::string& name) const { return (path_ / name).string(); }

 private:
  std::filesystem::path path_;
};

}  // namespace velmora::testing
