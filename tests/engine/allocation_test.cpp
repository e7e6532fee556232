// What happens when memory or mutexes run out, and in the middle of an operation that allocates.
// The allocation of this program can be told to do something in place of giving memory.
#include <dlfcn.h>
#include <json/value.h>
#include <pthread.h>

#include <cerrno>
#include <system_error>

#include "examples/module_author/spot_item.h"
#include "tests/engine/engine_objects.h"

namespace {
void Fail() {
  throw std::bad_alloc();
}

int allocationsLeft = INT_MAX;
int locksLeft = INT_MAX;
void (*whenNoneAreLeft)() = Fail;
}  // namespace

// Not inlined: g++ would take free() for a mismatch with new.
[[gnu::noinline]] void* operator new(std::size_t size) {
  if (allocationsLeft-- <= 0) whenNoneAreLeft();
  return std::malloc(size);
}
[[gnu::noinline]] void operator delete(void* memory) noexcept {
  std::free(memory);
}
[[gnu::noinline]] void operator delete(void* memory, std::size_t /*size*/) noexcept {
  std::free(memory);
}

// Stands before the system's.
extern "C" int pthread_mutex_lock(pthread_mutex_t* mutex) noexcept {
  static const auto lock =
      reinterpret_cast<int (*)(pthread_mutex_t*)>(dlsym(RTLD_NEXT, "pthread_mutex_lock"));
  return locksLeft-- <= 0 ? EAGAIN : lock(mutex);
}

namespace velmora {
namespace {

template <typename Action>
bool RunsOutOfMemory(int allocations, Action action) {
  allocationsLeft = allocations;
  bool ranOut = false;
  try {
    action();
  } catch (const std::bad_alloc&) {
    ranOut = true;
  }
  allocationsLeft = INT_MAX;
  return ranOut;
}

TEST(Allocation, LeavesResultsAsTheyWereWhenItFails) {
  basic_structures::ResultImpBase child(nullptr, nullptr), parent(nullptr, nullptr);
  child.SetCaptureResultPointer(&parent);
  const NxRef<spots::SpotItem> item = new spots::SpotItem({});
  for (const int allocations : {0, 1}) {  // none for the child, one for it and none for the parent
    const auto add = [&] { child.AddResultItemExternal(item.get()); };
    EXPECT_TRUE(RunsOutOfMemory(allocations, add));
    EXPECT_TRUE(child.GetResultItems().empty() && parent.GetResultItems().empty());
  }
  child.AddResultItemExternal(item.get());
  EXPECT_FALSE(RunsOutOfMemory(0, [&] { child.RemoveResultItem(item.get()); }));
  EXPECT_EQ(item->GetReferenceCount(), 1);
  locksLeft = 1;  // for the child and not for the parent
  EXPECT_THROW(child.RemoveResultItem(item.get()), std::system_error);
  locksLeft = INT_MAX;
  EXPECT_FALSE(child.HasResultItem(item.get())) << "and the lock is not left behind";
  EXPECT_TRUE(RunsOutOfMemory(0, [&] { child.SetErrorCode(-10026); }));
  EXPECT_EQ(child.GetErrorCode(), 0);
}

// The first allocation is the empty result, the second the room for it beside another one, when the
// status was looked at for the last time.
TEST(Allocation, EmptyResultIsTakenBackIfTheOutputIsFinishedMeanwhile) {
  static NxOutputBase output(nullptr, testing::MakeRegion("page"), "read", TT_ATOMIC_0);
  output.AddResult(new NxTaskOutputAtomResult);
  whenNoneAreLeft = [] { output.SetResultStatus(TOS_FINISHED); };
  allocationsLeft = 1;
  EXPECT_FALSE(output.EndWork());
  whenNoneAreLeft = Fail;
  allocationsLeft = INT_MAX;
  EXPECT_EQ(output.GetResultStatus(), TOS_FINISHED);
  EXPECT_EQ(output.GetResultCount(), 1);
}

TEST(Allocation, IsNeededForTheItemsAndTheEmptyResultOfAPieceOfWork) {
  NxDataManagerPool managers;
  testing::FunctionWork work([](ExecutableWorkItem* item, NxSemaphore*) {
    item->SetWorkFinished();
    return EC_Ok;
  });
  work.SetManagerPool(&managers);
  const NxRef<NxWorkOutputTable> table = new NxWorkOutputTable;
  table->SetAllWorkModesCount(1);
  const NxRef<NxRegionObject> region = testing::MakeRegion("page", testing::MakeSource());
  table->AppendNextWorkOutput(0, 0, testing::MakeWorkOutput(region, "fast", &work));
  NxSemaphore semaphore(0);
  allocationsLeft = 3;
  {
    const NxRef<ResolvableWorkItem> item = new ResolvableWorkItem(table, &semaphore, 0);
    item->Process(nullptr);
    item->FinishWork();
  }
  EXPECT_EQ(std::exchange(allocationsLeft, INT_MAX), 0);
  EXPECT_EQ(semaphore.GetValue(), 1);
}

TEST(Allocation, LeavesTheOrderOfATableWhenASecondModeFindsNoMemory) {
  const NxRef<NxRegionObject> region = testing::MakeRegion("page");
  NxWorkOutputTable table;
  table.SetAllWorkModesCount(1);
  const auto append = [&](const char* mode) {
    table.AppendNextWorkOutput(0, 0, testing::MakeWorkOutput(region, mode));
  };
  for (int i = 0; i < 2; ++i) append("fast");
  int allocations = 0;
  while (RunsOutOfMemory(allocations, [&] { append("deep"); })) ++allocations;
  EXPECT_GT(allocations, 4) << "the work, its mode, the chains of the modes";
  std::string order;
  for (const char* asked : {"deep", "", "fast", ""}) {
    const NxRef<NxWorkOutput> work = table.GetNextTopPriorityWorkOutput(asked);
    order += work ? work->GetWorkMode() + " " : "none";
  }
  EXPECT_EQ(order, "deep fast fast none");
}

// With as many records waiting as may, one more writes the oldest, which takes memory too.
TEST(Allocation, FilesNoJsonRecordThatItThrowsFor) {
  const testing::ScopedLog file(LM_Text, 1);
  NxLog& log = NxLog::GetInstance();
  for (int i = 0; i < 4'096; ++i) log.AddJsonRecord(Json::objectValue);
  int allocations = 0;
  while (RunsOutOfMemory(allocations, [&] { log.AddJsonRecord(allocations); })) ++allocations;
  EXPECT_TRUE(log.OutputJsonLog());
  const std::string last = "}\n" + std::to_string(allocations) + "\n", text = file.Text();
  EXPECT_EQ(text.substr(text.size() - std::min(text.size(), last.size())), last);
}

struct EmptySource : basic_structures::CImageSourceAdapter {
  bool HasMoreImages() const override { return false; }
};

TEST(Allocation, IsNotNeededToClearASourceNorTakenByAnImageThatCannotBeWrapped) {
  auto source = std::make_unique<EmptySource>();
  EXPECT_FALSE(RunsOutOfMemory(0, [&] { source->ClearBuffer(), source.reset(); }));
  using basic_structures::CImageDataWrapper;
  const auto image = std::make_unique<basic_structures::CImageData>();  // stays with the caller
  alignas(CImageDataWrapper) unsigned char place[sizeof(CImageDataWrapper)];
  EXPECT_TRUE(RunsOutOfMemory(0, [&] { new (place) CImageDataWrapper(image.get()); }));
}

}  // namespace
}  // namespace velmora
