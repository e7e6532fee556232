#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <link.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <string_view>

#include "velmora/platform/internal/system.h"

namespace velmora::platform {
namespace {

bool EndsWith(std::string_view text, std::string_view end) {
  return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

// "Foox86", "Foox86.dll", "Foo.dll", "Foo" and "Foo.so" are all "Foo.so" here; "Foo.so.4" is a file
// name too.
std::string ModuleFileName(std::string_view name) {
  if (EndsWith(name, ".so") || name.find(".so.") != name.npos) return std::string(name);
  for (const std::string_view end : {".dll", "x86"}) {
    if (EndsWith(name, end)) name.remove_suffix(end.size());
  }
  return std::string(name) + ".so";
}

std::string_view FileNameOf(std::string_view path) {
  return path.substr(path.rfind('/') + 1);
}

// Whether two file names are alike but for the end of a version: "Foo.so", "Foo.so.4",
// "Foo.so.4.6".
bool AreVersionsOfOne(std::string_view a, std::string_view b) {
  const std::string_view shorter = a.size() < b.size() ? a : b;
  const std::string_view longer = a.size() < b.size() ? b : a;
  return !shorter.empty() && longer.substr(0, shorter.size()) == shorter &&
         (longer.size() == shorter.size() || longer[shorter.size()] == '.');
}

struct ModuleSearch {
  std::string_view fileName;
  bool anyVersion;
  char path[PATH_MAX];  // a plain buffer: the callback below may not throw through the C library
};

int StopAtModule(dl_phdr_info* info, std::size_t, void* context) {
  ModuleSearch& search = *static_cast<ModuleSearch*>(context);
  const std::string_view path = info->dlpi_name == nullptr ? "" : info->dlpi_name;
  const std::string_view name = FileNameOf(path);
  const bool isWanted =
      search.anyVersion ? AreVersionsOfOne(name, search.fileName) : name == search.fileName;
  if (!isWanted || path.size() >= sizeof search.path) return 0;
  std::memcpy(search.path, path.data(), path.size());
  search.path[path.size()] = '\0';
  return 1;
}

// Whether a file ends before all of what its headers have the system map. It would be mapped all
// the same, and a touch of what is missing ends the process (SIGBUS).
bool IsCutShort(const char* path) {
  const int file = open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  if (file < 0) return false;  // the system will tell why
  struct stat status;
  ElfW(Ehdr) header;
  const auto reads = [file](auto& part, ElfW(Off) offset) {
    return pread(file, &part, sizeof part, static_cast<off_t>(offset)) == sizeof part;
  };
  bool isCutShort = false;
  if (fstat(file, &status) == 0 && S_ISREG(status.st_mode) && reads(header, 0) &&
      std::memcmp(header.e_ident, ELFMAG, SELFMAG) == 0 &&
      header.e_phentsize == sizeof(ElfW(Phdr))) {
    const auto size = static_cast<ElfW(Off)>(status.st_size);
    ElfW(Phdr) part;
    for (ElfW(Half) i = 0; i < header.e_phnum && !isCutShort; ++i) {
      isCutShort = !reads(part, header.e_phoff + i * sizeof part) ||
                   (part.p_type == PT_LOAD &&
                    (part.p_filesz > size || part.p_offset > size - part.p_filesz));
    }
  }
  close(file);
  return isCutShort;
}

struct FreeDeleter {
  void operator()(char* text) const { std::free(text); }
};

struct DirectoryCloser {
  void operator()(DIR* directory) const { closedir(directory); }
};

bool IsDirectory(const std::string& directory, const dirent& entry) {
  if (entry.d_type != DT_LNK && entry.d_type != DT_UNKNOWN) return entry.d_type == DT_DIR;
  const std::string path = directory + '/' + entry.d_name;
  return GetFileKind(path.c_str()) == FileKind::kDirectory;
}

}  // namespace

const char kModuleSuffix[] = ".so";
const char kPlainModuleSuffix[] = ".so";
const char kPathSeparator = '/';

ModuleHandle OpenModule(const char* path, unsigned long /*flags*/) {
  // What the system searches for itself is not looked at.
  if (std::strchr(path, '/') != nullptr && IsCutShort(path)) return nullptr;
  return dlopen(path, RTLD_NOW | RTLD_LOCAL);
}

ModuleHandle OpenModuleInPlace(const char* path, unsigned long flags) {
  return path[0] == '/' ? OpenModule(path, flags) : nullptr;
}

void CloseModule(ModuleHandle module) {
  dlclose(module);
}

void* FindFunction(ModuleHandle module, const char* name) {
  return dlsym(module, name);
}

std::optional<std::string> LoadedModulePath(const std::string& moduleName) {
  if (moduleName.empty()) return std::nullopt;
  const std::string fileName = ModuleFileName(moduleName), libraryName = "lib" + fileName;
  ModuleSearch search;
  const auto finds = [&search](const std::string& name, bool anyVersion) {
    search.fileName = name;
    search.anyVersion = anyVersion;
    return dl_iterate_phdr(StopAtModule, &search) != 0;
  };
  // The name itself first: a module "Foo" is not mistaken for a library "libFoo.so.1" beside it.
  if (!finds(fileName, false) && !finds(fileName, true) && !finds(libraryName, true)) {
    return std::nullopt;
  }
  if (search.path[0] == '/') return search.path;
  // A module opened by a relative path keeps that path.
  const std::unique_ptr<char, FreeDeleter> full(realpath(search.path, nullptr));
  if (full == nullptr && errno == ENOMEM) throw std::bad_alloc();
  return full == nullptr ? search.path : full.get();
}

std::string ExecutablePath() {
  char path[PATH_MAX];
  const ssize_t length = readlink("/proc/self/exe", path, sizeof path);
  return length < 0 ? std::string() : std::string(path, static_cast<std::size_t>(length));
}

bool IsPathSeparator(char c) {
  return c == '/';
}

FileKind GetFileKind(const char* path) {
  struct stat status;
  if (stat(path, &status) != 0) {
    return errno == ENOENT || errno == ENOTDIR ? FileKind::kMissing : FileKind::kOther;
  }
  if (S_ISDIR(status.st_mode)) return FileKind::kDirectory;
  return S_ISREG(status.st_mode) ? FileKind::kRegular : FileKind::kOther;
}

std::vector<DirectoryEntry> ListDirectory(const std::string& directory) {
  std::vector<DirectoryEntry> entries;
  const std::unique_ptr<DIR, DirectoryCloser> stream(opendir(directory.c_str()));
  if (stream == nullptr) {
    if (errno == ENOMEM) throw std::bad_alloc();
    return entries;
  }
  // One stream is not for two threads; this one is ours. NOLINTNEXTLINE(concurrency-mt-unsafe)
  while (const dirent* entry = readdir(stream.get())) {
    const std::string_view name = entry->d_name;
    if (name != "." && name != "..") {
      entries.push_back({std::string(name), IsDirectory(directory, *entry)});
    }
  }
  return entries;
}

std::optional<FileIdentity> GetFileIdentity(const std::string& path) {
  struct stat status;
  if (stat(path.c_str(), &status) != 0) return std::nullopt;
  return FileIdentity{status.st_dev, status.st_ino};
}

bool MakeDirectory(const char* path) {
  return mkdir(path, 0777) == 0;
}

void FreeMutex(std::recursive_mutex&) noexcept {}  // plain: see the header

std::uint32_t CurrentThreadId() {
  // Asked once per thread: the call of the system takes longer than the rest of a log line's head.
  // The thread in which a child of fork() begins has a number of its own. vfork and _Fork run no
  // handler, but allow no call of this library in the child either.
  thread_local std::uint32_t known = 0;
  static const bool isForgottenByFork = pthread_atfork(nullptr, nullptr, [] { known = 0; }) == 0;
  if (known != 0) return known;
  const auto id = static_cast<std::uint32_t>(gettid());
  if (isForgottenByFork) known = id;
  return id;
}

std::tm LocalTime() {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  return local;
}

std::size_t FormatText(char* text, const char* format, std::va_list arguments) {
  text[0] = '\0';
  if (format == nullptr) return 0;
  constexpr std::size_t kSize = kFormattedTextLimit + 1;
  std::va_list again;
  va_copy(again, arguments);
  int length = std::vsnprintf(text, kSize, format, arguments);
  if (length < 0) {
    // A conversion that the end of the format cuts off ("100%") is refused with the whole text.
    const char* const last = std::strrchr(format, '%');
    try {
      const std::string rest = last == nullptr ? "" : std::string(format, last);
      // va_copy began it. NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized)
      length = std::vsnprintf(text, kSize, rest.c_str(), again);
    } catch (const std::bad_alloc&) {  // NOLINT(bugprone-empty-catch): the message stays empty
    }
  }
  va_end(again);
  if (length < 0) text[0] = '\0';
  return length < 0 ? 0 : std::min(static_cast<std::size_t>(length), kFormattedTextLimit);
}

}  // namespace velmora::platform
