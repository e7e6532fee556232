#include "velmora_capture/internal/module_registry.h"

#include <algorithm>
#include <cstddef>
#include <filesystem>

#include "velmora_capture/internal/dynamic_library.h"
#include "velmora_capture/internal/json_node.h"

namespace velmora::capture {
namespace {

namespace fs = std::filesystem;

#if defined(_WIN32)
constexpr char kSuffix[] = "x86.dll";
constexpr char kOwnFolder[] = "";
#else
constexpr char kSuffix[] = ".so";
constexpr char kOwnFolder[] = "velmora/modules";
#endif

std::string VersionOf(const kit::ModuleInfo& info) {
  std::string version;
  for (const std::uint32_t number : info.coreVersion) {
    version += (version.empty() ? "" : ".") + std::to_string(number);
  }
  return version;
}

// What is wrong with a module, as far as what it tells about itself; empty if nothing is.
std::string CheckInfo(const kit::ModuleInfo* info) {
  if (info == nullptr || info->size < offsetof(kit::ModuleInfo, coreVersion)) {
    return "it does not tell what it is";
  }
  if (info->interfaceNumber == kit::kInterfaceNumber) return {};
  return "its interface number is " + std::to_string(info->interfaceNumber) +
         (info->size >= sizeof *info ? ", that of version " + VersionOf(*info) : "") +
         "; this library's is " + std::to_string(kit::kInterfaceNumber);
}

kit::CreateWorkObjectFunction Load(const std::string& file, std::string& fault) {
  void* const library = OpenLibrary(file, fault);
  if (library == nullptr) return nullptr;
  const auto info =
      reinterpret_cast<kit::ModuleInfoFunction>(FindExport(library, kit::kModuleInfoName));
  const auto create = reinterpret_cast<kit::CreateWorkObjectFunction>(
      FindExport(library, kit::kCreateWorkObjectName));
  if (info == nullptr || create == nullptr) {
    fault = std::string("it does not export ") +
            (info == nullptr ? kit::kModuleInfoName : kit::kCreateWorkObjectName);
    return nullptr;
  }
  fault = CheckInfo(info());
  return fault.empty() ? create : nullptr;
}

}  // namespace

ModuleRegistry::ModuleRegistry(const std::vector<std::string>& folders) {
  std::vector<fs::path> paths;
  paths.reserve(folders.size() + 2);
  for (const std::string& folder : folders) paths.push_back(fs::absolute(fs::u8path(folder)));
  paths.push_back(fs::u8path(FolderOfOwnLibrary()) / kOwnFolder);
  paths.push_back(fs::u8path(FolderOfProgram()));
  for (const fs::path& path : paths) {
    const std::string folder = (path / "").lexically_normal().parent_path().u8string();
    if (std::find(folders_.begin(), folders_.end(), folder) == folders_.end()) {
      folders_.push_back(folder);
    }
  }
}

kit::CreateWorkObjectFunction ModuleRegistry::Find(const std::string& module,
                                                   std::string& fault) const {
  const std::string name = module + kSuffix;
  for (const std::string& folder : folders_) {
    const fs::path path = fs::u8path(folder) / fs::u8path(name);
    std::error_code error;
    if (!fs::is_regular_file(path, error)) continue;
    std::string reason;
    const kit::CreateWorkObjectFunction create = Load(path.u8string(), reason);
    if (create == nullptr) {
      fault = "module \"" + module + "\" cannot be used: ";
      fault.append(path.u8string()).append(": ").append(reason);
    }
    return create;
  }
  fault = "module \"" + module + "\" was not found: there is no " + name + " in " +
          QuotedList(folders_);
  return nullptr;
}

}  // namespace velmora::capture
