#include <windows.h>

#include <cstring>
#include <memory>
#include <string_view>
#include <type_traits>

#include "velmora/platform/internal/system.h"

namespace velmora::platform {
namespace {

// Keeps "cannot load" message boxes away from the user of a program that only tries a module.
class QuietErrors {
 public:
  QuietErrors() { SetThreadErrorMode(GetThreadErrorMode() | SEM_FAILCRITICALERRORS, &before_); }
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

using File = std::unique_ptr<HANDLE, HandleCloser>;

// Opens what the path leads to for questions only: no right to read it is asked for, and nobody is
// kept from writing. Null, with the reason in GetLastError, if there is nothing to ask.
File OpenForQuestions(const char* path) {
  const DWORD shareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
  // BACKUP_SEMANTICS is what lets a directory be opened.
  const HANDLE handle =
      CreateFileA(path, 0, shareAll, nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
  return File(handle == INVALID_HANDLE_VALUE ? nullptr : handle);
}

// The file, a part of the way to it, or the machine it would be on; or no file can have the name.
bool IsMissing(DWORD error) {
  switch (error) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
    case ERROR_INVALID_DRIVE:
    case ERROR_BAD_NETPATH:
    case ERROR_BAD_NET_NAME:
    case ERROR_INVALID_NAME:
    case ERROR_BAD_PATHNAME:
      return true;
    default:
      return false;
  }
}

}  // namespace

const char kModuleSuffix[] = "x86.dll";
const char kPlainModuleSuffix[] = ".dll";
const char kPathSeparator = '\\';

ModuleHandle OpenModule(const char* path, unsigned long flags) {
  const QuietErrors quiet;
  return LoadLibraryExA(path, nullptr, flags);
}

ModuleHandle OpenModuleInPlace(const char* path, unsigned long flags) {
  // With these the system refuses what is no full path, and looks for what the module needs beside
  // it, beside the program and among its own. The flag that is taken out does not go with them.
  constexpr DWORD kSearch = LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR | LOAD_LIBRARY_SEARCH_DEFAULT_DIRS;
  return OpenModule(path, (flags & ~DWORD{LOAD_WITH_ALTERED_SEARCH_PATH}) | kSearch);
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
  // Not GetFileAttributes: it calls NUL a file and does not follow links.
  const File file = OpenForQuestions(path);
  if (file == nullptr) return IsMissing(GetLastError()) ? FileKind::kMissing : FileKind::kOther;
  BY_HANDLE_FILE_INFORMATION information;
  if (GetFileType(file.get()) != FILE_TYPE_DISK ||
      !GetFileInformationByHandle(file.get(), &information)) {
    return FileKind::kOther;
  }
  const bool isDirectory = (information.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
  return isDirectory ? FileKind::kDirectory : FileKind::kRegular;
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
  const File file = OpenForQuestions(path.c_str());
  BY_HANDLE_FILE_INFORMATION information;
  if (file == nullptr || !GetFileInformationByHandle(file.get(), &information)) return std::nullopt;
  const std::uint64_t high = information.nFileIndexHigh;
  const std::uint64_t index = high << 32 | information.nFileIndexLow;
  // Some network drives number no file: all of them have 0.
  if (index == 0) return std::nullopt;
  return FileIdentity{information.dwVolumeSerialNumber, index};
}

bool MakeDirectory(const char* path) {
  return CreateDirectoryA(path, nullptr) != 0;
}

// The standard library's initialises the thread library's statically, which then allocates with the
// first lock, and has no destructor.
void FreeMutex(std::recursive_mutex& mutex) noexcept {  // plain: see the header
  pthread_mutex_destroy(mutex.native_handle());
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

std::size_t FormatText(char* text, const char* format, std::va_list arguments) {
  text[0] = '\0';
  // wvsprintfA takes no size: it writes up to 1024 bytes, terminator included or not.
  if (format != nullptr) wvsprintfA(text, format, arguments);
  text[kFormattedTextLimit] = '\0';
  return std::strlen(text);
}

}  // namespace velmora::platform
