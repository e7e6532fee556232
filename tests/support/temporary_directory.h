// A directory of its own for one test case, removed with everything in it.
#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <string_view>

namespace velmora::testing {

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

inline void WriteFile(const std::string& path, std::string_view bytes) {
  std::ofstream(path, std::ios::binary).write(bytes.data(), static_cast<long>(bytes.size()));
}

// Empty for a file that is not there.
inline std::string ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace velmora::testing
