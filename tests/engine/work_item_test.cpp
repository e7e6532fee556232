#include "velmora/engine/work_item.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "tests/engine/engine_objects.h"
#include "velmora/engine/data_manager_pool.h"
#include "velmora/engine/task_unit_queue.h"
#include "velmora/engine/work_output_table.h"
#include "velmora/foundation/semaphore.h"
#include "velmora/log/log.h"

namespace velmora {
namespace {

using testing::FunctionWork;
using testing::MakeRegion;
using testing::MakeWorkOutput;

NxRef<NxSourceImageObject> MakeSource(int timeoutMs = 1000) {
  return new NxSourceImageObject(nullptr, 1, timeoutMs);
}

TEST(ExecutableWorkItem, RunsWorkWhileItIsRegisteredAndRecordsItsError) {
  NxDataManagerPool pool;
  NxSemaphore semaphore(0);
  const NxRef<NxSourceImageObject> source = MakeSource();
  NxOutputBase output(MakeRegion("page", source), MakeRegion("page"), "read", TT_ATOMIC_0);
  ExecutableWorkItem* worked = nullptr;
  FunctionWork work([&](ExecutableWorkItem* item, NxSemaphore* given) {
    worked = item;
    EXPECT_EQ(given, &semaphore);
    pool.GetActiveWorkUnitManager()->AddTimeCheckCountForActiveWorkUnit(5);
    return EC_Timeout;
  });
  work.SetManagerPool(&pool);
  work.SetTargetDefName("page");
  work.SetTaskName("read");
  ExecutableWorkItem item(&output, &work, &semaphore, 3);
  item.Process(nullptr);
  pool.GetActiveWorkUnitManager()->AddTimeCheckCountForActiveWorkUnit(7);
  EXPECT_EQ(worked, &item);
  EXPECT_EQ(source->GetElapsedTime(), 5) << "charged during the work only";
  ASSERT_EQ(source->GetErrorRecords().size(), 1U);
  EXPECT_EQ(source->GetErrorRecords()[0].code, EC_Timeout);
  const std::array<std::string, 4> texts = {"page", "read", "", ""};
  EXPECT_EQ(source->GetErrorRecords()[0].texts, texts);
}

TEST(ExecutableWorkItem, IsUnregisteredWhenItsWorkThrows) {
  NxDataManagerPool pool;
  const NxRef<NxSourceImageObject> source = MakeSource();
  NxOutputBase output(MakeRegion("page", source), MakeRegion("page"), "read", TT_ATOMIC_0);
  FunctionWork work([](ExecutableWorkItem*, NxSemaphore*) -> int { throw std::runtime_error(""); });
  work.SetManagerPool(&pool);
  ExecutableWorkItem item(&output, &work, nullptr, 0);
  EXPECT_THROW(item.Process(nullptr), std::runtime_error);
  pool.GetActiveWorkUnitManager()->AddTimeCheckCountForActiveWorkUnit(7);
  EXPECT_EQ(source->GetElapsedTime(), 0);
}

TEST(ExecutableWorkItem, DoesWithoutPoolImageAndSemaphore) {
  NxOutputBase output(nullptr, MakeRegion("page"), "read", TT_ATOMIC_0);
  FunctionWork work([](ExecutableWorkItem* item, NxSemaphore*) {
    item->SetWorkFinished();
    return EC_Timeout;
  });
  ExecutableWorkItem item(&output, &work, nullptr, 0);
  item.Process(nullptr);
  item.FinishWork();
  EXPECT_EQ(output.GetResultStatus(), TOS_WORK_ENDED);
}

TEST(ExecutableWorkItem, FinishesOnceAndOnlyWhenItsWorkHas) {
  NxSemaphore semaphore(0);
  NxOutputBase output(nullptr, MakeRegion("page"), "read", TT_ATOMIC_0);
  ExecutableWorkItem item(&output, nullptr, &semaphore, 0);
  item.FinishWork();
  EXPECT_EQ(output.GetResultStatus(), TOS_NO_RESULT);
  std::thread([&item] { item.SetWorkFinished(); }).join();
  for (int i = 0; i < 2; ++i) item.FinishWork();
  EXPECT_EQ(output.GetResultStatus(), TOS_WORK_ENDED);
  EXPECT_EQ(output.GetResultCount(), 1);
  EXPECT_EQ(output.GetResult(0)->GetRegion(), nullptr);
  EXPECT_EQ(semaphore.GetValue(), 1);

  NxOutputBase finished(nullptr, MakeRegion("page"), "read", TT_ATOMIC_0);
  finished.SetResultStatus(TOS_FINISHED);
  ExecutableWorkItem late(&finished, nullptr, &semaphore, 0);
  late.SetWorkFinished();
  late.FinishWork();
  EXPECT_EQ(finished.GetResultStatus(), TOS_FINISHED);
  EXPECT_EQ(finished.GetResultCount(), 0);
  EXPECT_EQ(semaphore.GetValue(), 1);
}

TEST(ResolvableWorkItem, TakesOneWorkOutputAProcess) {
  NxSemaphore semaphore(0);
  std::string order;
  FunctionWork work([&order](ExecutableWorkItem* item, NxSemaphore*) {
    order += static_cast<NxWorkOutput*>(item->GetOutput())->GetWorkMode();
    EXPECT_EQ(item->GetPriority(), 9U);
    item->SetWorkFinished();
    return 0;
  });
  const NxRef<NxWorkOutputTable> table = new NxWorkOutputTable;
  table->SetAllWorkModesCount(1);
  const NxRef<NxRegionObject> region = MakeRegion("page");
  for (const char* mode : {"a", "b", "c", "d"}) {
    table->AppendNextWorkOutput(0, 0, MakeWorkOutput(region, mode, &work));
  }
  ResolvableWorkItem item(table, &semaphore, 9);
  item.FinishWork();
  EXPECT_EQ(semaphore.GetValue(), 0);
  NxRef<ExecutableWorkItem> first;
  for (const bool sequential : {false, false, true, false, false}) {
    item.SetSequential(sequential);
    item.Process(nullptr);
    EXPECT_EQ(table->IsSequential(), sequential);
    if (!first) first = item.GetCurrentItem();
    item.FinishWork();
  }
  EXPECT_EQ(order, "adbc");
  EXPECT_EQ(semaphore.GetValue(), 4) << "the fifth found nothing; its current item had signalled";
  // Whoever holds an item holds its output, the item of an earlier Process too.
  EXPECT_EQ(first->GetOutput()->GetResultCount(), 1);
}

// All that hands out work may go while the work is in flight; its item keeps what it needs.
TEST(ResolvableWorkItem, GoesOnWhenQueueTableAndTaskOutputAreDropped) {
  NxDataManagerPool pool;
  NxSemaphore semaphore(0);
  const NxRef<NxSourceImageObject> source = MakeSource();
  NxRef<NxTaskOutput> task = new NxTaskOutput(MakeRegion("page", source), MakeRegion("page"),
                                              "read", TT_ATOMIC_0, false, 1);
  TaskUnitQueue queue;
  FunctionWork work([&](ExecutableWorkItem* item, NxSemaphore*) {
    queue = {};
    task.reset();
    pool.GetActiveWorkUnitManager()->AddTimeCheckCountForActiveWorkUnit(5);
    item->SetWorkFinished();
    return EC_Timeout;
  });
  work.SetManagerPool(&pool);
  for (int i = 0; i < 3; ++i) {
    task->GetWorkTable()->AppendNextWorkOutput(
        0, 0, MakeWorkOutput(MakeRegion("page", source), "fast", &work));
    queue.push(new ResolvableWorkItem(task->GetWorkTable(), &semaphore, 0));
  }
  const NxRef<RtrThreadWorkItemBase> item = queue.front();
  queue.pop();
  item->Process(nullptr);
  item->FinishWork();
  EXPECT_EQ(semaphore.GetValue(), 1);
  EXPECT_EQ(source->GetElapsedTime(), 5);
  EXPECT_EQ(source->GetErrorCode(), EC_Timeout);
}

TEST(TaskUnitQueue, IsFirstInFirstOutAndSharesItsItems) {
  std::vector<NxRef<RtrThreadWorkItemBase>> items;
  TaskUnitQueue queue;
  for (std::uint64_t priority : {1U, 2U, 3U}) {
    items.emplace_back(new ExecutableWorkItem(nullptr, nullptr, nullptr, priority));
    queue.push(items.back());
  }
  TaskUnitQueue copy(queue);
  EXPECT_EQ(items[0]->GetReferenceCount(), 3);
  TaskUnitQueue moved;
  moved = std::move(queue);
  EXPECT_TRUE(queue.empty());  // NOLINT(bugprone-use-after-move)
  EXPECT_EQ(moved.back(), items[2]);
  for (const NxRef<RtrThreadWorkItemBase>& item : items) {
    EXPECT_EQ(moved.front(), item);
    moved.pop();
  }
  EXPECT_TRUE(moved.empty());
  EXPECT_EQ(copy.size(), 3);
  EXPECT_EQ(items[0]->GetReferenceCount(), 2);
}

// The lines of a log file behind their "[TID:...][time]".
std::string ReadMessages(const std::filesystem::path& file) {
  std::ifstream stream(file);
  std::string messages;
  for (std::string line; std::getline(stream, line);) {
    messages += line.substr(line.find(']', line.find(']') + 1) + 1) + "\n";
  }
  return messages;
}

TEST(WorkItem, TracesItsWayAtLevelNine) {
  const std::filesystem::path folder =
      std::filesystem::temp_directory_path() / "velmora_engine_test_log";
  std::filesystem::remove_all(folder);
  std::filesystem::create_directories(folder);
  FunctionWork work([](ExecutableWorkItem* item, NxSemaphore*) {
    item->SetWorkFinished();
    return 0;
  });
  const NxRef<NxWorkOutputTable> table = new NxWorkOutputTable;
  table->SetAllWorkModesCount(1);
  for (const int level : {8, 9}) {
    NxLog::GetInstance().InitLogFromSetting(LM_Text, level, (folder.string() + "/").c_str());
    table->AppendNextWorkOutput(0, 0, MakeWorkOutput(MakeRegion("page", MakeSource()), "", &work));
    ResolvableWorkItem item(table, nullptr, 12);
    item.LogPush();
    item.LogPop();
    item.Process(nullptr);
    item.FinishWork();
    EXPECT_EQ(item.GetCurrentItem()->GetDescription().empty(), level < 9);
  }
  NxLog::GetInstance().InitLogFromSetting(LM_None, 0, "");
  const std::string description =
      "{ExecutableWork}[SourceId:][TargetROI:page][Task:task][Priority:12]\n";
  EXPECT_EQ(ReadMessages(folder / "VelmoraScanlyx.log"),
            "WorkPriorityInfo AppendWork: \nWorkPriorityInfo TakeWork: \n"
            "TaskPriorityInfo TaskStart: \n"
            "WorkPriorityInfo WorkStart: " +
                description + "WorkPriorityInfo WorkEnd: " + description +
                "TaskPriorityInfo TaskEnd: \n");
  std::filesystem::remove_all(folder);
}

}  // namespace
}  // namespace velmora
