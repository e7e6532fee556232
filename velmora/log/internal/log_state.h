// What the log keeps behind its lock.
#pragma once

#include <json/value.h>

#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <vector>

#include "velmora/platform/critical_section.h"

namespace velmora::internal {

struct LogState {
  platform::CriticalSection lock;  // guards everything below
  std::string savePath;
  std::string mainLogFile;
  std::string routerLogFile;  // the router module writes there itself
  bool initialised = false;
  std::string imageName;
  std::deque<std::string> directoryLayers;
  std::vector<std::string> cache;                    // whole lines with their newline
  std::map<std::uint64_t, Json::Value> jsonRecords;  // by number, so oldest first
  std::uint64_t lastRecordNumber = 0;
};

// The one state of the process. Made on first use and never destroyed, because other objects may
// log while the process ends.
LogState& GetLogState();

// Appends to a file, which is opened and closed for it.
// Returns how many bytes the file took, which is fewer than asked for if it refuses the rest.
std::size_t AppendToFile(const std::string& path, const std::string& text);

}  // namespace velmora::internal
