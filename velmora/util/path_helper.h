/// @file
/// Paths, kinds of files and directory listings.
#pragma once

#include <string>

#include "velmora/foundation/ref.h"
#include "velmora/foundation/safe_string.h"
#include "velmora/foundation/vector.h"
#include "velmora/platform/export.h"

namespace velmora {

/// Static functions about paths and files.
///
/// Paths are narrow strings whose bytes reach the system untouched (on Windows in the ANSI code
/// page). Directories are given out with their last separator, ready for a file name: "\" on
/// Windows, "/" elsewhere.
///
/// @threadsafety any thread; nothing is kept between calls
class VELMORA_EXPORT PathHelper {
 public:
  /// What a path leads to.
  enum PathType : int {
    PT_File = 0,       ///< a regular file
    PT_Directory = 1,  ///< a directory
    PT_Invalid = 2,    ///< null, neither file nor directory, or the system refuses to tell
    PT_NotExist = 3,   ///< nothing there
  };

  PathHelper() = delete;

  /// Links are followed; a trailing separator is accepted behind a directory.
  static PathType JudgePathType(const char* path);

  /// Whether the file's first four bytes are "%PDF". False if it cannot be read.
  static bool IsPDFFile(const char* path);

  /// Whether the first four of @p size bytes are "%PDF". False for null.
  static bool IsPDFFile(const unsigned char* data, int size);

  /// Sets @p out to the directory of the running program: the first 512 characters of its path,
  /// cut after the last separator.
  /// @return always true
  static bool GetEXEDirectory(std::string& out);

  /// Sets @p out to the directory of a module that is loaded in the process: the first 512
  /// characters of its path, cut after the last separator.
  ///
  /// @param moduleName  its file name without directory; the extension may be missing. On Linux
  ///                    the name of the same module on Windows is understood too: "Foox86",
  ///                    "Foox86.dll" and "Foo.dll" all stand for "Foo.so", and where that is not
  ///                    loaded, for "Foo.so.4", "libFoo.so" or "libFoo.so.4", whatever the version
  /// @return false, with @p out unchanged, if no such module is loaded
  static bool GetDLLDirectory(const std::string& moduleName, std::string& out);
  static bool GetDLLDirectory(const std::string& moduleName, NxSafeString& out);

  /// `GetDLLDirectory` of the barcode-reading module.
  static bool GetLyxDLLDirectory(std::string& out);

  /// Finds a settings file: in the directory of @p moduleName if that module is loaded and the
  /// file there can be opened for reading, otherwise in the program's directory.
  ///
  /// @param out  the path tried last, whatever the answer
  /// @return whether the file at @p out can be opened for reading
  static bool GetINIPath(const std::string& fileName, const std::string& moduleName,
                         std::string& out);

  /// What follows the last separator, "/" or "\" on every system; a bare name is returned whole.
  static std::string GetFileNameFromFilePath(const std::string& path);
};

/// Lists the files of a directory, each as directory, separator, name. A separator that
/// @p directory already ends with is not doubled.
///
/// Names are sorted bytewise within a directory; a subdirectory's files stand where its own name
/// sorts. Everything that is not a directory counts as a file. Links to directories are followed,
/// but each directory is listed once, where the listing first comes to it.
///
/// @param recursive        whether to descend into subdirectories
/// @param extensionFilter  keeps only names whose extension, the part behind the last ".", equals
///                         it; case of ASCII letters does not matter, nor whether the filter begins
///                         with ".". Null and "" keep all names
/// @return a new list; empty if the directory cannot be read. Unreadable subdirectories add nothing
/// @throws std::bad_alloc
/// @threadsafety any thread
VELMORA_EXPORT NxRef<NxVector<std::string>> GetAllFiles(const std::string& directory,
                                                        bool recursive,
                                                        const char* extensionFilter);

}  // namespace velmora
