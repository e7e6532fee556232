// What the log keeps behind its lock.
#pragma once

#include <json/value.h>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "velmora/platform/critical_section.h"
#include "velmora/platform/mutex.h"

namespace velmora::internal {

struct LogState {
  platform::CriticalSection lock;
  std::string savePath VELMORA_GUARDED_BY(lock);
  std::string mainLogFile VELMORA_GUARDED_BY(lock);
  std::string routerLogFile VELMORA_GUARDED_BY(lock);  // the router module writes there itself
  bool initialised VELMORA_GUARDED_BY(lock) = false;
  std::string imageName VELMORA_GUARDED_BY(lock);
  std::deque<std::string> directoryLayers VELMORA_GUARDED_BY(lock);
  std::string cache VELMORA_GUARDED_BY(lock);                  // whole lines with their newlines
  std::vector<std::size_t> lineEnds VELMORA_GUARDED_BY(lock);  // of each line in the cache
  std::size_t firstLineTaken VELMORA_GUARDED_BY(lock) =
      0;  // with so much of the first one the main log file ends already
  std::map<std::uint64_t, Json::Value> jsonRecords
      VELMORA_GUARDED_BY(lock);  // by number, so oldest first
  std::uint64_t lastRecordNumber VELMORA_GUARDED_BY(lock) = 0;
  bool isTorn VELMORA_GUARDED_BY(lock) =
      false;  // the main log file ends inside a text whose rest will not follow
};

// The one state of the process. Made on first use and never destroyed, because other objects may
// log while the process ends.
LogState& GetLogState();

// Adds a line to the cache, or changes nothing when it throws std::bad_alloc.
void CacheLine(LogState& state, std::string_view line) VELMORA_REQUIRES(state.lock);

// Makes room for as many lines as are usually cached.
void ReserveCache(LogState& state) VELMORA_REQUIRES(state.lock);

// Gives back the memory of an empty cache that was far larger than that.
void TrimCache(LogState& state) VELMORA_REQUIRES(state.lock);

// The two below append to the main log file, which is opened and closed for it, and begin on a new
// line behind a torn text. The caller holds the lock.

// Returns how many bytes the file took, which is fewer than asked for if it refuses the rest. The
// caller will go on with that rest.
std::size_t AppendToMainLog(LogState& state, std::string_view text) VELMORA_REQUIRES(state.lock);

// Returns whether the file took the whole text. What it took of a part is torn, and so is a cached
// line whose rest this text comes before: all of it is to be written again.
bool AppendWhole(LogState& state, std::string_view text) VELMORA_REQUIRES(state.lock);

}  // namespace velmora::internal
