// A module built with the headers of another version, or one that lacks a part of what a module is.
#include "velmora_kit/module_api.h"

VELMORA_MODULE_EXPORT const velmora::kit::ModuleInfo* VelmoraModuleInfo() {
  static constexpr velmora::kit::ModuleInfo info{MODULE_INFO_SIZE, 77, {5, 6, 7, 8}};
  return &info;
}

#if !defined(MODULE_WITHOUT_FACTORY)
VELMORA_MODULE_EXPORT velmora::Nx_WorkObjectBase* VelmoraCreateWorkObject(velmora::kit::Settings&) {
  return nullptr;
}
#endif
