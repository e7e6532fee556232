// A complete small engine over a thousand images: a template of three definitions with five tasks,
// a pool of threads, a clock that charges time, errors and time-outs.
//
//   page [find]  --each region found-->  code [read] -> [merge]
//                                   \->  text [read] -> [merge]
//
// A task on the right of an arrow waits for the finish flag of the one on the left. Handwriting is
// completed by a later item of the pool than the one that began it.
#include <gtest/gtest.h>

#include <atomic>
#include <climits>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "tests/engine/engine_objects.h"
#include "tests/support/fixed_thread_pool.h"

namespace velmora {
namespace {

using testing::FixedThreadPool;
using testing::MakeRegion;

std::atomic<int> aliveObjects{0};

// What an object holds to have its life counted.
struct Alive {
  Alive() { ++aliveObjects; }
  ~Alive() { --aliveObjects; }
};

constexpr int kFindItems = 2;
constexpr int kRegionItems = 8;  // in both definitions: read in 3 modes, merge

// One image on its way. The regions hold it, and so do outputs and work items: one that is left over
// is counted with it.
struct Job : NxSourceImageObject {
  explicit Job(int number)
      : NxSourceImageObject(nullptr, std::uint64_t(number), number % 10 == 3 ? 5 : INT_MAX),
        isSlow(number % 10 == 3),
        isBad(number % 7 == 0) {}

  const Alive alive;
  const bool isSlow;  // runs out of its time
  const bool isBad;   // one mode of reading fails
  NxSemaphore semaphore{0};
  std::mutex mutex;  // guards outputs
  std::vector<NxRef<NxROIDefOutput>> outputs;
};

Job& JobOf(const NxRegionObject& region) {
  return static_cast<Job&>(*region.GetSourceImageObject());
}

class TaskRun : public NxTaskOutput {
 public:
  TaskRun(NxTargetROIDef* def, NxROIDefOutput* defOutput, Nx_WorkObjectBase* work)
      : NxTaskOutput(defOutput->GetRegion(), defOutput->GetReferenceRegion(), work->GetTaskName(),
                     TT_ATOMIC_0, false, static_cast<int>(work->GetWorkModes().size())),
        def_(def),
        defOutput_(defOutput),
        work_(work) {}

  NxROIDefOutput* GetDefOutput() const { return defOutput_; }

  // Splits the task and queues an item for each piece.
  void Start(ThreadPoolBase* pool) {
    missing_ = work_->AppendWorkOutputs(this, 0);
    for (int count = missing_; count > 0; --count) {
      pool->AppendWorkItem(new ResolvableWorkItem(GetWorkTable(), defOutput_->GetSemaphore(), 0));
    }
  }

  // After the last piece: releases who waits for this task, then who waits for the definition.
  void EndPiece(ThreadPoolBase* pool) {
    if (--missing_ != 0) return;
    SetThreadPool(pool);
    SetResultStatus(TOS_FINISHED);
    const auto startWaiting = [](NxTaskOutput* waiting, TargetROIDefEvent* event) {
      static_cast<TaskRun*>(waiting)->Start(static_cast<ThreadPoolBase*>(event->GetData()));
    };
    TargetROIDefEvent event(TRDET_TASK_UNIT_OUTPUT_COMPLETE, def_, pool, nullptr);
    const bool isLast = def_->IsROIDefOutputFinished(defOutput_);  // before another task can finish
    GetFinishFlag()->LoopAllRelatedOutputTasks(startWaiting, &event);
    GetFinishFlag()->RemoveAllRelatedOutputTasks(nullptr);
    if (isLast) def_->DispatchROIDefOutput(defOutput_);
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
    int mode = 0;
    for (const std::string& workMode : GetWorkModes()) {
      const NxRef<NxWorkOutput> work =
          new NxWorkOutput(task, nullptr, task->GetRegion(), task->GetReferenceRegion(),
                           task->GetTaskName(), TT_ATOMIC_0, this, workMode);
      task->GetWorkTable()->AppendNextWorkOutput(level, mode++, work);
    }
    return mode;
  }

  int Work(ExecutableWorkItem* item, NxSemaphore* /*semaphore*/) override {
    if (static_cast<NxWorkOutput*>(item->GetOutput())->GetWorkMode() != "hand") {
      return Complete(*item);
    }
    item->GetOutput()->GetThreadPool()->AppendWorkItem(new LateWork(this, item));
    return EC_Ok;
  }

