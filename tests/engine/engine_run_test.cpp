// A complete small engine over a thousand images: a template of three definitions with five tasks,
// a pool of threads, a clock that charges time, errors and time-outs.
//
//   page [find]  --each region found-->  code [read] -> [check]
//                                   \->  text [lines] -> [merge]
//
// A task on the right of an arrow waits for the finish flag of the one on the left. Handwriting is
// read by threads of another pool, which finish the work that the pool's threads began.
#include <gtest/gtest.h>

#include <atomic>
#include <climits>
#include <deque>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tests/support/fixed_thread_pool.h"
#include "velmora/velmora.h"

namespace velmora {
namespace {

using testing::FixedThreadPool;

std::atomic<int> aliveObjects{0};

// An object of the library whose life is counted.
template <typename Base>
class Counted : public Base {
 public:
  template <typename... Arguments>
  explicit Counted(Arguments&&... arguments) : Base(std::forward<Arguments>(arguments)...) {
    ++aliveObjects;
  }
  ~Counted() override { --aliveObjects; }
};

constexpr int kFindItems = 2;
constexpr int kRegionItems = 7;  // read in 3 modes, check, lines in 2 modes, merge
constexpr int kImages = 1000;

// One image on its way.
struct Job {
  explicit Job(int imageNumber) : number(imageNumber) {}

  bool IsSlow() const { return number % 10 == 3; }  // runs out of its time
  bool IsBad() const { return number % 7 == 0; }    // one mode of reading fails
  int ItemCount() const { return IsSlow() ? kFindItems : kFindItems + kFindItems * kRegionItems; }
  int ErrorCount() const { return IsSlow() ? kFindItems : IsBad() ? kFindItems : 0; }

  const int number;
  NxSemaphore semaphore{0};
  NxRef<NxSourceImageObject> source;
  std::mutex mutex;  // guards outputs
  std::vector<NxRef<NxROIDefOutput>> outputs;
};

std::deque<Job> jobs;

Job& JobOf(const NxRegionObject& region) {
  return jobs[static_cast<std::size_t>(region.GetSourceImageObject()->GetImageId())];
}

NxRef<NxRegionObject> MakeCountedRegion(const NxRef<NxSourceImageObject>& source,
                                        const std::string& targetDefName) {
  NxRef<NxRegionObject> region = new Counted<NxRegionObject>();
  region->SetSourceImageObject(source);
  region->SetTargetROIDefName(targetDefName);
  return region;
}

class TaskRun : public Counted<NxTaskOutput> {
 public:
  TaskRun(NxTargetROIDef* def, NxROIDefOutput* defOutput, NxTargetTaskSetting* setting)
      : Counted(defOutput->GetRegion(), defOutput->GetReferenceRegion(), setting->GetTaskName(),
                setting->GetTaskType(), false,
                static_cast<int>(setting->GetTaskObject()->GetWorkModes().size())),
        def_(def),
        defOutput_(defOutput),
        setting_(setting) {}

  NxROIDefOutput* GetDefOutput() const { return defOutput_; }

  // Splits the task and queues an item for each piece.
  void Start(ThreadPoolBase* pool) {
    missing_ = setting_->GetTaskObject()->AppendWorkOutputs(this, 0);
    for (int count = missing_; count > 0; --count) {
      pool->AppendWorkItem(new Counted<ResolvableWorkItem>(
          GetWorkTable(), defOutput_->GetSemaphore(), std::uint64_t(def_->GetPriorityLevel())));
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
    if (!isLast) return;
    def_->FilterROIDefOutput(defOutput_);
    def_->DispatchROIDefOutput(defOutput_);
  }

 private:
  NxTargetROIDef* const def_;
  NxROIDefOutput* const defOutput_;
  NxTargetTaskSetting* const setting_;
  std::atomic<int> missing_{0};
};

class EngineWork : public Counted<Nx_WorkObjectBase> {
 public:
  explicit EngineWork(ThreadPoolBase* handwriting) : handwriting_(handwriting) {}

  int AppendWorkOutputs(NxTaskOutput* task, int level) override {
    int mode = 0;
    for (const std::string& workMode : GetWorkModes()) {
      NxRef<NxWorkOutput> work = new Counted<NxWorkOutput>(
          task, task->GetSectionCache(), task->GetRegion(), task->GetReferenceRegion(),
          task->GetTaskName(), task->GetTaskType(), this, workMode);
      task->AddWorkOutput(mode, work);
      task->GetWorkTable()->AppendNextWorkOutput(level, mode++, work);
    }
    return mode;
  }

  int Work(ExecutableWorkItem* item, NxSemaphore* /*semaphore*/) override {
    if (static_cast<NxWorkOutput*>(item->GetOutput())->GetWorkMode() != "hand") {
      return Complete(*item);
    }
    handwriting_->AppendWorkItem(new LateWork(this, item));
    return EC_Ok;
  }

