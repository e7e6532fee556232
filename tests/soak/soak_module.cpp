// A module that does all that work may do, as the first pixel of the image says.
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>

#include "velmora/engine/task_output.h"
#include "velmora/engine/work_item.h"
#include "velmora/engine/work_output.h"
#include "velmora/engine/work_output_table.h"
#include "velmora/foundation/error_code.h"
#include "velmora_kit/module_api.h"
#include "velmora_kit/region_work.h"
#include "velmora_kit/units.h"

namespace {

using namespace velmora;
using std::chrono::milliseconds;

std::atomic<int> alive{0};

struct Counted {
  Counted() { ++alive; }
  Counted(const Counted&) { ++alive; }
  Counted& operator=(const Counted&) = delete;
  ~Counted() { --alive; }
};

struct Region final : NxRegionObject {
  using NxRegionObject::NxRegionObject;
  Counted counted;
};

// Ends work on a thread of its own, or lets go of it.
class Finisher {
 public:
  ~Finisher() {
    Add(nullptr);
    thread_.join();
  }

  void Add(const NxRef<ExecutableWorkItem>& item) {
    const std::lock_guard<std::mutex> lock(mutex_);
    items_.push_back(item);
    wakeUp_.notify_one();
  }

 private:
  void Run() {
    for (int number = 0;; ++number) {
      std::unique_lock<std::mutex> lock(mutex_);
      wakeUp_.wait(lock, [this] { return !items_.empty(); });
      const NxRef<ExecutableWorkItem> item = std::move(items_.front());
      items_.pop_front();
      lock.unlock();
      if (!item) return;
      if (number % 4 == 3) continue;
      item->SetWorkFinished();
      item->FinishWork();
    }
  }

  std::mutex mutex_;
  std::condition_variable wakeUp_;
  std::deque<NxRef<ExecutableWorkItem>> items_;
  std::thread thread_{[this] { Run(); }};
};

class Soak final : public Nx_WorkObjectBase {
 public:
  explicit Soak(kit::Settings& settings)
      : pieces_(settings.GetInt("Pieces", 1, 9, 1)),
        mostThreads_(settings.GetInt("MostThreads", 0, 9, 0)) {
    SetWorkModes({"A", "B"});
    if (settings.GetBool("SingleThread", false)) SetIsSingleThread();
    if (settings.GetBool("Chain", false)) SetNextWorkObject(new Soak(pieces_));
  }
  explicit Soak(int pieces) : pieces_(pieces), mostThreads_(0) { SetWorkModes({"A", "B"}); }

  int GetMaxThreadNumInOneTask() const override { return mostThreads_; }

  int AppendWorkOutputs(NxTaskOutput* task, int level) override {
    const std::vector<std::string>& modes = GetWorkModes();
    for (int mode = 0; mode < static_cast<int>(modes.size()); ++mode) {
      for (int i = 0; i < pieces_; ++i) {
        task->GetWorkTable()->AppendNextWorkOutput(
            level, mode,
            new NxWorkOutput(task, task->GetSectionCache(), task->GetRegion(),
                             task->GetReferenceRegion(), GetTaskName(), task->GetTaskType(), this,
                             modes[static_cast<std::size_t>(mode)]));
      }
    }
    return pieces_ * static_cast<int>(modes.size());
  }

  int Work(ExecutableWorkItem* item, NxSemaphore*) override {
    kit::RegionWork work(static_cast<NxWorkOutput&>(*item->GetOutput()), *this);
    const int what = work.GetImage().pixels[0] % 16;
    int code = EC_Ok;
    switch (what) {
      case 0:
        throw std::runtime_error("out of luck");
      case 1:
        throw 1;
      case 2:
        code = EC_Unknown;
        break;
      case 3:  // until there is no time left
        while (!work.MustStop(code)) std::this_thread::sleep_for(milliseconds(1));
        break;
      case 4:
        finisher_.Add(item);
        return EC_Ok;
      case 5:  // finds nothing, and takes its time
        std::this_thread::sleep_for(milliseconds(1));
        break;
      default:
        Find(work, what);
    }
    item->SetWorkFinished();
    return code;
  }

 private:
  static void Find(kit::RegionWork& work, int what) {
    const kit::Corner corners[] = {{1, 1}, {what, 1}, {what, 9}, {1, 9}};
    if (what % 4 == 0) work.AddCode("Soak", "found", corners);
    const Nx_Quad quad(corners);
    const NxRegionObject& from = work.GetRegion();
    const NxRef<NxRegionObject> region = new Region(
        from.GetSourceImageObject().get(), from.GetRegionType(), from.GetRegionImageInfo(), &quad);
    work.AddRegion(region);
    const NxRef<kit::CandidatesUnit> unit = work.MakeUnit<kit::CandidatesUnit>();
    work.Publish(unit.get());
  }

  const Counted counted_;
  const int pieces_;
  const int mostThreads_;
  Finisher finisher_;
};

}  // namespace

VELMORA_MODULE(Soak)

/// The work objects and regions of this module that are alive.
VELMORA_MODULE_EXPORT int SoakAlive() {
  return alive;
}
