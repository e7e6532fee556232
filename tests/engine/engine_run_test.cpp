// A small engine: the way of a task from the graph to its finished output. The numbers are those of
// docs/engine.md.
//
//   page [find]  --each region found-->  code [read] -> [merge]
//
// The task on the right of an arrow waits for the finish flag of the one on the left.
#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <string>
#include <vector>

#include "tests/engine/engine_objects.h"
#include "tests/support/fixed_thread_pool.h"

namespace velmora {
namespace {

using testing::MakeRegion;

constexpr int kPieces = 2;  // of each task; each finds one region

// A task on a region. Counts its pieces, which is the driving module's business.
class TaskRun : public NxTaskOutput {
 public:
  TaskRun(NxTargetROIDef* def, NxROIDefOutput* defOutput, Nx_WorkObjectBase* work)
      : NxTaskOutput(defOutput->GetRegion(), defOutput->GetReferenceRegion(), work->GetTaskName(),
                     TT_ATOMIC_0, false, 1),
        def_(def),
        defOutput_(defOutput),
        work_(work) {}

  NxROIDefOutput* GetDefOutput() const { return defOutput_; }

  void Start(ThreadPoolBase* pool) {
    missing_ = work_->AppendWorkOutputs(this, 0);     // 3
    for (int count = missing_; count > 0; --count) {  // 4
      pool->AppendWorkItem(new ResolvableWorkItem(GetWorkTable(), defOutput_->GetSemaphore(), 0));
    }
  }

  void EndPiece(ThreadPoolBase* pool) {
    if (--missing_ != 0) return;
    SetResultStatus(TOS_FINISHED);  // 8
    const auto startWaiting = [](NxTaskOutput* waiting, TargetROIDefEvent* event) {
      static_cast<TaskRun*>(waiting)->Start(static_cast<ThreadPoolBase*>(event->GetData()));
    };
    TargetROIDefEvent event(TRDET_TASK_UNIT_OUTPUT_COMPLETE, def_, pool, nullptr);
    const bool isLast = def_->IsROIDefOutputFinished(defOutput_);  // before another task can finish
    GetFinishFlag()->LoopAllRelatedOutputTasks(startWaiting, &event);  // 9
    GetFinishFlag()->RemoveAllRelatedOutputTasks(nullptr);
    SetThreadPool(pool);
    if (isLast) def_->DispatchROIDefOutput(defOutput_);  // 10
  }

 private:
  NxTargetROIDef* const def_;
  NxROIDefOutput* const defOutput_;
  Nx_WorkObjectBase* const work_;
  std::atomic<int> missing_{0};
};

class EngineWork : public Nx_WorkObjectBase {
 public:
  int AppendWorkOutputs(NxTaskOutput* task, int level) override {
    for (int piece = 0; piece < kPieces; ++piece) {
      const NxRef<NxWorkOutput> work =
          new NxWorkOutput(task, nullptr, task->GetRegion(), task->GetReferenceRegion(),
                           GetTaskName(), TT_ATOMIC_0, this, "");
      task->AddWorkOutput(0, work);
      task->GetWorkTable()->AppendNextWorkOutput(level, 0, work);
    }
    return kPieces;
  }

  int Work(ExecutableWorkItem* item, NxSemaphore* /*semaphore*/) override {  // 6
    const auto& output = static_cast<const NxWorkOutput&>(*item->GetOutput());
    auto* const task = static_cast<TaskRun*>(output.GetTaskOutput());
    if (GetTaskName() == "merge") {
      const NxRef<NxTaskOutput> read = task->GetDefOutput()->GetTaskOutputByTaskName("read");
      EXPECT_TRUE(read->GetFinishFlag()->IsFinished() && read->GetResultCount() == kPieces);
    }
    task->AddResult(new NxTaskOutputAtomResult(MakeRegion(GetTargetDefName())));
    task->EndPiece(output.GetThreadPool());
    item->SetWorkFinished();
    return EC_Ok;
  }
};

class EngineDef : public NxTargetROIDef {
 public:
  EngineDef(const std::string& name, const std::vector<const char*>& tasks,
            const std::vector<NxTargetROIDef*>& parents) {
    GetTargetDefSetting()->SetTargetDefName(name);
    for (const char* task : tasks) {
      const NxRef<Nx_WorkObjectBase> work = new EngineWork;
      work->SetTaskName(task);
      work->SetTargetDefName(name);
      tasks_.push_back(work);
    }
    SetParentDefNodes(parents);
  }

