// A module built with the headers of another version.
#include "velmora_kit/module_api.h"

VELMORA_MODULE_EXPORT const velmora::kit::ModuleInfo* VelmoraModuleInfo() {
  static constexpr velmora::kit::ModuleInfo info{
      sizeof(velmora::kit::ModuleInfo), 77, {5, 6, 7, 8}};
  return &info;
}

VELMORA_MODULE_EXPORT velmora::Nx_WorkObjectBase* VelmoraCreateWorkObject(velmora::kit::Settings&) {
  return nullptr;
}
