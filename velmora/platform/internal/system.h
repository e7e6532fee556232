// The operating system as the rest of the library sees it. One contract, kept by
// system_posix.cpp and system_windows.cpp; nothing outside this room includes a system header.
//
// Paths and names are bytes that go to the system untouched (on Windows: the ANSI code page).
// All functions are safe from any thread. None of them reports by exception except
// std::bad_alloc.
#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace velmora::platform {

// Modules -------------------------------------------------------------------------------------

// What follows the base name in a module's file name: for the modules that carry the
// architecture in theirs, and for those that do not.
extern const char kModuleSuffix[];       // "x86.dll"; on POSIX ".so"
extern const char kPlainModuleSuffix[];  // ".dll"; on POSIX ".so"

using ModuleHandle = void*;  // the system's own handle

// Loads a module and counts one load. A bare name is searched by the system.
// `flags` are those of LoadLibraryExA and mean nothing on POSIX. Null if it cannot be loaded; the
// system shows no message box.
ModuleHandle OpenModule(const char* path, unsigned long flags);

// The same for a full path alone: neither the module nor, on Windows, what it needs is looked for
// in the current directory or the PATH, whatever the flags say. Null for every other path.
ModuleHandle OpenModuleInPlace(const char* path, unsigned long flags);

// Takes back one load of OpenModule; the last one unloads.
void CloseModule(ModuleHandle module);

// Null if the module exports no such function.
void* FindFunction(ModuleHandle module, const char* name);

// The full path of a module that is loaded in this process, by its name without directory; a
// missing extension is completed. On POSIX the name is turned into a file name as kModuleSuffix
// and kPlainModuleSuffix say ("Foox86", "Foox86.dll" and "Foo.dll" stand for "Foo.so"); where no
// such file is loaded, another version of it ("Foo.so.4") or a library of that name ("libFoo.so.4")
// is it.
std::optional<std::string> LoadedModulePath(const std::string& moduleName);

// The full path of the running program; empty if the system does not tell.
std::string ExecutablePath();

// Files ---------------------------------------------------------------------------------------

extern const char kPathSeparator;

// Whether the system takes `c` between two names of a path.
bool IsPathSeparator(char c);

enum class FileKind { kRegular, kDirectory, kMissing, kOther };  // kOther: also "cannot tell"

// What the path leads to, links followed. A trailing separator is accepted behind a directory.
FileKind GetFileKind(const char* path);

struct DirectoryEntry {
  std::string name;
  bool isDirectory;  // links followed
};

// The entries of a directory without "." and "..", in no order; nothing if it cannot be read for
// another reason than want of memory.
std::vector<DirectoryEntry> ListDirectory(const std::string& directory);

// Equal for two paths exactly if they lead to the same file or directory.
struct FileIdentity {
  std::uint64_t volume;
  std::uint64_t index;
  bool operator<(const FileIdentity& other) const {
    return volume != other.volume ? volume < other.volume : index < other.index;
  }
};

// Links are followed. Nothing if the path does not lead anywhere or may not be asked, or if the
// file system tells no files apart.
std::optional<FileIdentity> GetFileIdentity(const std::string& path);

// Creates one directory; false if it exists already or cannot be created.
bool MakeDirectory(const char* path);

// Threads, time, text -------------------------------------------------------------------------

// Frees what a mutex keeps outside of itself and its destructor leaves behind, before that runs.
void FreeMutex(std::recursive_mutex& mutex) noexcept;  // plain: the only recursive one

// The system's number of the calling thread.
std::uint32_t CurrentThreadId();

// The time of day where the machine stands.
std::tm LocalTime();

constexpr std::size_t kFormattedTextLimit = 1023;
constexpr std::size_t kFormattedTextRoom = kFormattedTextLimit + 2;

// Formats into `text`, which has room for kFormattedTextRoom characters, as wvsprintfA does on
// Windows and as vsnprintf does on POSIX; a lone "%" at the end of the format is dropped, and null
// formats to nothing. Longer texts are cut to kFormattedTextLimit characters on both. Only
// %c %d %i %u %x %X %s %p and %l-forms mean the same on both; %f, %e and %g do not: wvsprintfA
// prints the letter and takes no argument. Returns the length without the terminator.
std::size_t FormatText(char* text, const char* format, std::va_list arguments);

}  // namespace velmora::platform
