// A library that makes work objects and does not tell what it is.
#include "velmora_kit/module_api.h"

VELMORA_MODULE_EXPORT velmora::Nx_WorkObjectBase* VelmoraCreateWorkObject(velmora::kit::Settings&) {
  return nullptr;
}
