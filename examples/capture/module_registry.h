/// @file
/// The recognition modules that a template names.
#pragma once

#include <string>

#include "examples/modules/module_api.h"
#include "velmora/util/module_loader.h"

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