 private:
  // Completes the work of an item on another thread than the one that processes it.
  class LateWork : public Counted<RtrThreadWorkItemBase> {
   public:
    LateWork(EngineWork* work, ExecutableWorkItem* item)
        : Counted(nullptr, item->GetPriority()), work_(work), item_(item) {}
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
    const Job& job = JobOf(*output.GetRegion());
    int code = EC_Ok;
    if (GetTaskName() == "find" && job.IsSlow()) {
      while (!job.source->IsCheckPointNeedExit(&code, CheckPointLevel{})) std::this_thread::yield();
      return code;
    }
    if (output.GetWorkMode() == "deep" && job.IsBad()) return EC_ImageReadFailed;
    if (GetTaskName() == "check" || GetTaskName() == "merge") {
      // What this task waited for is there.
      const char* const before = GetTaskName() == "check" ? "read" : "lines";
      const NxRef<NxTaskOutput> read = task.GetDefOutput()->GetTaskOutputByTaskName(before);
      EXPECT_TRUE(read->GetFinishFlag()->IsFinished());
      EXPECT_EQ(read->GetResultCount(), before[0] == 'l' ? 2 : job.IsBad() ? 2 : 3);
      EXPECT_EQ(task.GetReferenceRegionByTargetName("image")->GetTargetROIDefName(), "image");
    }
    const NxRef<NxRegionObject> found = MakeCountedRegion(job.source, GetTargetDefName());
    task.AddResult(new Counted<NxTaskOutputAtomResult>(found));
    return code;
  }

  ThreadPoolBase* const handwriting_;
};

class EngineDef : public Counted<NxTargetROIDef> {
 public:
  EngineDef(const std::string& name, const std::vector<NxTargetROIDef*>& parents) {
    GetTargetDefSetting()->SetTargetDefName(name);
    SetParentDefNodes(parents);
  }

  // A task with one work object; it waits for the task `after`, if that is given.
  void AddTask(const std::string& name, const std::vector<std::string>& workModes,
               const std::string& after, ThreadPoolBase* handwriting) {
    TargetROIDefSetting& setting = *GetTargetDefSetting();
    NxRef<Nx_WorkObjectBase> work = new EngineWork(handwriting);
    work->SetTaskName(name);
    work->SetTargetDefName(setting.GetTargetDefName());
    work->SetWorkModes(workModes);
    work->SetManagerPool(GetManagerPool());
    NxRef<NxTargetTaskSetting> task =
        new Counted<NxTargetTaskSetting>(setting.GetTargetDefName(), name, TT_ATOMIC_0, 0);
    task->SetTaskObject(work);
    after.empty() ? setting.AddTaskSetting(name, task) : setting.AddOutputTaskSetting(name, task);
    predecessors_[name] = after;
  }

  NxRef<NxROIDefOutput> CreateROIDefOutput(const NxRef<NxRegionObject>& region,
                                           const NxRef<NxRegionObject>& reference,
                                           NxSemaphore* semaphore) override {
    NxRef<NxROIDefOutput> output = new Counted<NxROIDefOutput>(region, reference, semaphore);
    const TargetROIDefSetting& setting = *GetTargetDefSetting();
    for (const auto* tasks : {&setting.GetTaskMap(), &setting.GetOutputTaskMap()}) {
      for (const auto& [name, task] : *tasks) {
        if (task->IsActivatedTask())
          output->AddTaskOutput(new TaskRun(this, output.get(), task.get()));
      }
    }
    return output;
  }

  void AppendWorkItems(NxROIDefOutput* output, ThreadPoolBase* pool) override {
    std::vector<NxTaskOutput*> ready;
    for (int i = 0; i < output->GetOutputCount(); ++i) {
      NxTaskOutput* const task = output->GetTaskOutput(i).get();
      const std::string& after = predecessors_.at(task->GetTaskName());
      if (after.empty()) {
        ready.push_back(task);
      } else {
        output->GetTaskOutputByTaskName(after)->GetFinishFlag()->AddRelatedOutputTask(task);
      }
    }
    for (NxTaskOutput* task : ready) static_cast<TaskRun*>(task)->Start(pool);
  }

  bool IsROIDefOutputFinished(NxROIDefOutput* output) override {
    for (int i = 0; i < output->GetOutputCount(); ++i) {
      if (!output->GetTaskOutput(i)->GetFinishFlag()->IsFinished()) return false;
    }
    return true;
  }

  void DispatchROIDefOutput(NxROIDefOutput* output) override {
    TargetROIDefEvent event(TRDET_SINGLE_REGION_COMPLETE, this, output, nullptr);
    for (TargetROIDefEventListener* listener : GetListeners()) {
      listener->HandleSingleRegionCompeleteEvent(&event);
    }
  }

  void HandleSingleRegionCompeleteEvent(TargetROIDefEvent* event) override {
    const NxRef<NxTaskOutput>& found =
        static_cast<NxROIDefOutput*>(event->GetData())->GetTaskOutput(0);
    for (int i = 0; i < found->GetResultCount(); ++i) {
      Run(found->GetResult(i)->GetRegion(), found->GetThreadPool());
    }
  }

