// Calls of task outputs, their tables, flags and queues on one thread, beside what is pending.
#pragma once

#include <algorithm>
#include <deque>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/operations/counted.h"
#include "velmora/engine/dependency_finish_flag.h"
#include "velmora/engine/roi_def_output.h"
#include "velmora/engine/task_output.h"
#include "velmora/engine/task_unit_queue.h"
#include "velmora/engine/thread_suspend_token.h"
#include "velmora/engine/work_item.h"
#include "velmora/engine/work_object_base.h"
#include "velmora/engine/work_output.h"
#include "velmora/engine/work_output_table.h"
#include "velmora/foundation/semaphore.h"
#include "velmora/region/region_object.h"

namespace velmora::testing {

class TasksScript {
 public:
  explicit TasksScript(Bytes& script) : script_(script) {
    for (Task& task : tasks_) task = NewTask();
  }

  void Run() {
    while (!script_.IsEmpty()) {
      Task& task = tasks_[script_.Below(kTasks)];
      Step(task);
      VELMORA_REQUIRE(task.object->GetWorkTable()->HasNextWorkOutput() == !task.pending.empty());
      VELMORA_REQUIRE(task.object->GetFinishFlag()->IsFinished() == task.isFinished);
    }
  }

 private:
  using Region = Counted<NxRegionObject>;
  using Output = Counted<NxTaskOutput>;
  static constexpr int kTasks = 3;

  // Does what the next bytes say.
  class ScriptWork : public Nx_WorkObjectBase {
   public:
    explicit ScriptWork(TasksScript& owner) : owner_(owner) {}
    int Work(ExecutableWorkItem* item, NxSemaphore* /*semaphore*/) override {
      return owner_.DoWork(*item);
    }
    int AppendWorkOutputs(NxTaskOutput* /*task*/, int /*level*/) override { return 0; }

   private:
    TasksScript& owner_;
  };

  struct Task {
    NxRef<Output> object;
    std::vector<int> lists;  // of each level of the table
    int listsOfNewLevels = 0;
    std::vector<NxWorkOutput*> pending;  // in the table
    bool isFinished = false;
  };

  NxRef<NxRegionObject> NewRegion() {
    NxRef<NxRegionObject> region = MakeRef<Region>(alive_);
    region->SetTargetROIDefName("definition");
    return regions_[script_.Below(4)] = region;
  }

  Task NewTask() {
    Task task;
    task.listsOfNewLevels = script_.Below(4);
    const NxRef<NxRegionObject> region = NewRegion();
    const bool hasRegion = script_.Coin();
    const bool needFilter = script_.Coin();
    task.object = MakeRef<Output>(alive_, hasRegion ? region : nullptr, region, script_.Text(2),
                                  TT_ATOMIC_1, needFilter, task.listsOfNewLevels);
    return task;
  }

  NxRef<NxWorkOutput> NewWork(Task& task) {
    const NxRef<NxRegionObject> region = MakeRef<Region>(alive_);
    const bool hasObject = script_.Below(8) != 0;
    return MakeRef<NxWorkOutput>(task.object.get(), task.object->GetSectionCache(), region, region,
                                 "work", TT_ATOMIC_0, hasObject ? work_.get() : nullptr,
                                 script_.Text(1));
  }

  void Step(Task& task) {
    switch (script_.Below(12)) {
      case 0:
        task = NewTask();
        break;
      case 1:
      case 2:
        return Append(task, script_.Below(20) - 1);
      case 3:
        return Take(task, script_.Text(1));
      case 4:
        return AddResult(*task.object);
      case 5: {
        const auto status = static_cast<TaskOutputStatus>(script_.Below(4));
        task.object->SetResultStatus(status);
        VELMORA_REQUIRE(task.object->GetResultStatus() == status);
        task.isFinished |= status == TOS_FINISHED;
        break;
      }
      case 6:
        return UseFlag(task);
      case 7:
        return Queue(task);
      case 8:
      case 9:
        return RunFirst();
      case 10:
        task.listsOfNewLevels = script_.Below(5);
        task.object->GetWorkTable()->SetAllWorkModesCount(task.listsOfNewLevels);
        break;
      default:
        return UseLists(task);
    }
  }

