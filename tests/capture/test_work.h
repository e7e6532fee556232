// Small work objects, and an engine that runs them.
#pragma once

#include "tests/support/test.h"
#include "velmora_capture/internal/capture_engine.h"

namespace velmora::capture {

// Adds a region to what a task or a piece of it found.
inline void AddFound(NxOutputBase& output) {
  output.AddResult(
      new NxTaskOutputAtomResult(NxRef<NxRegionObject>(new NxRegionObject(*output.GetRegion()))));
}

// A work object that follows the engine's headers and nothing else.
class TestWork : public Nx_WorkObjectBase {
 public:
  using Call = std::function<int(ExecutableWorkItem&, NxTaskOutput&)>;

  // `pieces` are work modes, a letter each, in the order in which they are taken.
  explicit TestWork(std::string pieces = "A") : pieces_(std::move(pieces)) {
    SetWorkModes({"A", "B", "C"});
  }

  Call work = [](auto& item, auto& task) {
    AddFound(task);
    item.SetWorkFinished();
    return 0;
  };
  std::function<void()> afterAppend = [] {};
  std::function<void()> dealResults = [] {};
  int appended = 1;  // what AppendWorkOutputs returns
  int mostThreads = 0;

  int Work(ExecutableWorkItem* item, NxSemaphore*) override {
    return work(*item, *static_cast<NxWorkOutput*>(item->GetOutput())->GetTaskOutput());
  }
  // Into the table only, one list for each mode.
  int AppendWorkOutputs(NxTaskOutput* task, int level) override {
    for (const char mode : pieces_) {
      task->GetWorkTable()->AppendNextWorkOutput(
          level, mode - 'A',
          new NxWorkOutput(task, task->GetSectionCache(), task->GetRegion(),
                           task->GetReferenceRegion(), GetTaskName(), task->GetTaskType(), this,
                           std::string(1, mode)));
    }
    afterAppend();
    return appended;
  }
  int GetMaxThreadNumInOneTask() const override { return mostThreads; }
  void DealTaskResults(NxTaskOutput*, NxSemaphore*) override { dealResults(); }

 private:
  const std::string pieces_;
};

// An engine with one task "{d}[t]".
class TestEngine {
 public:
  explicit TestEngine(const NxRef<TestWork>& work, CaptureOptions options = {},
                      TargetROIDefEventListener* listener = nullptr)
      : engine_(WithThreads(std::move(options))) {
    for (Nx_WorkObjectBase* one = work.get(); one != nullptr; one = one->GetNextWorkObject()) {
      one->SetTargetDefName("d");
      one->SetTaskName("t");
      one->SetManagerPool(&engine_.GetManagers());
      one->SetIntermediateResultReceivers(&engine_.GetReceivers());
    }
    Template source;
    source.definitions.push_back({"d", {}, 0, {}});
    source.definitions[0].tasks.emplace_back();
    source.definitions[0].tasks[0].name = "t";
    const NxRef<CaptureGraph> graph = new CaptureGraph;
    CaptureDefinition* definition = graph->AddDefinition("d");
    definition->AddTask("t", work, true, {});
    if (listener != nullptr) definition->RegisterListener(listener);
    graph->Link({{"d", {}}});
    engine_.Prepare(std::move(source), graph);
  }

  CaptureEngine* operator->() { return &engine_; }
  NxRef<CaptureResult> Read() { return engine_.Read(*image_); }
  int Submit(Capture::Handler handler, int waitMs) {
    return engine_.Submit(MakeImage(), std::move(handler), waitMs);
  }

  static std::unique_ptr<basic_structures::CImageData> MakeImage(
      const basic_structures::CImageTag* tag = nullptr) {
    return std::make_unique<basic_structures::CImageData>(
        16, reinterpret_cast<const unsigned char*>("0123456789ABCDEF"), 4, 4, 4,
        basic_structures::PXF_Grayscale8, 0, tag);
  }

 private:
  static CaptureOptions WithThreads(CaptureOptions options) {
    if (options.threads == 0) options.threads = 4;
    return options;
  }

  CaptureEngine engine_;
  const std::unique_ptr<basic_structures::CImageData> image_ = MakeImage();
};

}  // namespace velmora::capture
