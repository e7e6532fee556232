/// @file
/// The recognition modules that a template names.
#pragma once

#include <string>
#include <vector>

#include "velmora_kit/module_api.h"

namespace velmora::capture {

/// Finds modules by name in a list of folders.
///
/// Loaded modules belong to the process: a file is loaded once, whichever registry asked for it,
/// and never unloaded, since results hold objects whose code is the module's.
///
/// @threadsafety any thread
class ModuleRegistry {
 public:
  /// Searches @p folders, then "velmora/modules" beside the file of the capture library (on Windows
  /// the library's folder itself), then the folder of the program; nothing else.
  /// @param folders  UTF-8; relative ones are taken from the current directory now
  explicit ModuleRegistry(const std::vector<std::string>& folders);

  /// Loads a module from the first folder that has a file of its name.
  ///
  /// @param module  no path: without separators
  /// @param fault   receives why there is none: it was not found, and where it was looked for, or
  ///                it cannot be loaded, or it is no module with this library's interface number
  /// @return null if there is none
  kit::CreateWorkObjectFunction Find(const std::string& module, std::string& fault) const;

 private:
  std::vector<std::string> folders_;  // absolute, each once
};

}  // namespace velmora::capture