  void Append(Task& task, int level) {
    const int mode = script_.Below(6) - 1;
    const NxRef<NxWorkOutput> work = script_.Below(8) == 0 ? nullptr : NewWork(task);
    task.object->GetWorkTable()->AppendNextWorkOutput(level, mode, work);
    while (static_cast<int>(task.lists.size()) <= level) {
      task.lists.push_back(task.listsOfNewLevels);
    }
    const bool isThere =
        level >= 0 && mode >= 0 && mode < task.lists[static_cast<std::size_t>(level)];
    if (work && isThere) task.pending.push_back(work.get());
    VELMORA_REQUIRE(!work || work->GetReferenceCount() == (isThere ? 2 : 1));
  }

  void Take(Task& task, const std::string& mode) {
    const auto isOfMode = [&mode](NxWorkOutput* work) {
      return mode.empty() || work->GetWorkMode() == mode;
    };
    const bool isThere = std::any_of(task.pending.begin(), task.pending.end(), isOfMode);
    const NxRef<NxWorkOutput> work =
        task.object->GetWorkTable()->GetNextTopPriorityWorkOutput(mode);
    VELMORA_REQUIRE((work != nullptr) == isThere);
    if (work) Forget(task, work.get());
  }

  static void Forget(Task& task, NxWorkOutput* work) {
    const auto found = std::find(task.pending.begin(), task.pending.end(), work);
    VELMORA_REQUIRE(found != task.pending.end());
    task.pending.erase(found);
  }

  void AddResult(NxOutputBase& output) {
    const NxRef<NxRegionObject>& region = script_.Coin() ? NewRegion() : regions_[script_.Below(4)];
    const int count = output.GetResultCount();
    output.AddResult(script_.Below(8) == 0 ? nullptr : MakeRef<NxTaskOutputAtomResult>(region));
    VELMORA_REQUIRE(output.GetResultCount() == count + 1);
    const NxRef<NxTaskOutputAtomResult> added = output.GetResult(count);
    if (added && region) VELMORA_REQUIRE(output.AlreadyExistObject(region.get()));
    int steps = 0;  // along the regions that it was found in: no ring
    for (const NxRegionObject* each = region.get(); each != nullptr; ++steps) {
      VELMORA_REQUIRE(steps < 10000);
      each = each->GetReferenceRegion().get();
    }
  }

  int DoWork(ExecutableWorkItem& item) {
    while (script_.Coin()) AddResult(*item.GetOutput());
    if (script_.Coin()) item.SetWorkFinished();
    if (script_.Below(8) == 0) throw std::runtime_error("no luck");
    return script_.Int();
  }

  void UseFlag(Task& task) {
    NxDependencyFinishFlag& flag = *task.object->GetFinishFlag();
    const std::string name = script_.Text(1);
    switch (script_.Below(4)) {
      case 0: {
        const std::size_t count = flag.GetChildFlags(name).size();
        flag.AddChildFlag(MakeRef<NxDependencyFinishFlag>(name));
        VELMORA_REQUIRE(flag.GetChildFlags(name).size() == count + 1);
        break;
      }
      case 1:
        flag.RemoveAllRelatedOutputTasks(nullptr);
        break;
      case 2:
        flag.AddRelatedOutputTask(tasks_[0].object.get());
        [[fallthrough]];
      default:
        // Not owned: looked at while they are there for certain.
        flag.LoopAllRelatedOutputTasks(
            [](NxTaskOutput* output, TargetROIDefEvent*) { output->GetResultCount(); }, nullptr);
        flag.RemoveAllRelatedOutputTasks(nullptr);
    }
  }

  struct Queued {
    NxRef<Output> output;  // which its items borrow
    NxRef<RtrThreadWorkItemBase> item;
    bool isResolvable;
  };

  void Queue(Task& task) {
    Queued queued{task.object, nullptr, script_.Coin()};
    if (queued.isResolvable) {
      const NxRef<ResolvableWorkItem> item =
          MakeRef<ResolvableWorkItem>(task.object->GetWorkTable(), &semaphore_, 0U);
      item->SetSequential(script_.Coin());
      queued.item = item;
    } else {
      queued.item = MakeRef<ExecutableWorkItem>(task.object.get(), work_.get(), &semaphore_, 0U);
    }
    queue_.push(queued.item);
    queued_.push_back(queued);
    VELMORA_REQUIRE(queue_.back() == queued.item);
    if (script_.Coin()) queue_ = TaskUnitQueue(queue_);
  }

