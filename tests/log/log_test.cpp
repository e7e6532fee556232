#include "velmora/log/log.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/barrier.h"
#include "tests/support/temporary_directory.h"

namespace velmora {
namespace {

using testing::ReadFile;

// Applies a configuration in a fresh directory and turns the one log of the process off again.
class Log : public ::testing::Test {
 protected:
  ~Log() override {
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
  std::vector<std::string> Messages() const {
    static const std::regex form(R"(\[TID: *\d+\]\[\d{4}/\d\d/\d\d \d\d:\d\d:\d\d\](.*))");
    std::vector<std::string> messages;
    std::istringstream text(ReadFile(LogFile()));
    for (std::string line; std::getline(text, line);) {
      std::smatch match;
      messages.push_back(std::regex_match(line, match, form) ? match.str(1) : "odd line " + line);
    }
    return messages;
  }

  NxLog& log = NxLog::GetInstance();
  testing::TemporaryDirectory directory;
};

using Lines = std::vector<std::string>;

TEST_F(Log, AsksLevelAndMode) {
  struct Row {
    int configuredLevel;
    LogMode configuredMode;
    int level;
    LogMode mode;
    bool want;
  };
  const LogMode both = LM_Image | LM_Text;
  for (const Row& row : {Row{0, LM_None, 0, LM_Text, false}, Row{0, LM_Text, 0, LM_Text, true},
                         Row{0, LM_Text, 1, LM_Text, false}, Row{9, LM_Text, 9, LM_Text, true},
                         Row{8, LM_Text, 9, LM_Text, false}, Row{9, LM_Image, 9, LM_Text, false},
                         Row{9, LM_Image, 9, both, true}, Row{9, both, 1, LM_Image, true}}) {
    SCOPED_TRACE(::testing::Message() << row.configuredLevel << ' ' << row.configuredMode << ' '
                                      << row.level << ' ' << row.mode);
    Configure(row.configuredMode, row.configuredLevel);
    EXPECT_EQ(log.AllowLogging(row.level, row.mode), row.want);
    EXPECT_EQ(AllowLogging(row.level, row.mode), row.want);
  }
}

TEST_F(Log, WritesEachLineAtOnce) {
  Configure(LM_Text, 2);
  log.WriteTextLog(2, "page %d of %s", 3, "Ma\xC3\x9F %s.pdf");
  log.WriteTextLog(3, "too detailed");
  log.WriteFuncStartLog(1, "Convert(%u)", 7u);
  log.WriteFuncEndLog(1, "Convert(%u)", 12, 7u);
  EXPECT_EQ(Messages(), (Lines{"page 3 of Ma\xC3\x9F %s.pdf", "FuncStart Convert(7)",
                               "FuncEnd Convert(7), duration 12"}));
}

TEST_F(Log, EvaluatesNoArgumentWhileOff) {
  int evaluated = 0;
  Configure(LM_Text, 8);
  VELMORA_LOG_TEXT(9, "%d", ++evaluated);
  EXPECT_EQ(evaluated, 0);
  VELMORA_LOG_TEXT(8, "%d", ++evaluated);
  EXPECT_EQ(Messages(), Lines{"1"});
}

TEST_F(Log, ThreadsDoNotInterleave) {
  constexpr int kThreads = 4, kLines = 100;
  const std::string tail(300, 'x');
  for (const OutputMode mode : {OM_File, OM_Cache}) {
    Configure(LM_Text, 1);
    log.SetOutputMode(mode);
    testing::RunTogether(kThreads, [&](int thread) {
      for (int i = 0; i < kLines; ++i) log.WriteTextLog(1, "%d %d %s", thread, i, tail.c_str());
    });
    EXPECT_TRUE(log.OutputCacheLog());
    std::vector<int> next(kThreads, 0);  // lines of one thread keep their order
    for (const std::string& message : Messages()) {
      int thread = 0, i = 0;
      char rest[400] = "";
      ASSERT_EQ(std::sscanf(message.c_str(), "%d %d %399s", &thread, &i, rest), 3) << message;
      EXPECT_EQ(i, next.at(static_cast<std::size_t>(thread))++);
      EXPECT_EQ(rest, tail);
    }
    EXPECT_EQ(next, std::vector<int>(kThreads, kLines));
    std::filesystem::remove(LogFile());
  }
}

}  // namespace
}  // namespace velmora
