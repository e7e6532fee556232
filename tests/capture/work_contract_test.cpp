// Work objects that follow the engine's headers, each in its own way: all of them end, and what
// they find is there.
#include "tests/capture/test_work.h"

namespace velmora::capture {
namespace {

using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

// Threads of a module, joined at the end.
class Helpers {
 public:
  ~Helpers() {
    for (std::thread& thread : threads_) thread.join();
  }
  template <typename Call>
  void Run(Call call) {
    const std::lock_guard<std::mutex> lock(mutex_);
    threads_.emplace_back(std::move(call));
  }

 private:
  std::mutex mutex_;
  std::vector<std::thread> threads_;
};

class ThrowingListener final : public TargetROIDefEventListener {
  void HandleSingleRegionCompeleteEvent(TargetROIDefEvent*) override { throw 1; }
  void HandleTaskUnitOutputCompeleteEvent(TargetROIDefEvent*) override { throw 2; }
};

int EndWithout(ExecutableWorkItem& item, int code = 0) {
  item.SetWorkFinished();
  return code;
}

bool IsInModeB(const ExecutableWorkItem& item) {
  return static_cast<const NxWorkOutput&>(*item.GetOutput()).GetWorkMode() == "B";
}

TEST(WorkContract, EveryWayToWorkEnds) {
  Helpers helpers;
  ThrowingListener listener;
  struct Row {
    const char* name;
    const char* pieces;
    int found, error, runs;
    TestWork::Call work;  // none: finds and finishes
    std::function<void(TestWork&)> prepare = [](TestWork&) {};
    TargetROIDefEventListener* listener = nullptr;
  };
  const Row rows[] = {
      {"returns 0", "A", 1, 0, 1, nullptr, [](TestWork& w) { w.appended = 0; }},
      {"appends nothing", "", 0, 0, 0, nullptr},
      {"what follows a find is dropped", "AABC", 2, 0, 2, nullptr},
      {"the next mode after none found", "AABC", 1, 0, 3,
       [](auto& item, auto& task) {
         if (IsInModeB(item)) AddFound(task);
         return EndWithout(item);
       }},
      {"finds into its own output", "AA", 2, 0, 2,
       [](auto& item, auto&) {
         AddFound(*item.GetOutput());
         return EndWithout(item);
       }},
      {"into both outputs", "A", 1, 0, 1,
       [](auto& item, auto& task) {
         AddFound(task);
         item.GetOutput()->AddResult(task.GetResult(0));
         return EndWithout(item);
       }},
      {"another thread finishes, later", "AAB", 2, 0, 2,
       [&](auto& item, auto&) {
         helpers.Run([kept = NxRef<ExecutableWorkItem>(&item)] {
           std::this_thread::sleep_for(milliseconds(5));
           AddFound(*static_cast<NxWorkOutput*>(kept->GetOutput())->GetTaskOutput());
           kept->SetWorkFinished();
           kept->FinishWork();
           kept->FinishWork();
         });
         return 0;
       }},
      {"another thread finishes, before the work returns", "A", 1, EC_FileNotFound, 1,
       [](auto& item, auto& task) {
         std::thread([&] {
           AddFound(task);
           item.SetWorkFinished();
           item.FinishWork();
         }).join();
         return int{EC_FileNotFound};
       }},
      {"another thread lets go instead", "A", 0, EC_Unknown, 1,
       [&](auto& item, auto&) {
         helpers.Run([kept = NxRef<ExecutableWorkItem>(&item)]() mutable { kept.reset(); });
         return 0;
       }},
      {"forgets to finish", "AB", 0, EC_Unknown, 2, [](auto&, auto&) { return 0; }},
      {"throws from Work", "AB", 1, EC_Unknown, 1,
       [](auto&, auto& task) -> int {
         AddFound(task);
         throw std::runtime_error("no");
       }},
      {"out of memory in Work", "A", 0, EC_NoMemory, 1,
       [](auto&, auto&) -> int { throw std::bad_alloc(); }},
      {"throws from AppendWorkOutputs", "A", 1, EC_Unknown, 1, nullptr,
       [](TestWork& w) { w.afterAppend = [] { throw 3; }; }},
      {"throws from DealTaskResults", "A", 1, EC_Unknown, 1, nullptr,
       [](TestWork& w) { w.dealResults = [] { throw 4; }; }},
      {"a listener throws", "A", 1, EC_Unknown, 1, nullptr, [](TestWork&) {}, &listener},
      {"a chain: each has its turn, whatever was found", "AB", 2, 0, 3, nullptr,
       [](TestWork& w) {
         const NxRef<TestWork> next = new TestWork("AB");
         next->work = [](auto& item, auto& task) {
           if (IsInModeB(item)) AddFound(task);
           return EndWithout(item);
         };
         w.SetNextWorkObject(next);
       }},
      {"returns an error, told once", "AA", 0, EC_FileNotFound, 2,
       [](auto& item, auto&) { return EndWithout(item, EC_FileNotFound); }},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    const NxRef<TestWork> work = new TestWork(row.pieces);
    if (row.work != nullptr) work->work = row.work;
    row.prepare(*work);
    TestEngine engine(work, {}, row.listener);
    for (const int image : {1, 2}) {  // what fails one leaves the next alone
      const NxRef<CaptureResult> result = engine.Read();
      EXPECT_EQ(static_cast<int>(result->GetRegions().size()), row.found);
      EXPECT_EQ(result->GetErrorCode(), row.error);
      EXPECT_EQ(result->GetErrors().size(), row.error == 0 ? 0u : 1u);
      EXPECT_EQ(engine->GetStatistics().tasks[0].runs, row.runs * image);
    }
  }
}

TEST(WorkContract, LimitsOfThreadsHold) {
  // One thread over six images; two in the one task of one image.
  for (const bool isSingleThread : {true, false}) {
    SCOPED_TRACE(isSingleThread);
    std::atomic<int> now{0};
    std::atomic<int> most{0};
    const NxRef<TestWork> work = new TestWork("AAAAAA");
    if (isSingleThread) work->SetIsSingleThread();
    work->mostThreads = isSingleThread ? 0 : 2;
    work->work = [&](auto& item, auto& task) {
      const int running = ++now;
      for (int known = most; known < running && !most.compare_exchange_weak(known, running);) {
      }
      std::this_thread::sleep_for(milliseconds(2));
      AddFound(task);
      --now;
      return EndWithout(item);
    };
    TestEngine engine(work);
    std::vector<std::thread> readers;
    for (int i = 0; i < (isSingleThread ? 6 : 1); ++i) {
      readers.emplace_back([&] { EXPECT_EQ(engine.Read()->GetRegions().size(), 6u); });
    }
    for (std::thread& reader : readers) reader.join();
    EXPECT_EQ(most, isSingleThread ? 1 : 2);
  }
}

// Asked every 50 ms, work ends 100 ms over its budget; work that never asks is waited for. Work
// that goes on elsewhere is charged too.
TEST(WorkContract, TimeBudgetsEndWorkThatAsks) {
  enum Way { kAsks, kNeverAsks, kElsewhere };
  for (const Way way : {kAsks, kNeverAsks, kElsewhere}) {
    SCOPED_TRACE(way);
    Helpers helpers;
    const NxRef<TestWork> work = new TestWork("AB");
    const auto askUntilOver = [](const ExecutableWorkItem& item) {
      int code = 0;
      for (int i = 0; i < 60 && code == 0; ++i) {
        std::this_thread::sleep_for(milliseconds(50));
        item.GetOutput()->GetRegion()->GetSourceImageObject()->IsCheckPointNeedExit(
            &code, CheckPointLevel{});
      }
      return code;
    };
    work->work = [&](auto& item, auto&) {
      if (way == kElsewhere) {
        helpers.Run([&, kept = NxRef<ExecutableWorkItem>(&item)] {
          askUntilOver(*kept);
          kept->SetWorkFinished();
          kept->FinishWork();
        });
        return 0;
      }
      if (way == kAsks) return EndWithout(item, askUntilOver(item));
      std::this_thread::sleep_for(milliseconds(300));
      return EndWithout(item);
    };
    CaptureOptions options;
    options.timeoutMs = 150;
    TestEngine engine(work, options);
    const auto begin = Clock::now();
    const NxRef<CaptureResult> result = engine.Read();
    const auto took = Clock::now() - begin;
    EXPECT_EQ(result->GetErrorCode(), EC_Timeout);
    EXPECT_EQ(engine->GetStatistics().tasks[0].runs, 1);
    EXPECT_GE(took, way == kNeverAsks ? milliseconds(300) : milliseconds(150));
    // Twice what is promised: the machine may be busy. Without the clock it would be 3 s.
    EXPECT_LE(took, way == kNeverAsks ? milliseconds(600) : milliseconds(350));
  }
}

}  // namespace
}  // namespace velmora::capture
