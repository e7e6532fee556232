// A worker against a queue that misbehaves on cue.
#include "tools/cluster/worker.h"

#include <poll.h>

#include <future>

#include "tests/support/test.h"
#include "tools/cluster/template_text.h"
#include "velmora_capture/image_file/image_file.h"

namespace velmora::cluster {
namespace {

// Plays a script: each step is one call of Poll. Tells what the worker said.
class ScriptedQueue : public JobQueue {
 public:
  struct Step {
    std::vector<QueueEvent> events;
    bool isLost = false;          // the connection
    std::string awaited;          // waits until the worker has said so
    std::function<void()> first;  // called before
  };

  void Connect() override { Say("connect"); }
  void Publish(const std::string&, int, std::uint64_t) override {}
  void Accept(std::uint64_t delivery) override { Say("accept " + std::to_string(delivery)); }
  void Reject(std::uint64_t delivery, const std::string& error) override {
    Say("reject " + std::to_string(delivery));
    errors += error;
    buried_.push_back({QueueEvent::kBuried, delivery, {}, 0, 0});
  }
  void StopDelivery() override { Say("stop"); }

  std::vector<QueueEvent> Poll(int wakeFd, int timeoutMs) override {
    std::vector<QueueEvent> events;
    events.swap(buried_);
    if (!events.empty()) return events;
    if (steps.empty() || (!steps.front().awaited.empty() && !Has(steps.front().awaited))) {
      pollfd woken{wakeFd, POLLIN, 0};
      poll(&woken, 1, timeoutMs);
      return {};
    }
    const Step step = steps.front();
    steps.pop_front();
    if (step.first) step.first();
    if (step.isLost) throw QueueError("lost");
    return step.events;
  }

  std::deque<Step> steps;
  std::vector<std::string> said;
  std::string errors;

 private:
  void Say(const std::string& word) { said.push_back(word); }
  bool Has(const std::string& word) const {
    return std::find(said.begin(), said.end(), word) != said.end();
  }

  std::vector<QueueEvent> buried_;
};

class MemoryStore : public ResultStore {
 public:
  bool Put(const std::string& id, const std::string& line) override {
    if (failures-- > 0) throw StoreError("the store is away");
    if (onPut) onPut();
    const MutexLock lock(mutex_);
    ++puts;
    return results.emplace(id, line).second;
  }
  bool Has(const std::string& id) override {
    const MutexLock lock(mutex_);
    return results.count(id) != 0;
  }
  void ForEach(const Visitor&) override {}

  std::atomic<int> failures{0};
  std::function<void()> onPut;
  std::map<std::string, std::string> results;
  int puts = 0;

 private:
  Mutex mutex_;
};

class WorkerTest : public ::testing::Test {
 protected:
  WorkerTest() {
    std::vector<capture::TemplateError> errors;
    capture::CaptureOptions options;
    options.threads = 1;
    capture_ = capture::Capture::Create(text_.text, options, errors);
  }

  QueueEvent Delivery(std::uint64_t number, const char* sample, const char* id = nullptr) const {
    Job job;
    job.image = std::string(VELMORA_SAMPLES "/") + sample;
    std::string bytes;
    if (std::ifstream(job.image)) bytes = testing::ReadFile(job.image);
    job.sha256 = Sha256(bytes);
    job.templateHash = text_.hash;
    job.id = id != nullptr ? id : sample;
    return {QueueEvent::kJob, number, FormatJob(job), 1, 0};
  }

  // Runs the script, then stops.
  bool Run(const std::string& last) {
    JobRunner runner(*capture_, store_, {text_.hash, capture::kMaxPixels, 1});
    WorkerSettings settings;
    settings.jobsAtOnce = 2;
    settings.isQuiet = true;
    Worker worker(settings, queue_, runner);
    queue_.steps.push_back({{}, false, last, [&] { worker.Stop(); }});
    return worker.Run();
  }

  int CountSaid(const std::string& word) const {
    return static_cast<int>(std::count(queue_.said.begin(), queue_.said.end(), word));
  }

  const TemplateText text_ = ReadTemplate({});
  std::unique_ptr<capture::Capture> capture_;
  ScriptedQueue queue_;
  MemoryStore store_;
};

TEST_F(WorkerTest, AcceptsWhatIsStoredAndRejectsTheRest) {
  store_.failures = 2;
  QueueEvent other = Delivery(4, "qr.png", "other");
  other.message.replace(other.message.find("\"sha256\":\"") + 10, 64, std::string(64, '0'));
  queue_.steps.push_back({{Delivery(1, "qr.png"),
                           Delivery(2, "broken.png"),
                           Delivery(3, "missing.png"),
                           other,
                           {QueueEvent::kJob, 5, "garbage", 0, 0}},
                          false,
                          {},
                          {}});
  queue_.steps.push_back({{Delivery(6, "qr.png")}, false, "accept 1", {}});
  queue_.steps.push_back({{}, false, "accept 2", {}});
  EXPECT_TRUE(Run("accept 6"));
  for (const char* word :
       {"accept 1", "accept 2", "reject 3", "reject 4", "reject 5", "accept 6"}) {
    EXPECT_EQ(CountSaid(word), 1) << word;
  }
  EXPECT_EQ(store_.puts, 2) << "what has a result is not done again";
  EXPECT_NE(store_.results["qr.png"].find("https://example.org/velmora"), std::string::npos);
  EXPECT_NE(store_.results["broken.png"].find("-10012"), std::string::npos);
  for (const char* part : {"No such file", "SHA-256", "no JSON object"}) {
    EXPECT_PRED_FORMAT2(::testing::IsSubstring, part, queue_.errors);
  }
}

// The connection ends while a job is being done; the job comes back before it ends.
TEST_F(WorkerTest, AcceptsTheRedeliveryOfWhatIsBeingDone) {
  std::promise<void> redelivered;
  store_.onPut = [future = redelivered.get_future().share()] { future.wait(); };
  queue_.steps.push_back({{Delivery(1, "qr.png")}, false, {}, {}});
  queue_.steps.push_back({{}, true, {}, {}});
  queue_.steps.push_back({{Delivery(2, "qr.png")}, false, {}, {}});
  queue_.steps.push_back({{}, false, {}, [&] { redelivered.set_value(); }});
  EXPECT_TRUE(Run("accept 2"));
  EXPECT_EQ(CountSaid("connect"), 2);
  EXPECT_EQ(CountSaid("accept 2"), 1);
  EXPECT_EQ(store_.puts, 1);
}

// Stopped with work in hand: all of it is done, nothing more is taken.
TEST_F(WorkerTest, DrainsItsHand) {
  queue_.steps.push_back({{Delivery(1, "qr.png", "a"), Delivery(2, "qr.png", "b"),
                           Delivery(3, "qr.png", "c"), Delivery(4, "qr.png", "d")},
                          false,
                          {},
                          {}});
  EXPECT_TRUE(Run({}));
  EXPECT_EQ(CountSaid("stop"), 1);
  EXPECT_EQ(store_.results.size(), 4u);
}

// A store that stays away: the job is not accepted, so that it comes back elsewhere.
TEST_F(WorkerTest, GivesUpWhatCannotBeStored) {
  store_.failures = 1'000'000;
  queue_.steps.push_back({{Delivery(1, "qr.png")}, false, {}, {}});
  EXPECT_FALSE(Run({}));
  EXPECT_EQ(CountSaid("accept 1"), 0);
}

}  // namespace
}  // namespace velmora::cluster
