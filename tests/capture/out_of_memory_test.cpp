// Memory that runs out while the engine decides what comes next. The allocator of this program is
// replaced, which the thread sanitizer does not allow.
#include "tests/capture/test_work.h"

namespace {

// Of this thread: so many allocations go well, then so many fail.
thread_local int allocationsLeft = 0;
thread_local int failuresLeft = 0;

void* Allocate(std::size_t size) {
  if (failuresLeft > 0 && allocationsLeft-- <= 0) {
    --failuresLeft;
    return nullptr;
  }
  return std::malloc(size == 0 ? 1 : size);
}

}  // namespace

void* operator new(std::size_t size) {
  void* block = Allocate(size);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return Allocate(size);
}
// Kept out of line: the compiler takes `free` after `new` for a mistake.
__attribute__((noinline)) void operator delete(void* block) noexcept {
  std::free(block);
}
__attribute__((noinline)) void operator delete(void* block, std::size_t) noexcept {
  std::free(block);
}

namespace velmora::capture {
namespace {

// Wherever memory runs out between the pieces and their start, the image ends and says so.
TEST(OutOfMemory, EndsTheImageWhereverItIs) {
  for (const int failures : {1, 3, 1000}) {
    int failed = 0;
    for (int left = 0; left < 40; ++left) {
      SCOPED_TRACE(left);
      const NxRef<TestWork> work = new TestWork("AAB");
      work->afterAppend = [=] {
        allocationsLeft = left;
        failuresLeft = failures;
      };
      work->dealResults = [] { failuresLeft = 0; };
      CaptureOptions options;
      options.threads = 1;
      TestEngine engine(work, options);
      NxRef<CaptureResult> result;
      try {
        result = engine.Read();
      } catch (const std::bad_alloc&) {  // not even a result
      }
      failuresLeft = 0;
      const bool isWhole = result && result->GetRegions().size() == 2;
      EXPECT_TRUE(!result || isWhole || result->GetErrorCode() == EC_NoMemory);
      failed += isWhole ? 0 : 1;
      work->afterAppend = [] {};
      EXPECT_EQ(engine.Read()->GetRegions().size(), 2u) << "the next image";
      EXPECT_EQ(engine->GetStatistics().queued, 0);
    }
    EXPECT_GT(failed, 3);
  }
}

}  // namespace
}  // namespace velmora::capture
