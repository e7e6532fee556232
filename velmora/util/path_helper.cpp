#include "velmora/util/path_helper.h"

#include <cstddef>
#include <cstdio>
#include <cstring>
#include <memory>
#include <optional>

#include "velmora/platform/internal/system.h"

namespace velmora {
namespace {

constexpr std::size_t kPathLimit = 512;
constexpr char kPdfMark[] = {'%', 'P', 'D', 'F'};

struct FileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

using File = std::unique_ptr<std::FILE, FileCloser>;

std::string DirectoryOf(std::string path) {
  if (path.size() > kPathLimit) path.resize(kPathLimit);
  // Without any separator rfind gives npos and npos + 1 is 0: an empty directory.
  path.resize(path.rfind(platform::kPathSeparator) + 1);
  return path;
}

bool CanBeRead(const std::string& path) {
  // POSIX opens directories for reading too.
  return PathHelper::JudgePathType(path.c_str()) != PathHelper::PT_Directory &&
         File(std::fopen(path.c_str(), "r")) != nullptr;
}

}  // namespace

PathHelper::PathType PathHelper::JudgePathType(const char* path) {
  if (path == nullptr) return PT_Invalid;
  switch (platform::GetFileKind(path)) {
    case platform::FileKind::kRegular:
      return PT_File;
    case platform::FileKind::kDirectory:
      return PT_Directory;
    case platform::FileKind::kMissing:
      return PT_NotExist;
    case platform::FileKind::kOther:
      break;
  }
  return PT_Invalid;
}

bool PathHelper::IsPDFFile(const char* path) {
  if (path == nullptr) return false;
  const File file(std::fopen(path, "rb"));
  if (file == nullptr) return false;
  unsigned char start[sizeof kPdfMark];
  const std::size_t count = std::fread(start, 1, sizeof start, file.get());
  return IsPDFFile(start, static_cast<int>(count));
}

bool PathHelper::IsPDFFile(const unsigned char* data, int size) {
  if (data == nullptr || size < static_cast<int>(sizeof kPdfMark)) return false;
  return std::memcmp(data, kPdfMark, sizeof kPdfMark) == 0;
}

bool PathHelper::GetEXEDirectory(std::string& out) {
  out = DirectoryOf(platform::ExecutablePath());
  return true;
}

bool PathHelper::GetDLLDirectory(const std::string& moduleName, std::string& out) {
  std::optional<std::string> path = platform::LoadedModulePath(moduleName);
  if (!path) return false;
  out = DirectoryOf(*std::move(path));
  return true;
}

bool PathHelper::GetDLLDirectory(const std::string& moduleName, NxSafeString& out) {
  std::string directory;
  if (!GetDLLDirectory(moduleName, directory)) return false;
  out.SetString(directory);
  return true;
}

bool PathHelper::GetLyxDLLDirectory(std::string& out) {
  return GetDLLDirectory("VelmoraScanlyxx86", out);
}

bool PathHelper::GetINIPath(const std::string& fileName, const std::string& moduleName,
                            std::string& out) {
  std::string directory;
  if (GetDLLDirectory(moduleName, directory)) {
    out = directory + fileName;
    if (CanBeRead(out)) return true;
  }
  GetEXEDirectory(directory);
  out = directory + fileName;
  return CanBeRead(out);
}

std::string PathHelper::GetFileNameFromFilePath(const std::string& path) {
  return path.substr(path.find_last_of("/\\") + 1);
}

}  // namespace velmora