 private:
  // Completes the work of an item, on another thread maybe than the one that processes it.
  class LateWork : public RtrThreadWorkItemBase {
   public:
    LateWork(EngineWork* work, ExecutableWorkItem* item)
        : RtrThreadWorkItemBase(nullptr, 0), work_(work), item_(item) {}
    void Process(ThreadPoolBase* /*pool*/) override { work_->Complete(*item_); }
    void FinishWork() override { item_->FinishWork(); }

   private:
    EngineWork* const work_;
    const NxRef<ExecutableWorkItem> item_;
  };

  int Complete(ExecutableWorkItem& item) {
    const auto& output = static_cast<const NxWorkOutput&>(*item.GetOutput());
    auto* const task = static_cast<TaskRun*>(output.GetTaskOutput());
    const int code = Recognise(output, *task);
    task->EndPiece(output.GetThreadPool());
    item.SetWorkFinished();
    return code;
  }

  int Recognise(const NxWorkOutput& output, TaskRun& task) {
    Job& job = JobOf(*output.GetRegion());
    if (job.isSlow) {
      int code = EC_Ok;
      while (!job.IsCheckPointNeedExit(&code, CheckPointLevel{})) std::this_thread::yield();
      return code;
    }
    if (output.GetWorkMode() == "deep" && job.isBad) return EC_ImageReadFailed;
    if (GetTaskName() == "merge") {
      // What this task waited for is there.
      const NxRef<NxTaskOutput> read = task.GetDefOutput()->GetTaskOutputByTaskName("read");
      EXPECT_TRUE(read->GetFinishFlag()->IsFinished());
      EXPECT_EQ(read->GetResultCount(), job.isBad ? 2 : 3);
      EXPECT_EQ(task.GetReferenceRegionByTargetName("image")->GetTargetROIDefName(), "image");
    }
    task.AddResult(new NxTaskOutputAtomResult(MakeRegion(GetTargetDefName(), &job)));
    return EC_Ok;
  }

  const Alive alive_;
};

class EngineDef : public NxTargetROIDef {
 public:
  EngineDef(const std::string& name, const std::vector<NxTargetROIDef*>& parents) {
    GetTargetDefSetting()->SetTargetDefName(name);
    SetParentDefNodes(parents);
  }

  NxRef<NxTargetTaskSetting> MakeTask(const std::string& name,
                                      const std::vector<std::string>& workModes) {
    const NxRef<Nx_WorkObjectBase> work = new EngineWork;
    work->SetTaskName(name);
    work->SetTargetDefName(GetTargetDefSetting()->GetTargetDefName());
    work->SetWorkModes(workModes);
    work->SetManagerPool(GetManagerPool());
    NxRef<NxTargetTaskSetting> task =
        new NxTargetTaskSetting(work->GetTargetDefName(), name, TT_ATOMIC_0, 0);
    task->SetTaskObject(work);
    return task;
  }

