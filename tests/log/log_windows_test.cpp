// The log against the system's own clock and thread ids, and the public headers beside the
// system's.

#include <gtest/gtest.h>
#include <windows.h>

#include <string>
#include <thread>

#include "tests/log/log_fixture.h"
#include "velmora/velmora.h"

namespace velmora {
namespace {

using WindowsLog = testing::LogFixture;

std::string Head() {
  SYSTEMTIME now;
  GetLocalTime(&now);
  char head[64];
  wsprintfA(head, "[TID:%6d][%04d/%02d/%02d %02d:%02d:%02d]", GetCurrentThreadId(), now.wYear,
            now.wMonth, now.wDay, now.wHour, now.wMinute, now.wSecond);
  return head;
}

TEST_F(WindowsLog, StampsLinesWithThreadAndLocalTime) {
  Configure(LM_Text, 1);
  std::string before, after;
  std::thread([&] {
    before = Head();
    log.WriteTextLog(1, "x");
    after = Head();
  }).join();
  const std::string line = testing::ReadFile(LogFile());  // one newline byte, no carriage return
  EXPECT_TRUE(line == before + "x\n" || line == after + "x\n") << line << before;
}

TEST(WindowsModules, HandlesAreTheSystems) {
  HINSTANCE module = nullptr;
  void* const function = NxModuleLoaderBase::loadModuleFunc("kernel32.dll", "GetTickCount", module);
  EXPECT_EQ(module, GetModuleHandleA("kernel32.dll"));
  EXPECT_EQ(function, reinterpret_cast<void*>(GetProcAddress(module, "GetTickCount")));
  NxModuleLoaderBase::releaseModule(module);
}

}  // namespace
}  // namespace velmora
