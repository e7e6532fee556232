// The system's own clock and thread ids, and the public headers beside the system's.

#include <windows.h>

#include "tests/log/log_fixture.h"

namespace velmora {

std::string testing::LineHead() {
  SYSTEMTIME now;
  GetLocalTime(&now);
  char head[64];
  wsprintfA(head, "[TID:%6d][%04d/%02d/%02d %02d:%02d:%02d]", GetCurrentThreadId(), now.wYear,
            now.wMonth, now.wDay, now.wHour, now.wMinute, now.wSecond);
  return head;
}

namespace {

// DeleteCriticalSection frees the debug block, which knows whose it is.
TEST(WindowsLocks, KeepTheirOwnDebugBlockWhenAssigned) {
  SyncObject locks[2];
  locks[0] = locks[1];
  for (const SyncObject& lock : locks) {
    const auto& section = reinterpret_cast<const CRITICAL_SECTION&>(lock);
    EXPECT_EQ(section.DebugInfo->CriticalSection, &section);
  }
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
