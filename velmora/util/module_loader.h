/// @file
/// Finding and loading optional modules at run time.
#pragma once

#include <map>
#include <string>

#include "velmora/foundation/sync_object.h"
#include "velmora/platform/export.h"
#include "velmora/platform/mutex.h"

/// The Windows SDK's module handle, declared as <windows.h> declares it (with its strict types, the
/// default), so that a client may include both. On Linux the same name stands for what dlopen
/// returns.
struct HINSTANCE__;
using HINSTANCE = HINSTANCE__*;

namespace velmora {

/// Loads modules by name: from the directory of a module that is in the process already (the
/// anchor), otherwise from the program's directory, otherwise by the system's own search.
///
/// Security: the last step hands a bare file name to the system, which may look into the current
/// directory and the PATH (Windows) or into LD_LIBRARY_PATH (Linux). Whoever can write there can
/// have code loaded in place of a module that is missing. Install every module that is asked for
/// beside the anchor or beside the program, so that the search ends there, and on Windows pass the
/// flags 0x1100 (LOAD_LIBRARY_SEARCH_DEFAULT_DIRS with LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR): Windows
/// refuses bare names with them, so that the last step finds nothing. With 0x1000 alone it finds
/// the system's own modules and those beside the program, but nothing in the current directory or
/// the PATH. `loadModuleFunc` knows this last step only, without flags: give it full paths. A
/// program that wants the last step for none of its loaders calls `SetSystemSearch(false)`.
///
/// Flags are those of the Windows function LoadLibraryEx and have no meaning elsewhere. A module
/// that needs others from its own directory wants 0x1100 or 0x8 (LOAD_WITH_ALTERED_SEARCH_PATH); on
/// Linux its run path decides.
///
/// No error is shown or reported: a module or function that is not found is null, and the caller
/// knows what the absence means.
///
/// The loader is its own lock (`SyncObject`): a caller that holds it keeps other threads from
/// loading.
///
/// @threadsafety any thread; loads go through the loader's lock. The static operations know no
///               loader: threads that share their variable agree among themselves
class VELMORA_EXPORT NxModuleLoaderBase : public SyncObject {
 public:
  NxModuleLoaderBase();

  /// Frees the modules that `NxModuleLoaderBaseAuto::DynamicLoadDllFunc` loaded.
  virtual ~NxModuleLoaderBase();

  NxModuleLoaderBase(const NxModuleLoaderBase&) = delete;
  NxModuleLoaderBase& operator=(const NxModuleLoaderBase&) = delete;

  /// Loads a module. Every call counts a load of its own, to be taken back by `releaseModule`.
  ///
  /// @param moduleName      "Foo" asks for the file "Foox86.dll"; "Pagemill", "PagemillCore" and
  ///                        "Classification", whose files do not carry the architecture, for
  ///                        "Pagemill.dll" and so on. On Linux all of them end in ".so" alone
  /// @param module          receives the handle, or null; to be freed with `releaseModule`
  /// @param nameIsFileName  whether @p moduleName is the file name as it stands
  /// @param anchorName      base name of the anchor, whose file carries the architecture; null for
  ///                        none. The anchor's directory is asked for until it is found once, then
  ///                        kept, whatever anchor later calls name
  /// @return EC_Ok, or EC_ModuleNotFound
  int LoadModule(const std::string& moduleName, HINSTANCE& module, unsigned long flags,
                 bool nameIsFileName, const char* anchorName);

  /// Loads the module with `LoadModule` if @p module is null, and looks up a function.
  ///
  /// Threads that share the variable @p module and this loader load only once. Different loaders do
  /// not know of each other: through two of them a shared variable may be loaded twice.
  /// @return the function's address; null without the module or the function, or for null names
  void* DynamicLoadDllFunc(HINSTANCE& module, const char* moduleName, const char* functionName,
                           unsigned long flags, bool nameIsFileName, const char* anchorName);

  /// Loads a file by the system's search and looks up a function. The module stays loaded until the
  /// process ends.
  void* loadModuleFunc(const char* fileName, const char* functionName);

  /// The same, but loads only if @p module is null, and leaves the handle there.
  static void* loadModuleFunc(const char* fileName, const char* functionName, HINSTANCE& module);

  /// Whether the loaders of this process may leave the search to the system, which they do unless
  /// told otherwise.
  ///
  /// With false a module is loaded by its full path or not at all: beside the anchor and beside the
  /// program, by `loadModuleFunc` where it is given a full path. On Windows the modules that it
  /// needs are looked for as with the flags 0x1100, whatever the caller's flags.
  /// @threadsafety any thread; what is being loaded at the time may go either way
  static void SetSystemSearch(bool isAllowed);

  /// Frees a module. Null is accepted. The variable keeps its value; callers clear it themselves.
  static void releaseModule(HINSTANCE& module);

 protected:
  std::string dllDirectory_
      VELMORA_GUARDED_BY(this);  // of the anchor, with separator; empty until found
  std::string exeDirectory_
      VELMORA_GUARDED_BY(this);  // of the program, with separator; empty until found
  std::map<std::string, HINSTANCE> modules_ VELMORA_GUARDED_BY(this);  // owned, by module name
};

/// A loader that keeps the modules it loads, and frees them when it is destroyed.
class VELMORA_EXPORT NxModuleLoaderBaseAuto : public NxModuleLoaderBase {
 public:
  /// Loads the module with `LoadModule` when this loader is asked for it first, and looks up a
  /// function.
  /// @return the function's address; null without the module or the function, or for null names
  void* DynamicLoadDllFunc(const char* moduleName, const char* functionName, unsigned long flags,
                           bool nameIsFileName, const char* anchorName);
};

}  // namespace velmora
