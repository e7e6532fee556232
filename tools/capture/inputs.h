/// @file
/// Which files to read.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "tools/capture/options.h"
#include "tools/capture/system.h"

namespace velmora::capture {

/// Replaces each directory by the pictures in it and below it, in the order of their names (with
/// raw frames by all files), and "-" by the names on standard input. Every other name stays,
/// whether there is such a file or not, and so does a directory that cannot be read: both are
/// reported like a file that cannot be read.
///
/// @param notes  receives a sentence on each directory without pictures and each name that UTF-8
///               cannot hold
std::vector<std::string> ExpandInputs(const Options& options, std::vector<std::string>& notes);

/// Tells of the pictures that come into a directory, each when it is finished: when its size and
/// time stay as they are from one look to the next. One that is written once more is told once
/// more.
class DirectoryWatch {
 public:
  /// What is in the directory now is old.
  /// @throws UsageError if it cannot be read
  explicit DirectoryWatch(std::string directory);

  /// Waits for the next one.
  /// @return false if @p stop was set, or the directory is gone
  bool TakeNext(const StopSignal& stop, std::string& file);

 private:
  struct Seen {
    std::int64_t size = 0;
    std::int64_t time = 0;
    bool isTold = false;
  };

  bool Look(bool isFirst);

  const std::string directory_;
  std::map<std::string, Seen> seen_;   // what the last look saw
  std::vector<std::string> finished_;  // names to be told, the next one last
};

}  // namespace velmora::capture