  NxRef<NxROIDefOutput> CreateROIDefOutput(const NxRef<NxRegionObject>& region,
                                           const NxRef<NxRegionObject>& reference,
                                           NxSemaphore* semaphore) override {  // 2
    NxRef<NxROIDefOutput> output = new NxROIDefOutput(region, reference, semaphore);
    for (const auto& work : tasks_) {
      output->AddTaskOutput(new TaskRun(this, output.get(), work.get()));
    }
    return output;
  }

  // Starts the first task, for which the others wait.
  void AppendWorkItems(NxROIDefOutput* output, ThreadPoolBase* pool) override {
    NxTaskOutput& first = *output->GetTaskOutput(0);
    for (int i = 1; i < output->GetOutputCount(); ++i) {
      first.GetFinishFlag()->AddRelatedOutputTask(output->GetTaskOutput(i).get());
    }
    static_cast<TaskRun&>(first).Start(pool);
  }

  bool IsROIDefOutputFinished(NxROIDefOutput* output) override {
    return output->GetTaskOutput(output->GetOutputCount() - 1)->GetFinishFlag()->IsFinished();
  }

  void DispatchROIDefOutput(NxROIDefOutput* output) override {
    TargetROIDefEvent event(TRDET_SINGLE_REGION_COMPLETE, this, output, nullptr);
    for (TargetROIDefEventListener* listener : GetListeners()) {
      listener->HandleSingleRegionCompeleteEvent(&event);
    }
  }

  void HandleSingleRegionCompeleteEvent(TargetROIDefEvent* event) override {
    auto* const output = static_cast<NxROIDefOutput*>(event->GetData());
    NxTaskOutput& found = *output->GetTaskOutput(0);
    for (int i = 0; i < found.GetResultCount(); ++i) {
      Run(found.GetResult(i)->GetRegion(), found.GetThreadPool(), output->GetSemaphore());
    }
  }

  // The reference region is the region as this definition sees it, under the definition's name.
  void Run(const NxRef<NxRegionObject>& region, ThreadPoolBase* pool, NxSemaphore* semaphore) {
    const NxRef<NxRegionObject> reference = MakeRegion(GetTargetDefSetting()->GetTargetDefName());
    const NxRef<NxROIDefOutput> output = CreateROIDefOutput(region, reference, semaphore);
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      outputs_.push_back(output);
    }
    AppendWorkItems(output.get(), pool);
  }

  const std::vector<NxRef<NxROIDefOutput>>& GetOutputs() const { return outputs_; }

 private:
  std::vector<NxRef<Nx_WorkObjectBase>> tasks_;
  std::mutex mutex_;  // guards outputs_
  std::vector<NxRef<NxROIDefOutput>> outputs_;
};

TEST(Engine, CarriesEachRegionFromTaskToTask) {
  EngineDef page("page", {"find"}, {});
  EngineDef code("code", {"read", "merge"}, {&page});
  NxSemaphore pieces(0);
  testing::FixedThreadPool pool(4);
  page.Run(MakeRegion("image"), &pool, &pieces);                               // 1
  for (int i = 0; i < kPieces + kPieces * 2 * kPieces; ++i) pieces.Consume();  // 7
  pool.Stop();
  EXPECT_EQ(pieces.GetValue(), 0);
  ASSERT_EQ(code.GetOutputs().size(), std::size_t{kPieces});
  for (const NxRef<NxROIDefOutput>& output : code.GetOutputs()) {
    const NxRef<NxTaskOutput> merge = output->GetTaskOutputByTaskName("merge");
    EXPECT_EQ(merge->GetTaskFullName(), "{code}[merge]");
    EXPECT_EQ(merge->GetResultStatus(), TOS_FINISHED);
    EXPECT_EQ(merge->GetResultCount(), kPieces);
    EXPECT_EQ(merge->GetReferenceRegionByTargetName("image")->GetTargetROIDefName(), "image");
  }
}

}  // namespace
}  // namespace velmora
