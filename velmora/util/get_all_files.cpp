#include <algorithm>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "velmora/platform/internal/system.h"
#include "velmora/util/path_helper.h"

namespace velmora {
namespace {

char ToLowerAscii(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool EqualWithoutCase(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](char x, char y) { return ToLowerAscii(x) == ToLowerAscii(y); });
}

class FileLister {
 public:
  FileLister(bool recursive, std::string_view filter)
      : recursive_(recursive), hasFilter_(!filter.empty()), extension_(filter) {
    if (hasFilter_ && extension_.front() == '.') extension_.remove_prefix(1);
  }

  void List(const std::string& directory) {
    std::vector<platform::DirectoryEntry> entries = platform::ListDirectory(directory);
    std::sort(entries.begin(), entries.end(),
              [](const auto& a, const auto& b) { return a.name < b.name; });
    const bool endsInSeparator = platform::IsPathSeparator(directory.back());
    const std::string prefix = endsInSeparator ? directory : directory + platform::kPathSeparator;
    for (const platform::DirectoryEntry& entry : entries) {
      if (!entry.isDirectory) {
        if (IsWanted(entry.name)) files_.push_back(prefix + entry.name);
      } else if (recursive_) {
        Descend(prefix + entry.name);
      }
    }
  }

  void Descend(const std::string& directory) {
    const auto identity = platform::GetFileIdentity(directory);
    // A file system without identities has no links.
    if (!identity || listed_.insert(*identity).second) List(directory);
  }

  std::vector<std::string> TakeFiles() { return std::move(files_); }

 private:
  bool IsWanted(std::string_view name) const {
    if (!hasFilter_) return true;
    const std::size_t dot = name.rfind('.');
    return dot != std::string_view::npos && EqualWithoutCase(name.substr(dot + 1), extension_);
  }

  const bool recursive_;
  const bool hasFilter_;
  std::string_view extension_;
  std::set<platform::FileIdentity> listed_;  // directories, so that each is listed once
  std::vector<std::string> files_;
};

}  // namespace

NxRef<NxVector<std::string>> GetAllFiles(const std::string& directory, bool recursive,
                                         const char* extensionFilter) {
  FileLister lister(recursive, extensionFilter == nullptr ? "" : extensionFilter);
  if (!directory.empty()) lister.Descend(directory);
  return new NxVector<std::string>(lister.TakeFiles());
}

}  // namespace velmora
