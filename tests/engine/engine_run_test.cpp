// A small engine: the way of a task from the graph to its finished output. The numbers are those of
// docs/engine.md.
//
//   page [read] -> [merge]
//
// The task on the right of the arrow waits for the finish flag of the one on the left.
#include "tests/engine/engine_objects.h"

namespace velmora {
namespace {

using testing::MakeRegion;

// A thread for each item.
class Threads final : public ThreadPoolBase {
 public:
  void AppendWorkItem(RtrThreadWorkItemBase* appended) override {
    appended->LogPush();
    const std::lock_guard<std::mutex> lock(mutex_);
    threads_.emplace_back([this, item = NxRef<RtrThreadWorkItemBase>(appended)] {
      item->LogPop();
      item->Process(this);
      item->FinishWork();
    });
  }
  int GetThreadCount() const override { return static_cast<int>(threads_.size()); }
  void Stop() override {
    for (std::thread& thread : threads_) thread.join();
  }

 private:
  std::mutex mutex_;  // guards threads_
  std::vector<std::thread> threads_;
};

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
  EngineDef() {
    for (const char* name : {"read", "merge"}) {
      const NxRef<Nx_WorkObjectBase> work = new EngineWork;
      work->SetTaskName(name);
      works_.push_back(work);
    }
  }

  NxRef<NxROIDefOutput> CreateROIDefOutput(const NxRef<NxRegionObject>& region,
                                           const NxRef<NxRegionObject>& reference,
                                           NxSemaphore* semaphore) override {  // 2
    NxRef<NxROIDefOutput> output = new NxROIDefOutput(region, reference, semaphore);
    for (const auto& work : works_) {
      output->AddTaskOutput(new TaskRun(this, output.get(), work.get()));
    }
    return output;
  }

  // Starts the first task, for which the second waits.
  void AppendWorkItems(NxROIDefOutput* output, ThreadPoolBase* pool) override {
    NxTaskOutput& first = *output->GetTaskOutput(0);
    first.GetFinishFlag()->AddRelatedOutputTask(output->GetTaskOutput(1).get());
    static_cast<TaskRun&>(first).Start(pool);
  }

  bool IsROIDefOutputFinished(NxROIDefOutput* output) override {
    return output->GetTaskOutput(1)->GetFinishFlag()->IsFinished();
  }

  void DispatchROIDefOutput(NxROIDefOutput* output) override {
    TargetROIDefEvent event(TRDET_SINGLE_REGION_COMPLETE, this, output, nullptr);
    for (TargetROIDefEventListener* listener : GetListeners()) {
      listener->HandleSingleRegionCompeleteEvent(&event);
    }
  }

  // As a listener, a definition would work on the regions that another one found.
  void HandleSingleRegionCompeleteEvent(TargetROIDefEvent* event) override {
    finished_ = static_cast<NxROIDefOutput*>(event->GetData());
  }
  const NxROIDefOutput* GetFinished() const { return finished_; }

 private:
  std::vector<NxRef<Nx_WorkObjectBase>> works_;
  const NxROIDefOutput* finished_ = nullptr;
};

TEST(Engine, CarriesARegionFromTaskToTask) {
  EngineDef page, child;
  page.RegisterListener(&child);
  NxSemaphore pieces(0);  // outlives the items, whose last step is to produce it
  Threads pool;
  for (int round = 0; round < 50; ++round) {
    const NxRef<NxRegionObject> region = MakeRegion("image");  // 1
    const NxRef<NxROIDefOutput> output =
        page.CreateROIDefOutput(region, MakeRegion("page"), &pieces);
    page.AppendWorkItems(output.get(), &pool);
    for (int i = 0; i < 2 * kPieces; ++i) pieces.Consume();  // 7
    EXPECT_EQ(child.GetFinished(), output.get());
    const NxRef<NxTaskOutput> merge = output->GetTaskOutputByTaskName("merge");
    EXPECT_EQ(merge->GetTaskFullName(), "{page}[merge]");
    EXPECT_EQ(merge->GetResultStatus(), TOS_FINISHED);
    ASSERT_EQ(merge->GetResultCount(), kPieces);
    EXPECT_EQ(merge->GetResult(0)->GetRegion()->GetReferenceRegion(), region);
  }
  pool.Stop();
}

}  // namespace
}  // namespace velmora
