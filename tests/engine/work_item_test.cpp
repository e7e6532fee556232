#include "tests/engine/engine_objects.h"

namespace velmora {
namespace {

using testing::FunctionWork;
using testing::MakeRegion;
using testing::MakeSource;
using testing::MakeWorkOutput;

// An image and the task, work and table that its work items need.
struct Fixture {
  explicit Fixture(FunctionWork::Function function) : work(std::move(function)) {
    work.SetManagerPool(&managers);
    work.SetTargetDefName("page");
    work.SetTaskName("read");
  }

  void Charge(int ms) {
    managers.GetActiveWorkUnitManager()->AddTimeCheckCountForActiveWorkUnit(ms);
  }
  void Append(const std::string& workMode) {
    task->GetWorkTable()->AppendNextWorkOutput(
        0, 0, MakeWorkOutput(MakeRegion("page", source), workMode, &work));
  }

  NxDataManagerPool managers;
  NxSemaphore semaphore{0};
  NxRef<NxSourceImageObject> source = MakeSource();
  FunctionWork work;
  NxRef<NxTaskOutput> task = new NxTaskOutput(MakeRegion("page", source), MakeRegion("page"),
                                              "read", TT_ATOMIC_0, false, 1);
};

// Work that ends at once.
int End(ExecutableWorkItem* item, NxSemaphore* /*semaphore*/) {
  item->SetWorkFinished();
  return EC_Timeout;
}

TEST(ExecutableWorkItem, RunsWorkWhileItIsRegisteredAndRecordsItsError) {
  constexpr auto kCode = static_cast<ErrorCode>(7);  // whatever is not 0 is an error
  for (const bool throws : {false, true}) {
    Fixture f([&](ExecutableWorkItem* /*item*/, NxSemaphore* semaphore) {
      EXPECT_EQ(semaphore, &f.semaphore);
      f.Charge(5);
      if (throws) throw std::runtime_error("");
      return kCode;
    });
    ExecutableWorkItem item(f.task.get(), &f.work, &f.semaphore, 3);
    if (throws) {
      EXPECT_THROW(item.Process(nullptr), std::runtime_error);
    } else {
      item.Process(nullptr);
    }
    f.Charge(7);
    EXPECT_EQ(f.source->GetElapsedTime(), 5) << "charged during the work only";
    ASSERT_EQ(f.source->GetErrorRecords().size(), throws ? 0U : 1U);
    if (throws) continue;
    const std::array<std::string, 4> texts = {"page", "read", "", ""};
    EXPECT_EQ(f.source->GetErrorRecords()[0].texts, texts);
    EXPECT_EQ(f.source->GetErrorCode(), kCode);
  }
}

TEST(ExecutableWorkItem, FinishesOnceAndOnlyWhenItsWorkHas) {
  for (const TaskOutputStatus before : {TOS_NO_RESULT, TOS_FINISHED}) {
    const int ends = before == TOS_NO_RESULT ? 1 : 0;
    NxSemaphore semaphore(0);
    NxOutputBase output(nullptr, MakeRegion("page"), "read", TT_ATOMIC_0);
    output.SetResultStatus(before);
    ExecutableWorkItem item(&output, nullptr, &semaphore, 0);
    item.FinishWork();
    EXPECT_EQ(output.GetResultStatus(), before);
    std::thread([&item] { item.SetWorkFinished(); }).join();
    for (int i = 0; i < 2; ++i) item.FinishWork();
    EXPECT_EQ(output.GetResultStatus(), ends == 1 ? TOS_WORK_ENDED : TOS_FINISHED);
    EXPECT_EQ(output.GetResultCount(), ends);
    EXPECT_EQ(semaphore.GetValue(), ends);
  }
}

TEST(ResolvableWorkItem, TakesOneWorkOutputAProcess) {
  std::string order;
  Fixture f([&order](ExecutableWorkItem* item, NxSemaphore*) {
    order += static_cast<NxWorkOutput*>(item->GetOutput())->GetWorkMode();
    EXPECT_EQ(item->GetPriority(), 9U);
    item->SetWorkFinished();
    return EC_Ok;
  });
  for (const char* mode : {"a", "b", "c", "d"}) f.Append(mode);
  ResolvableWorkItem item(f.task->GetWorkTable(), &f.semaphore, 9);
  item.FinishWork();
  NxRef<ExecutableWorkItem> first;
  for (const bool sequential : {false, true, false, true, false}) {
    item.SetSequential(sequential);
    item.Process(nullptr);
    if (!first) first = item.GetCurrentItem();
    item.FinishWork();
  }
  EXPECT_EQ(order, "abdc");
  EXPECT_NE(item.GetCurrentItem(), nullptr);
  EXPECT_EQ(f.semaphore.GetValue(), 4) << "the fifth found nothing; its current item had signalled";
  // Whoever holds an item holds its output, the item of an earlier Process too.
  EXPECT_EQ(first->GetOutput()->GetReferenceCount(), 1);
}

TEST(ResolvableWorkItem, EndsAPieceThatHasNoWorkObject) {
  Fixture f(nullptr);
  f.task->GetWorkTable()->AppendNextWorkOutput(0, 0, MakeWorkOutput(MakeRegion("page"), ""));
  ResolvableWorkItem item(f.task->GetWorkTable(), &f.semaphore, 0);
  item.Process(nullptr);
  item.FinishWork();
  EXPECT_EQ(f.semaphore.GetValue(), 1);
}

// All that hands out work may go while the work is in flight; its item keeps what it needs.
TEST(ResolvableWorkItem, GoesOnWhenQueueTableAndTaskOutputAreDropped) {
  TaskUnitQueue queue;
  Fixture f([&](ExecutableWorkItem* item, NxSemaphore* semaphore) {
    queue = {};
    f.task.reset();
    f.Charge(5);
    return End(item, semaphore);
  });
  f.Append("fast");
  for (int i = 0; i < 2; ++i) {
    queue.push(new ResolvableWorkItem(f.task->GetWorkTable(), &f.semaphore, 0));
  }
  const NxRef<RtrThreadWorkItemBase> item = queue.front();
  queue.pop();
  item->Process(nullptr);
  item->FinishWork();
  EXPECT_EQ(f.semaphore.GetValue(), 1);
  EXPECT_EQ(f.source->GetElapsedTime(), 5);
  EXPECT_EQ(f.source->GetErrorCode(), EC_Timeout);
}

TEST(TaskUnitQueue, IsFirstInFirstOutAndSharesItsItems) {
  TaskUnitQueue queue;
  for (const std::uint64_t priority : {1U, 2U, 3U}) {
    queue.push(new ExecutableWorkItem(nullptr, nullptr, nullptr, priority));
  }
  const TaskUnitQueue copy(queue);
  TaskUnitQueue moved;
  moved = std::move(queue);
  EXPECT_TRUE(queue.empty());  // NOLINT(bugprone-use-after-move)
  EXPECT_EQ(moved.back(), copy.back());
  for (std::uint64_t priority = 1; !moved.empty(); ++priority, moved.pop()) {
    EXPECT_EQ(moved.front()->GetPriority(), priority);
  }
  EXPECT_EQ(copy.size(), 3);
  moved.push(new testing::Asking<ExecutableWorkItem>([&] { EXPECT_TRUE(moved.empty()); }, nullptr,
                                                     nullptr, nullptr, 0U));
  moved.pop();
}

// Here the work has no pool, no semaphore and first no image either.
TEST(WorkItem, TracesItsWayAtLevelNine) {
  Fixture f(End);
  f.work.SetManagerPool(nullptr);
  const NxRef<NxImageData> image = new NxImageData;
  image->SetHashID("scan");
  const std::string info =
      "{ExecutableWork}[SourceId:scan][TargetROI:page][Task:task][Priority:12]\n";
  const std::string way =
      "WorkPriorityInfo AppendWork: \nWorkPriorityInfo TakeWork: \n"
      "TaskPriorityInfo TaskStart: \nWorkPriorityInfo WorkStart: " +
      info + "WorkPriorityInfo WorkEnd: " + info + "TaskPriorityInfo TaskEnd: \n";
  for (const int level : {8, 9}) {
    f.source = level == 9 ? new NxSourceImageObject(image.get(), 1, 10) : nullptr;
    const testing::ScopedLog log(LM_Text, level);
    f.Append("");
    ResolvableWorkItem item(f.task->GetWorkTable(), nullptr, 12);
    item.LogPush();
    item.LogPop();
    item.Process(nullptr);
    item.FinishWork();
    EXPECT_EQ(item.GetCurrentItem()->GetDescription().empty(), level < 9);
    EXPECT_EQ(log.Messages(), level < 9 ? "" : way);
  }
}

TEST(WorkObject, StartsTheWorkModesOfARegion) {
  FunctionWork work;
  work.SetWorkModes({"fast", "deep"});
  const NxRef<NxRegionObject> region = MakeRegion("page");
  const NxRef<WorkModesStateObject> state = work.CheckAndInitWorkModes(region.get(), nullptr);
  const WorkModesStateObject::StateList fresh = {{"fast", WMS_NotStarted},
                                                 {"deep", WMS_NotStarted}};
  EXPECT_EQ(state->GetStates(), fresh);
  EXPECT_EQ(state->GetNumber(), 0);
  EXPECT_NE(work.CheckAndInitWorkModes(region.get(), nullptr), state.get());
}

}  // namespace
}  // namespace velmora