  // The reference region is the region as this definition sees it, under the definition's name.
  void Run(const NxRef<NxRegionObject>& region, ThreadPoolBase* pool) {
    NxRef<NxRegionObject> reference = new Counted<NxRegionObject>(*region);
    reference->SetTargetROIDefName(GetTargetDefSetting()->GetTargetDefName());
    Job& job = JobOf(*region);
    const NxRef<NxROIDefOutput> output = CreateROIDefOutput(region, reference, &job.semaphore);
    {
      const std::lock_guard<std::mutex> lock(job.mutex);
      job.outputs.push_back(output);
    }
    AppendWorkItems(output.get(), pool);
  }

 private:
  std::map<std::string, std::string> predecessors_;
};

class EngineGraph : public Counted<NxDependencyGraph> {
 public:
  EngineGraph(NxDataManagerPool* managers, ThreadPoolBase* handwriting) {
    SetManagerPool(managers);
    EngineDef* const page = AddDef("page", {});
    page->AddTask("find", {"left", "right"}, "", handwriting);
    EngineDef* const code = AddDef("code", {page});
    code->AddTask("read", {"fast", "deep", "far"}, "", handwriting);
    code->AddTask("check", {""}, "read", handwriting);
    EngineDef* const text = AddDef("text", {page});
    text->AddTask("lines", {"print", "hand"}, "", handwriting);
    text->AddTask("merge", {""}, "lines", handwriting);
    for (const auto& [name, def] : GetTargetDefNodesMap()) def->ActivateAllTask();
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
};

void StartImage(Job& job, NxDependencyGraph& graph, NxDataManagerPool& managers,
                FixedThreadPool& pool) {
  job.source = new Counted<NxSourceImageObject>(nullptr, static_cast<std::uint64_t>(job.number),
                                                job.IsSlow() ? 5 : INT_MAX);
  job.source->SetManagerPool(&managers);
  const NxRef<NxRegionObject> whole = MakeCountedRegion(job.source, "image");
  ASSERT_EQ(graph.Run(whole, &pool, &job.semaphore), EC_Ok);
}

// Waits for every work item of the image, looks at what is left and lets go of it.
void EndImage(Job& job) {
  for (int i = 0; i < job.ItemCount(); ++i) job.semaphore.Consume();
  EXPECT_EQ(job.semaphore.GetValue(), 0);
  EXPECT_EQ(job.source->GetErrorRecords().size(), static_cast<std::size_t>(job.ErrorCount()));
  EXPECT_EQ(job.source->IsTimeOut(), job.IsSlow());
  EXPECT_EQ(job.source->GetErrorCode(), job.IsSlow()  ? EC_Timeout
                                        : job.IsBad() ? EC_ImageReadFailed
                                                      : EC_Ok);
  EXPECT_EQ(job.outputs.size(), job.IsSlow() ? 1U : 5U);
  for (const NxRef<NxROIDefOutput>& output : job.outputs) {
    for (int i = 0; i < output->GetOutputCount(); ++i) {
      const NxRef<NxTaskOutput>& task = output->GetTaskOutput(i);
      EXPECT_EQ(task->GetResultStatus(), TOS_FINISHED);
      EXPECT_FALSE(task->GetWorkTable()->HasNextWorkOutput());
      for (const auto& works : task->GetWorkOutputs()) {
        for (const NxRef<NxWorkOutput>& work : works) {
          EXPECT_EQ(work->GetResultStatus(), TOS_WORK_ENDED);
        }
      }
    }
  }
  job.outputs.clear();
  job.source.reset();
}

void RunThousandImages(int threadCount) {
  constexpr std::size_t kInFlight = 8;
  for (int i = 0; i < kImages; ++i) jobs.emplace_back(i);
  NxDataManagerPool managers;
  FixedThreadPool handwriting(2);
  const NxRef<EngineGraph> graph = new EngineGraph(&managers, &handwriting);
  FixedThreadPool pool(threadCount);
  std::atomic<bool> running{true};
  std::thread clock([&] {
    while (running) {
      managers.GetActiveWorkUnitManager()->AddTimeCheckCountForActiveWorkUnit(1);
      std::this_thread::yield();
    }
  });
  for (std::size_t i = 0; i < jobs.size() + kInFlight; ++i) {
    if (i < jobs.size()) StartImage(jobs[i], *graph, managers, pool);
    if (i >= kInFlight) EndImage(jobs[i - kInFlight]);
  }
  pool.Stop();
  handwriting.Stop();
  running = false;
  clock.join();
  for (const Job& job : jobs) EXPECT_EQ(job.semaphore.GetValue(), 0) << job.number;
}

TEST(Engine, RunsAThousandImagesAndLeavesNothing) {
  for (const int threadCount : {2, 4}) {
    SCOPED_TRACE(threadCount);
    RunThousandImages(threadCount);
    EXPECT_EQ(aliveObjects, 0);
    jobs.clear();
  }
}

}  // namespace
}  // namespace velmora
