#include <windows.h>

#include <filesystem>
#include <vector>

#include "velmora_capture/internal/dynamic_library.h"

namespace velmora::capture {
namespace {

std::string FolderOf(HMODULE library) {
  std::vector<wchar_t> file(MAX_PATH);
  DWORD length = 0;
  // A name that does not fit is cut off, and fills the buffer.
  while ((length = GetModuleFileNameW(library, file.data(), static_cast<DWORD>(file.size()))) ==
         file.size()) {
    file.resize(2 * file.size());
  }
  return std::filesystem::path(file.data(), file.data() + length).parent_path().u8string();
}

}  // namespace

void* OpenLibrary(const std::string& file, std::string& reason) {
  // What it needs is looked for beside it, beside the program and in the system's folder; neither
  // the current directory nor the PATH takes part, and no window shows an error.
  constexpr DWORD kSearch = LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR | LOAD_LIBRARY_SEARCH_DEFAULT_DIRS;
  std::filesystem::path path = std::filesystem::u8path(file);
  DWORD mode = 0;
  SetThreadErrorMode(SEM_FAILCRITICALERRORS, &mode);
  const HMODULE library = LoadLibraryExW(path.make_preferred().c_str(), nullptr, kSearch);
  if (library == nullptr) reason = "system error " + std::to_string(GetLastError());
  SetThreadErrorMode(mode, nullptr);
  return library;
}

void* FindExport(void* library, const char* name) {
  return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(library), name));
}

std::string FolderOfOwnLibrary() {
  HMODULE library = nullptr;
  GetModuleHandleExW(
      GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
      reinterpret_cast<const wchar_t*>(&FolderOfOwnLibrary), &library);
  return FolderOf(library);
}

std::string FolderOfProgram() {
  return FolderOf(nullptr);
}

}  // namespace velmora::capture
