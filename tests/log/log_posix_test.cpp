// The system's own clock and thread ids, and its refusals.

#include <json/value.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <cerrno>
#include <csignal>
#include <ctime>

#include "tests/log/log_fixture.h"

namespace velmora {

std::string testing::LineHead() {
  setenv("TZ", "Asia/Kathmandu", 1);  // UTC+5:45, on machines too that stand in UTC
  tzset();
  const std::time_t now = std::time(nullptr);
  char head[64];
  const int length = std::snprintf(head, sizeof head, "[TID:%6d]", static_cast<int>(gettid()));
  std::strftime(head + length, 32, "[%Y/%m/%d %H:%M:%S]", std::localtime(&now));
  return head;
}

namespace {

using testing::Lines;
using testing::ReadFile;
using PosixLog = testing::LogFixture;

// What the process writes into any file may not make it longer, as if the disk were full.
template <typename Action>
void WithFileSizeLimit(rlim_t size, Action action) {
  const auto oldHandler = std::signal(SIGXFSZ, SIG_IGN);
  rlimit limit{};
  getrlimit(RLIMIT_FSIZE, &limit);
  const rlim_t unlimited = std::exchange(limit.rlim_cur, size);
  setrlimit(RLIMIT_FSIZE, &limit);
  action();
  limit.rlim_cur = unlimited;
  setrlimit(RLIMIT_FSIZE, &limit);
  std::signal(SIGXFSZ, oldHandler);
}

TEST_F(PosixLog, ATornLineSpoilsNoOther) {
  const std::uint64_t lost = log.GetLostLineCount();
  log.AddJsonRecord(Json::Value("record"));
  WithFileSizeLimit(0, [&] { log.WriteTextLog(1, "refused, and nothing is torn"); });
  WithFileSizeLimit(7, [&] {
    log.WriteTextLog(1, "torn");
    log.WriteTextLog(1, "refused");
  });
  WithFileSizeLimit(12, [&] { EXPECT_FALSE(log.OutputJsonLog()); });
  EXPECT_EQ(log.GetLostLineCount(), lost + 3);
  log.WriteTextLog(1, "whole");
  EXPECT_TRUE(log.OutputJsonLog());
  Lines lines = Messages();
  lines.at(0).resize(13);  // before the thread's number
  EXPECT_EQ(lines, (Lines{"odd line [TID", "odd line \"rec", "whole", "odd line \"record\""}));
}

TEST_F(PosixLog, GoesOnWhereTheDiskBecameFull) {
  log.SetOutputMode(OM_Cache);
  Lines want;
  for (int i = 0; i < 40; ++i) {
    want.push_back("line " + std::to_string(i));
    log.WriteTextLog(1, "line %d", i);
  }
  for (const rlim_t size : {rlim_t{100}, rlim_t{100}, rlim_t{777}}) {  // in the middle of a line
    WithFileSizeLimit(size, [&] { EXPECT_FALSE(log.OutputCacheLog()); });
    EXPECT_EQ(ReadFile(LogFile()).size(), size);
  }
  EXPECT_TRUE(log.OutputCacheLog());
  EXPECT_EQ(Messages(), want);
}

TEST_F(PosixLog, WritesACachedLineAgainIfAnotherCameBetween) {
  log.SetOutputMode(OM_Cache);
  log.WriteTextLog(1, "cached\nin two rows");
  log.WriteTextLog(1, "later");
  WithFileSizeLimit(testing::LineHead().size() + 9, [&] { EXPECT_FALSE(log.OutputCacheLog()); });
  log.SetOutputMode(OM_File);
  log.WriteTextLog(1, "between");
  EXPECT_TRUE(log.OutputCacheLog());
  EXPECT_EQ(Messages(),
            (Lines{"cached", "odd line in", "between", "cached", "odd line in two rows", "later"}));
}

TEST_F(PosixLog, AChildProcessWritesItsOwnThread) {
  log.WriteTextLog(1, "parent");
  const pid_t child = fork();
  if (child == 0) {
    log.WriteTextLog(1, "child");
    _exit(0);
  }
  waitpid(child, nullptr, 0);
  char head[32];
  std::snprintf(head, sizeof head, "\n[TID:%6d][", static_cast<int>(child));
  EXPECT_NE(ReadFile(LogFile()).find(head), std::string::npos);
}

// In a process of its own, because the time zone is looked for once.
TEST_F(PosixLog, WritesTheErrorOfTheCallerWithoutATimeZone) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const auto writeFirstLine = [&] {
    setenv("TZ", ":/none", 1);
    const std::string format = "%m %d";  // no literal: compilers refuse what is not standard
    errno = EDOM;
    log.WriteTextLog(1, format.c_str(), 1);
    const bool isRight = Messages() == Lines{std::strerror(EDOM) + std::string(" 1")};
    std::filesystem::remove_all(log.GetSavePath());
    _exit(isRight ? 0 : 1);
  };
  EXPECT_EXIT(writeFirstLine(), ::testing::ExitedWithCode(0), "");
}

TEST_F(PosixLog, ANewFileNeverBeginsWithTheRestOfATornLine) {
  for (const OutputMode mode : {OM_File, OM_Cache}) {
    Configure(LM_Text, 1);
    log.SetOutputMode(mode);
    WithFileSizeLimit(ReadFile(LogFile()).size() + 4, [&] {
      log.WriteTextLog(1, "torn");
      EXPECT_EQ(log.OutputCacheLog(), mode == OM_File);
    });
    log.InitLogFromSetting(LM_Text, 1, (directory / std::to_string(mode)).c_str());
    log.WriteTextLog(1, "moved");
    EXPECT_TRUE(log.OutputCacheLog());
    EXPECT_EQ(ReadFile(log.GetSavePath() + "VelmoraScanlyx.log").substr(0, 5), "[TID:");
  }
}

}  // namespace
}  // namespace velmora
