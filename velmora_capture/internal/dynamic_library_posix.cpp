#include <dlfcn.h>

#include <filesystem>
#include <new>
#include <system_error>

#include "velmora/util/module_loader.h"
#include "velmora_capture/internal/dynamic_library.h"

namespace velmora::capture {

void* OpenLibrary(const std::string& file, std::string& reason) {
  // NOLINTBEGIN(concurrency-mt-unsafe): each thread has words of its own
  dlerror();  // forgets what went wrong before
  HINSTANCE library = nullptr;
  NxModuleLoaderBase::loadModuleFunc(file.c_str(), nullptr, library);
  if (library == nullptr) {
    // A file that is cut short is refused before the system sees it.
    const char* const words = dlerror();
    reason = words != nullptr ? words : "the file is cut short";
  }
  // NOLINTEND(concurrency-mt-unsafe)
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
  if (error == std::errc::not_enough_memory) throw std::bad_alloc();
  if (error || file.find('/') == std::string::npos) return FolderOfProgram();
  return real.parent_path().string();
}

std::string FolderOfProgram() {
  std::error_code error;
  return std::filesystem::read_symlink("/proc/self/exe", error).parent_path().string();
}

}  // namespace velmora::capture
