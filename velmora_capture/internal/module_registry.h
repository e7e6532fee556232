/// @file
/// The recognition modules that a template names.
#pragma once

#include <string>

#include "velmora/util/module_loader.h"
#include "velmora_kit/module_api.h"

namespace velmora::capture {

/// Loads modules by name, each once, and makes work objects in them.
///
/// The modules are unloaded with the registry: it outlives all that they made, found regions
/// included, since their code is the modules'.
class ModuleRegistry {
 public:
  /// @return null if there is no such module, or it is none for this program
  modules::CreateWorkObjectFunction FindFactory(const std::string& module);

  /// The file that is looked for: in the program's directory first, then wherever the system looks.
  static std::string FileNameOf(const std::string& module);

 private:
  NxModuleLoaderBaseAuto loader_;
};

}  // namespace velmora::capture
