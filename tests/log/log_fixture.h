// The one log of the process, in a fresh directory for each case.
#pragma once

#include "tests/support/test.h"

namespace velmora::testing {

// What a line that this thread writes now begins with, by the system's own clock.
std::string LineHead();

using Lines = std::vector<std::string>;

// Has the one log of the process write texts in a fresh directory, and turns it off again.
class LogFixture : public ::testing::Test {
 protected:
  LogFixture() { Configure(LM_Text, 1); }
  ~LogFixture() override {
    log.OutputCacheLog();
    log.SetOutputMode(OM_File);
    log.SetMode(LM_None);
    log.SetLevel(0);
    SetLogImgName("");
  }

  void Configure(LogMode mode, int level) {
    log.InitLogFromSetting(mode, level, (directory / "").c_str());
  }
  std::string LogFile() const { return directory / "VelmoraScanlyx.log"; }

  // The messages of the log's lines; a line of another form is given back whole, marked.
  Lines Messages() const {
    Lines messages;
    std::istringstream text(ReadFile(LogFile()));
    for (std::string line; std::getline(text, line);) {
      int head = 0;  // how long it is; stays 0 if it has another form
      std::sscanf(line.c_str(), "[TID:%*d][%*4d/%*2d/%*2d %*2d:%*2d:%*2d]%n", &head);
      messages.push_back(head != 0 ? line.substr(static_cast<std::size_t>(head))
                                   : "odd line " + line);
    }
    return messages;
  }

  NxLog& log = NxLog::GetInstance();
  testing::TemporaryDirectory directory;
};

}  // namespace velmora::testing
