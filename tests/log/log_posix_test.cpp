// The log against the system's own clock, thread ids and refusals.

#include <gtest/gtest.h>
#include <json/value.h>
#include <sys/resource.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <string>
#include <thread>

#include "tests/log/log_fixture.h"

namespace velmora {
namespace {

using testing::ReadFile;
using PosixLog = testing::LogFixture;
using Lines = std::vector<std::string>;

std::string Head(std::time_t time) {
  char head[64];
  const int length = std::snprintf(head, sizeof head, "[TID:%6d]", static_cast<int>(gettid()));
  std::strftime(head + length, 32, "[%Y/%m/%d %H:%M:%S]", std::localtime(&time));
  return head;
}

TEST_F(PosixLog, StampsLinesWithThreadAndLocalTime) {
  setenv("TZ", "Asia/Kathmandu", 1);  // UTC+5:45
  tzset();
  Configure(LM_Text, 1);
  std::string before, after;
  std::thread([&] {
    before = Head(std::time(nullptr));
    log.WriteTextLog(1, "x");
    after = Head(std::time(nullptr));
  }).join();
  const std::string line = ReadFile(LogFile());
  EXPECT_TRUE(line == before + "x\n" || line == after + "x\n") << line << before;
  unsetenv("TZ");
  tzset();
}

TEST_F(PosixLog, CountsLinesThatAFullDiskRefuses) {
  Configure(LM_Text, 1);
  std::filesystem::create_symlink("/dev/full", LogFile());
  const std::uint64_t lost = log.GetLostLineCount();
  log.WriteTextLog(1, "lost");
  EXPECT_EQ(log.GetLostLineCount(), lost + 1);
  log.SetOutputMode(OM_Cache);
  log.WriteTextLog(1, "kept");
  EXPECT_FALSE(log.OutputCacheLog());
  std::filesystem::remove(LogFile());
  EXPECT_TRUE(log.OutputCacheLog());
  EXPECT_EQ(Messages(), Lines{"kept"});
}

// What the process writes into any file may not make it longer, as if the disk were full.
class FileSizeLimit {
 public:
  FileSizeLimit() : oldHandler_(std::signal(SIGXFSZ, SIG_IGN)) {
    getrlimit(RLIMIT_FSIZE, &limit_);
    unlimited_ = limit_.rlim_cur;
  }
  ~FileSizeLimit() {
    Set(unlimited_);
    std::signal(SIGXFSZ, oldHandler_);
  }
  void Set(rlim_t size) {
    limit_.rlim_cur = size;
    setrlimit(RLIMIT_FSIZE, &limit_);
  }

 private:
  void (*const oldHandler_)(int);
  rlimit limit_{};
  rlim_t unlimited_;
};

TEST_F(PosixLog, ATornLineSpoilsNoOther) {
  Configure(LM_Text, 1);
  const std::uint64_t lost = log.GetLostLineCount();
  log.AddJsonRecord(Json::Value("record"));
  {
    FileSizeLimit limit;
    limit.Set(7);
    log.WriteTextLog(1, "torn");
    log.WriteTextLog(1, "refused");
    limit.Set(12);
    EXPECT_FALSE(log.OutputJsonLog());
  }
  EXPECT_EQ(log.GetLostLineCount(), lost + 2);
  log.WriteTextLog(1, "whole");
  EXPECT_TRUE(log.OutputJsonLog());
  const Lines lines = Messages();
  ASSERT_EQ(lines.size(), 4U);
  EXPECT_EQ(lines[0].substr(0, 13), "odd line [TID");
  EXPECT_EQ(lines[1], "odd line \"rec");
  EXPECT_EQ(lines[2], "whole");
  EXPECT_EQ(lines[3], "odd line \"record\"");
}

TEST_F(PosixLog, GoesOnWhereTheDiskBecameFull) {
  Configure(LM_Text, 1);
  log.SetOutputMode(OM_Cache);
  Lines want;
  for (int i = 0; i < 40; ++i) {
    want.push_back("line " + std::to_string(i));
    log.WriteTextLog(1, "line %d", i);
  }
  {
    FileSizeLimit limit;
    for (const rlim_t size : {rlim_t{100}, rlim_t{100}, rlim_t{777}}) {  // in the middle of a line
      limit.Set(size);
      EXPECT_FALSE(log.OutputCacheLog());
      EXPECT_EQ(ReadFile(LogFile()).size(), size);
    }
  }
  EXPECT_TRUE(log.OutputCacheLog());
  EXPECT_EQ(Messages(), want);
}

}  // namespace
}  // namespace velmora