  NxRef<NxROIDefOutput> CreateROIDefOutput(const NxRef<NxRegionObject>& region,
                                           const NxRef<NxRegionObject>& reference,
                                           NxSemaphore* semaphore) override {
    NxRef<NxROIDefOutput> output = new NxROIDefOutput(region, reference, semaphore);
    const TargetROIDefSetting& setting = *GetTargetDefSetting();
    for (const auto* tasks : {&setting.GetTaskMap(), &setting.GetOutputTaskMap()}) {
      for (const auto& [name, task] : *tasks) {
        output->AddTaskOutput(new TaskRun(this, output.get(), task->GetTaskObject()));
      }
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
    const int last = output->GetOutputCount() - 1;
    return output->GetTaskOutput(last)->GetFinishFlag()->IsFinished();
  }

  void DispatchROIDefOutput(NxROIDefOutput* output) override {
    TargetROIDefEvent event(TRDET_SINGLE_REGION_COMPLETE, this, output, nullptr);
    for (TargetROIDefEventListener* listener : GetListeners()) {
      listener->HandleSingleRegionCompeleteEvent(&event);
    }
  }

  void HandleSingleRegionCompeleteEvent(TargetROIDefEvent* event) override {
    NxTaskOutput& found = *static_cast<NxROIDefOutput*>(event->GetData())->GetTaskOutput(0);
    for (int i = 0; i < found.GetResultCount(); ++i) {
      Run(found.GetResult(i)->GetRegion(), found.GetThreadPool());
    }
  }

  // The reference region is the region as this definition sees it, under the definition's name.
  void Run(const NxRef<NxRegionObject>& region, ThreadPoolBase* pool) {
    Job& job = JobOf(*region);
    const NxRef<NxRegionObject> reference =
        MakeRegion(GetTargetDefSetting()->GetTargetDefName(), &job);
    const NxRef<NxROIDefOutput> output = CreateROIDefOutput(region, reference, &job.semaphore);
    {
      const std::lock_guard<std::mutex> lock(job.mutex);
      job.outputs.push_back(output);
    }
    AppendWorkItems(output.get(), pool);
  }

 private:
  const Alive alive_;
};

class EngineGraph : public NxDependencyGraph {
 public:
  explicit EngineGraph(NxDataManagerPool* managers) {
    SetManagerPool(managers);
    EngineDef* const page = AddDef("page", {});
    page->GetTargetDefSetting()->AddTaskSetting("find", page->MakeTask("find", {"left", "right"}));
    for (const char* name : {"code", "text"}) {
      EngineDef* const def = AddDef(name, {page});
      TargetROIDefSetting& setting = *def->GetTargetDefSetting();
      setting.AddTaskSetting("read", def->MakeTask("read", {"print", "hand", "deep"}));
      setting.AddOutputTaskSetting("merge", def->MakeTask("merge", {""}));
    }
    SetBeginNode(page);
  }

  int Run(const NxRef<NxRegionObject>& wholeImage, ThreadPoolBase* pool,
          NxSemaphore* /*semaphore*/) override {
    static_cast<EngineDef*>(GetBeginNode())->Run(wholeImage, pool);
    return EC_Ok;
  }

 private:
  EngineDef* AddDef(const std::string& name, const std::vector<NxTargetROIDef*>& parents) {
    auto* const def = new EngineDef(name, parents);
    def->SetGraph(this);
    AddTargetROIDefNode(name, def);
    return def;
  }

  const Alive alive_;
};

// Waits for every work item of the image, looks at what is left and lets go of it.
void EndImage(Job& job) {
  const int items = kFindItems * (job.isSlow ? 1 : 1 + kRegionItems);
  for (int i = 0; i < items; ++i) job.semaphore.Consume();
  const std::size_t errors = job.isSlow ? kFindItems : job.isBad ? 2 * kFindItems : 0;
  EXPECT_EQ(job.GetErrorRecords().size(), errors);
  EXPECT_EQ(job.IsTimeOut(), job.isSlow);
  EXPECT_EQ(job.GetErrorCode(), job.isSlow ? EC_Timeout : job.isBad ? EC_ImageReadFailed : EC_Ok);
  EXPECT_EQ(job.outputs.size(), job.isSlow ? 1U : 5U);
  job.outputs.clear();
}

void RunThousandImages(int threadCount) {
  constexpr std::size_t kInFlight = 8;
  std::vector<NxRef<Job>> jobs;
  NxDataManagerPool managers;
  const NxRef<EngineGraph> graph = new EngineGraph(&managers);
  FixedThreadPool pool(threadCount);
  std::atomic<bool> running{true};
  std::thread clock([&] {
    while (running) {
      managers.GetActiveWorkUnitManager()->AddTimeCheckCountForActiveWorkUnit(1);
      std::this_thread::yield();
    }
  });
  for (std::size_t i = 0; i < 1000 + kInFlight; ++i) {
    if (i < 1000) {
      jobs.push_back(new Job(static_cast<int>(i)));
      jobs[i]->SetManagerPool(&managers);
      EXPECT_EQ(graph->Run(MakeRegion("image", jobs[i]), &pool, nullptr), EC_Ok);
    }
    if (i >= kInFlight) EndImage(*jobs[i - kInFlight]);
  }
  pool.Stop();
  running = false;
  clock.join();
  for (const auto& job : jobs) EXPECT_EQ(job->semaphore.GetValue(), 0) << job->GetImageId();
}

TEST(Engine, RunsAThousandImagesAndLeavesNothing) {
  for (const int threadCount : {2, 4}) {
    SCOPED_TRACE(threadCount);
    RunThousandImages(threadCount);
    EXPECT_EQ(aliveObjects, 0);
  }
}

}  // namespace
}  // namespace velmora
