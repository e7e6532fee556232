#include "velmora/util/module_loader.h"

#include <atomic>

#include "velmora/foundation/error_code.h"
#include "velmora/platform/internal/system.h"
#include "velmora/util/path_helper.h"

namespace velmora {
namespace {

using Lock = SyncLock;

// The handle variable is the caller's and plain, but threads share it: one fills it under the lock
// while others look at it outside. C++17 has no atomic_ref; these are its two operations.
HINSTANCE LoadHandle(const HINSTANCE& module) {
  return __atomic_load_n(&module, __ATOMIC_ACQUIRE);
}

void StoreHandle(HINSTANCE& module, HINSTANCE handle) {
  __atomic_store_n(&module, handle, __ATOMIC_RELEASE);
}

// Relaxed: a flag of its own, set before modules are asked for.
std::atomic<bool> hasSystemSearch{true};

HINSTANCE Open(const std::string& path, unsigned long flags) {
  // The system takes a name as far as its first NUL, and dlopen an empty one for the program
  // itself.
  if (path.empty() || path.find('\0') != path.npos) return nullptr;
  const auto open = hasSystemSearch.load(std::memory_order_relaxed) ? platform::OpenModule
                                                                    : platform::OpenModuleInPlace;
  return static_cast<HINSTANCE>(open(path.c_str(), flags));
}

void* Find(HINSTANCE module, const char* functionName) {
  if (module == nullptr || functionName == nullptr) return nullptr;
  return platform::FindFunction(module, functionName);
}

std::string FileName(const std::string& moduleName) {
  const bool isPlain =
      moduleName == "Pagemill" || moduleName == "Classification" || moduleName == "PagemillCore";
  return moduleName + (isPlain ? platform::kPlainModuleSuffix : platform::kModuleSuffix);
}

}  // namespace

NxModuleLoaderBase::NxModuleLoaderBase() = default;

NxModuleLoaderBase::~NxModuleLoaderBase() {
  for (auto& [name, module] : modules_) releaseModule(module);
}

int NxModuleLoaderBase::LoadModule(const std::string& moduleName, HINSTANCE& module,
                                   unsigned long flags, bool nameIsFileName,
                                   const char* anchorName) {
  const std::string fileName = nameIsFileName ? moduleName : FileName(moduleName);
  const Lock lock(*this);
  HINSTANCE loaded = nullptr;
  if (dllDirectory_.empty() && anchorName != nullptr) {
    PathHelper::GetDLLDirectory(std::string(anchorName) + "x86", dllDirectory_);
  }
  if (!dllDirectory_.empty()) loaded = Open(dllDirectory_ + fileName, flags);
  if (loaded == nullptr) {
    if (exeDirectory_.empty()) PathHelper::GetEXEDirectory(exeDirectory_);
    if (!exeDirectory_.empty()) loaded = Open(exeDirectory_ + fileName, flags);
  }
  if (loaded == nullptr) loaded = Open(fileName, flags);
  StoreHandle(module, loaded);
  return loaded == nullptr ? EC_ModuleNotFound : EC_Ok;
}

void* NxModuleLoaderBase::DynamicLoadDllFunc(HINSTANCE& module, const char* moduleName,
                                             const char* functionName, unsigned long flags,
                                             bool nameIsFileName, const char* anchorName) {
  if (LoadHandle(module) == nullptr && moduleName != nullptr) {
    const Lock lock(*this);
    if (LoadHandle(module) == nullptr) {
      LoadModule(moduleName, module, flags, nameIsFileName, anchorName);
    }
  }
  return Find(LoadHandle(module), functionName);
}

void* NxModuleLoaderBase::loadModuleFunc(const char* fileName, const char* functionName) {
  const Lock lock(*this);
  HINSTANCE module = nullptr;
  return loadModuleFunc(fileName, functionName, module);
}

void* NxModuleLoaderBase::loadModuleFunc(const char* fileName, const char* functionName,
                                         HINSTANCE& module) {
  if (module == nullptr && fileName != nullptr) module = Open(fileName, 0);
  return Find(module, functionName);
}

void NxModuleLoaderBase::SetSystemSearch(bool isAllowed) {
  hasSystemSearch.store(isAllowed, std::memory_order_relaxed);
}

void NxModuleLoaderBase::releaseModule(HINSTANCE& module) {
  if (module != nullptr) platform::CloseModule(module);
}

void* NxModuleLoaderBaseAuto::DynamicLoadDllFunc(const char* moduleName, const char* functionName,
                                                 unsigned long flags, bool nameIsFileName,
                                                 const char* anchorName) {
  if (moduleName == nullptr) return nullptr;
  HINSTANCE module = nullptr;
  {
    const Lock lock(*this);
    HINSTANCE& kept = modules_[moduleName];  // before the module is loaded, which it is to free
    if (kept == nullptr) LoadModule(moduleName, kept, flags, nameIsFileName, anchorName);
    module = kept;
  }
  return Find(module, functionName);
}

}  // namespace velmora
