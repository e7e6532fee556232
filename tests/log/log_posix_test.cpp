// The log against the system's own clock, thread ids and refusals.

#include <gtest/gtest.h>
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

TEST_F(PosixLog, GoesOnWhereTheDiskBecameFull) {
  Configure(LM_Text, 1);
  log.SetOutputMode(OM_Cache);
  Lines want;
  for (int i = 0; i < 40; ++i) {
    want.push_back("line " + std::to_string(i));
    log.WriteTextLog(1, "line %d", i);
  }
  // A file that may not grow beyond so many bytes refuses in the middle of a line.
  const auto oldHandler = std::signal(SIGXFSZ, SIG_IGN);
  rlimit limit{};
  getrlimit(RLIMIT_FSIZE, &limit);
  const rlim_t unlimited = limit.rlim_cur;
  for (const rlim_t size : {rlim_t{100}, rlim_t{100}, rlim_t{777}}) {
    limit.rlim_cur = size;
    setrlimit(RLIMIT_FSIZE, &limit);
    EXPECT_FALSE(log.OutputCacheLog());
    EXPECT_EQ(ReadFile(LogFile()).size(), size);
  }
  limit.rlim_cur = unlimited;
  setrlimit(RLIMIT_FSIZE, &limit);
  std::signal(SIGXFSZ, oldHandler);
  EXPECT_TRUE(log.OutputCacheLog());
  EXPECT_EQ(Messages(), want);
}

}  // namespace
}  // namespace velmora