  void RunFirst() {
    VELMORA_REQUIRE(queue_.empty() == queued_.empty());
    if (queue_.empty()) return;
    const Queued queued = queued_.front();
    VELMORA_REQUIRE(queue_.front() == queued.item);
    queue_.pop();
    queued_.pop_front();
    VELMORA_REQUIRE(queue_.size() == static_cast<int>(queued_.size()));

    const long before = semaphore_.GetValue();
    try {
      queued.item->Process(nullptr);
    } catch (const std::runtime_error&) {  // passes through, as DoWork threw it
    }
    if (queued.isResolvable) ForgetTaken(queued.item.get());
    queued.item->FinishWork();
    const long after = semaphore_.GetValue();
    VELMORA_REQUIRE(after == before || after == before + 1);
    queued.item->FinishWork();
    VELMORA_REQUIRE(semaphore_.GetValue() == after);
  }

  void ForgetTaken(RtrThreadWorkItemBase* item) {
    const NxRef<ExecutableWorkItem>& taken =
        static_cast<ResolvableWorkItem*>(item)->GetCurrentItem();
    if (!taken) return;
    for (Task& task : tasks_) {
      const auto found = std::find(task.pending.begin(), task.pending.end(), taken->GetOutput());
      if (found != task.pending.end()) task.pending.erase(found);
    }
    const NxOutputBase& output = *taken->GetOutput();
    const bool ends = taken->IsWorkFinished() && output.GetResultStatus() == TOS_NO_RESULT;
    const int count = output.GetResultCount();
    item->FinishWork();
    VELMORA_REQUIRE(output.GetResultCount() == count + (ends ? 1 : 0));
    VELMORA_REQUIRE(output.GetResultStatus() == (ends ? TOS_WORK_ENDED : TOS_NO_RESULT));
  }

  void UseLists(Task& task) {
    NxTaskOutput& output = *task.object;
    const NxRef<NxRegionObject>& region = regions_[script_.Below(4)];
    const auto section = static_cast<SectionType>(script_.Int());
    switch (script_.Below(8)) {
      case 0:
        return output.AppendResultsAsItem(region);
      case 1:
        output.SetResultsToFilter(output.GetResultsAsItem());
        VELMORA_REQUIRE(output.GetResultsToFilter() == output.GetResultsAsItem());
        break;
      case 2:
        return script_.Coin() ? output.CleanResultsAsItem() : output.CleanResultsToFilter();
      case 3:
        output.GetSectionCache()->PushBackResult(section, region);
        VELMORA_REQUIRE(output.GetSectionCache()->GetResults(section).back() == region);
        break;
      case 4:
        output.GetSectionCache()->SetResults(section,
                                             output.GetSectionCache()->GetResults(section));
        break;
      case 5:
        output.SetRemainWork({MakeRef<NxWorkOutputAtom>(NewWork(task), 0, 0, 0)});
        output.SetRemainWork(output.GetRemainWork());
        VELMORA_REQUIRE(output.GetRemainWork().size() == 1);
        break;
      case 6:
        return output.AddWorkOutput(script_.Int(), NewWork(task));
      default: {
        NxRef<ThreadSuspendToken> token = MakeRef<ThreadSuspendToken>();
        output.SetThreadSuspendToken(token);
        output.GetThreadSuspendToken(token);
        NxROIDefOutput definition(region, region, &semaphore_);
        definition.AddTaskOutput(task.object);
        VELMORA_REQUIRE(definition.GetTaskOutputByTaskName(output.GetTaskName()) == task.object);
      }
    }
  }

  Bytes& script_;
  AliveCount alive_;
  NxSemaphore semaphore_{0};
  NxRef<ScriptWork> work_ = MakeRef<ScriptWork>(*this);
  NxRef<NxRegionObject> regions_[4];
  Task tasks_[kTasks];
  TaskUnitQueue queue_;
  std::deque<Queued> queued_;
};

inline void RunTasks(const std::uint8_t* bytes, std::size_t size) {
  Bytes script(bytes, size);
  TasksScript(script).Run();
}

}  // namespace velmora::testing
