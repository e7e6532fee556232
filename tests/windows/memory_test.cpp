// What the process holds, as the system counts it, after many objects with locks.
#include <windows.h>
// After the header above.
#include <psapi.h>

#include "tests/support/test.h"

namespace velmora {
namespace {

using namespace basic_structures;

std::size_t HeldBytes() {
  PROCESS_MEMORY_COUNTERS counters{};
  EXPECT_TRUE(GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters));
  return counters.PagefileUsage;
}

TEST(Memory, IsFreedWithTheLocksOfObjects) {
  const std::pair<const char*, void (*)()> rows[] = {
      {"region", [] { NxRef<NxRegionObject>(new NxRegionObject)->GetRegionHashId(); }},
      {"image",
       [] {
         NxRef<NxImageData>(new NxImageData(4, reinterpret_cast<const unsigned char*>("abcd"), 2, 2,
                                            2, PXF_Grayscale8, 0, nullptr))
             ->GetHashID();
       }},
      {"semaphore", [] { NxSemaphore(1).Consume(); }},
      {"sync object",
       [] {
         const SyncObject object;
         const SyncLock lock(object);
       }},
      {"table", [] { NxRef<NxWorkOutputTable>(new NxWorkOutputTable)->HasNextWorkOutput(); }},
      {"managers", [] { NxDataManagerPool().GetBufferedItemManager()->ClearBuffer(); }},
  };
  for (const auto& [name, use] : rows) {
    for (int i = 0; i < 1000; ++i) use();
    const std::size_t before = HeldBytes();
    for (int i = 0; i < 30000; ++i) use();
    EXPECT_LT(HeldBytes(), before + 256 * 1024) << name;
  }
}

}  // namespace
}  // namespace velmora
