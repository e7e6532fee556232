// Turns the log of the process on, into a directory of its own, and off again.
#pragma once

#include <regex>
#include <string>

#include "tests/support/temporary_directory.h"
#include "velmora/log/log.h"

namespace velmora::testing {

class ScopedLog {
 public:
  ScopedLog(LogMode mode, int level) {
    NxLog::GetInstance().InitLogFromSetting(mode, level, (directory_ / "").c_str());
  }
  ~ScopedLog() { NxLog::GetInstance().InitLogFromSetting(LM_None, 0, ""); }
  ScopedLog(const ScopedLog&) = delete;
  ScopedLog& operator=(const ScopedLog&) = delete;

  std::string Text() const { return ReadFile(directory_ / "VelmoraScanlyx.log"); }

  // The text without the thread and time that its lines begin with.
  std::string Messages() const {
    return std::regex_replace(Text(), std::regex("\\[TID:[^\\]]*\\][^\\]]*\\]"), "");
  }

 private:
  TemporaryDirectory directory_;
};

}  // namespace velmora::testing
