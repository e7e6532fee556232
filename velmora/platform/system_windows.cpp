#include <windows.h>

#include <memory>
#include <string_view>
#include <type_traits>

#include "velmora/platform/internal/system.h"

namespace velmora::platform {
namespace {

// Keeps "cannot load" message boxes away from the user of a program that only tries a module.
class QuietErrors {
 public:
  QuietErrors() { SetThreadErrorMode(SEM_FAILCRITICALERRORS, &before_); }
  ~QuietErrors() { SetThreadErrorMode(before_, nullptr); }
  QuietErrors(const QuietErrors&) = delete;
  QuietErrors& operator=(const QuietErrors&) = delete;

 private:
  DWORD before_ = 0;
};

std::string PathOfModule(HMODULE module) {
  std::string path(MAX_PATH, '\0');
  for (;;) {
    const DWORD length = GetModuleFileNameA(module, path.data(), static_cast<DWORD>(path.size()));
    if (length < path.size()) {
      path.resize(length);
      return path;
    }
    path.resize(2 * path.size());
  }
}

struct SearchCloser {
  using pointer = HANDLE;
  void operator()(HANDLE search) const { FindClose(search); }
};

struct HandleCloser {
  using pointer = HANDLE;
  void operator()(HANDLE handle) const { CloseHandle(handle); }
};

bool IsMissing(DWORD error) {
  return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND;
}

}  // namespace

const char kModuleSuffix[] = "x86.dll";
const char kPlainModuleSuffix[] = ".dll";
const char kPathSeparator = '\\';

ModuleHandle OpenModule(const char* path, unsigned long flags) {
  const QuietErrors quiet;
  return LoadLibraryExA(path, nullptr, flags);
}

void CloseModule(ModuleHandle module) {
  FreeLibrary(static_cast<HMODULE>(module));
}

void* FindFunction(ModuleHandle module, const char* name) {
  return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(module), name));
}

std::optional<std::string> LoadedModulePath(const std::string& moduleName) {
  if (moduleName.empty()) return std::nullopt;
  const HMODULE module = GetModuleHandleA(moduleName.c_str());
  if (module == nullptr) return std::nullopt;
  return PathOfModule(module);
}

std::string ExecutablePath() {
  return PathOfModule(nullptr);
}

bool IsPathSeparator(char c) {
  return c == '\\' || c == '/';
}

FileKind GetFileKind(const char* path) {
  const DWORD attributes = GetFileAttributesA(path);
  if (attributes == INVALID_FILE_ATTRIBUTES)
    return IsMissing(GetLastError()) ? FileKind::kMissing : FileKind::kOther;
  if ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) return FileKind::kDirectory;
  return (attributes & FILE_ATTRIBUTE_DEVICE) != 0 ? FileKind::kOther : FileKind::kRegular;
}

std::vector<DirectoryEntry> ListDirectory(const std::string& directory) {
  std::vector<DirectoryEntry> entries;
  WIN32_FIND_DATAA found;
  const HANDLE handle = FindFirstFileA((directory + "\\*.*").c_str(), &found);
  if (handle == INVALID_HANDLE_VALUE) return entries;
  const std::unique_ptr<HANDLE, SearchCloser> search(handle);
  do {
    const std::string_view name = found.cFileName;
    const bool isDirectory = (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    if (name != "." && name != "..") entries.push_back({std::string(name), isDirectory});
  } while (FindNextFileA(search.get(), &found));
  return entries;
}

std::optional<FileIdentity> GetFileIdentity(const std::string& path) {
  const DWORD shareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
  // BACKUP_SEMANTICS is what lets a directory be opened.
  const HANDLE handle = CreateFileA(path.c_str(), 0, shareAll, nullptr, OPEN_EXISTING,
                                    FILE_FLAG_BACKUP_SEMANTICS, nullptr);
  if (handle == INVALID_HANDLE_VALUE) return std::nullopt;
  const std::unique_ptr<HANDLE, HandleCloser> file(handle);
  BY_HANDLE_FILE_INFORMATION information;
  if (!GetFileInformationByHandle(file.get(), &information)) return std::nullopt;
  const std::uint64_t high = information.nFileIndexHigh;
  return FileIdentity{information.dwVolumeSerialNumber, high << 32 | information.nFileIndexLow};
}

bool MakeDirectory(const char* path) {
  return CreateDirectoryA(path, nullptr) != 0;
}

std::uint32_t CurrentThreadId() {
  return GetCurrentThreadId();
}

std::tm LocalTime() {
  // Not the C library's localtime: it reads TZ itself and disagrees with the system.
  SYSTEMTIME now;
  GetLocalTime(&now);
  std::tm local{};
  local.tm_year = now.wYear - 1900;
  local.tm_mon = now.wMonth - 1;
  local.tm_mday = now.wDay;
  local.tm_hour = now.wHour;
  local.tm_min = now.wMinute;
  local.tm_sec = now.wSecond;
  local.tm_wday = now.wDayOfWeek;
  return local;
}

std::string FormatText(const char* format, std::va_list arguments) {
  // wvsprintfA takes no size: it writes up to 1024 bytes, terminator included or not.
  char text[1025] = {};
  wvsprintfA(text, format, arguments);
  text[kFormattedTextLimit] = '\0';
  return text;
}

}  // namespace velmora::platform
