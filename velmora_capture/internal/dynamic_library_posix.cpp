#include <dlfcn.h>

#include <filesystem>

#include "velmora_capture/internal/dynamic_library.h"

namespace velmora::capture {

void* OpenLibrary(const std::string& file, std::string& reason) {
  void* const library = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) {
    // NOLINTNEXTLINE(concurrency-mt-unsafe): each thread has words of its own
    const char* const words = dlerror();
    reason = words != nullptr ? words : "the system gave no reason";
  }
  return library;
}

void* FindExport(void* library, const char* name) {
  return dlsym(library, name);
}

std::string FolderOfOwnLibrary() {
  Dl_info info{};
  if (dladdr(reinterpret_cast<const void*>(&FolderOfOwnLibrary), &info) == 0) return {};
  // Of a program, the name is what it was called by, which may not lead to the file.
  const std::string file = info.dli_fname;
  std::error_code error;
  const std::filesystem::path real = std::filesystem::canonical(file, error);
  if (error || file.find('/') == std::string::npos) return FolderOfProgram();
  return real.parent_path().string();
}

std::string FolderOfProgram() {
  std::error_code error;
  return std::filesystem::read_symlink("/proc/self/exe", error).parent_path().string();
}

}  // namespace velmora::capture
