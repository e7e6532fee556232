#include "velmora_capture/internal/module_registry.h"

namespace velmora::capture {
namespace {

#if defined(_WIN32)
constexpr char kSuffix[] = "x86.dll";
#else
constexpr char kSuffix[] = ".so";
#endif

// LOAD_LIBRARY_SEARCH_DEFAULT_DIRS: neither the current directory nor the PATH takes part.
constexpr unsigned long kSafeSearch = 0x1000;

}  // namespace

modules::CreateWorkObjectFunction ModuleRegistry::FindFactory(const std::string& module) {
  return reinterpret_cast<modules::CreateWorkObjectFunction>(loader_.DynamicLoadDllFunc(
      module.c_str(), modules::kCreateWorkObjectName, kSafeSearch, false, nullptr));
}

std::string ModuleRegistry::FileNameOf(const std::string& module) {
  return module + kSuffix;
}

}  // namespace velmora::capture
