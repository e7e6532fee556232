#include "tools/capture/inputs.h"

#include <algorithm>
#include <iostream>

#include "tools/capture/text.h"
#include "velmora_capture/image_file/image_file.h"

namespace velmora::capture {
namespace {

// Names look the same on every system, which may take either separator.
std::string Join(const std::string& directory, const std::string& name) {
  return directory.back() == '/' || directory.back() == '\\' ? directory + name
                                                             : directory + "/" + name;
}

void AppendNames(std::istream& in, char end, std::vector<std::string>& files) {
  for (std::string line; std::getline(in, line, end);) {
    if (end == '\n' && !line.empty() && line.back() == '\r') line.pop_back();
    if (!line.empty()) files.push_back(ToUtf8(line));
  }
}

class DirectoryLister {
 public:
  DirectoryLister(bool takesAll, std::vector<std::string>& files, std::vector<std::string>& notes)
      : takesAll_(takesAll), files_(files), notes_(notes) {}

  void Append(const std::string& directory) {
    // Links that lead back to a directory on the way down would lead on for ever.
    std::string real = GetRealDirectory(directory);
    if (std::find(above_.begin(), above_.end(), real) != above_.end()) return;
    std::string error;
    const std::vector<DirectoryEntry> entries = ListDirectory(directory, error);
    if (!error.empty()) return files_.push_back(directory);
    above_.push_back(std::move(real));
    for (const DirectoryEntry& entry : entries) {
      const std::string path = Join(directory, entry.name);
      if (!entry.isNameable) {
        notes_.push_back(Printable(path) + " is left out: its name is no UTF-16");
      } else if (entry.kind == DirectoryEntry::kDirectory) {
        Append(path);
      } else if (entry.kind == DirectoryEntry::kFile &&
                 (takesAll_ || HasPictureExtension(entry.name))) {
        files_.push_back(path);
      }
    }
    above_.pop_back();
  }

 private:
  const bool takesAll_;
  std::vector<std::string>& files_;
  std::vector<std::string>& notes_;
  std::vector<std::string> above_;  // real names of the directories on the way down
};

}  // namespace

std::vector<std::string> ExpandInputs(const Options& options, std::vector<std::string>& notes) {
  std::vector<std::string> files;
  for (const std::string& input : options.inputs) {
    if (input == "-" && !options.raw.IsGiven()) {
      AppendNames(std::cin, options.endsNamesWithNul ? '\0' : '\n', files);
    } else if (GetRealDirectory(input).empty()) {
      files.push_back(input);
    } else {
      const std::size_t before = files.size();
      DirectoryLister(options.raw.IsGiven(), files, notes).Append(input);
      if (files.size() == before) notes.push_back("there is no picture in " + Printable(input));
    }
  }
  return files;
}

DirectoryWatch::DirectoryWatch(std::string directory) : directory_(std::move(directory)) {
  if (!Look(true)) throw UsageError("the directory '" + directory_ + "' cannot be watched");
}

bool DirectoryWatch::TakeNext(const StopSignal& stop, std::string& file) {
  constexpr int kLookMs = 200;
  while (finished_.empty()) {
    if (stop.WaitFor(kLookMs) || !Look(false)) return false;
  }
  file = Join(directory_, finished_.back());
  finished_.pop_back();
  return !stop.IsSet();
}

bool DirectoryWatch::Look(bool isFirst) {
  std::string error;
  const std::vector<DirectoryEntry> entries = ListDirectory(directory_, error);
  if (!error.empty()) return false;
  std::map<std::string, Seen> now;
  for (const DirectoryEntry& entry : entries) {
    if (entry.kind != DirectoryEntry::kFile || !HasPictureExtension(entry.name)) continue;
    Seen seen{entry.size, entry.time, isFirst};
    const auto before = seen_.find(entry.name);
    if (before != seen_.end() && before->second.size == seen.size &&
        before->second.time == seen.time) {
      seen.isTold = before->second.isTold || seen.size > 0;
      if (seen.isTold && !before->second.isTold) finished_.push_back(entry.name);
    }
    now.emplace(entry.name, seen);
  }
  std::reverse(finished_.begin(), finished_.end());
  seen_ = std::move(now);
  return true;
}

}  // namespace velmora::capture
