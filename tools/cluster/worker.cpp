#include "tools/cluster/worker.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <iostream>
#include <ostream>
#include <system_error>
#include <utility>

#include "tools/capture/output_file.h"
#include "tools/capture/text.h"

namespace velmora::cluster {
namespace {

constexpr std::chrono::seconds kReportEvery{60};
constexpr std::chrono::seconds kMetricsEvery{10};
constexpr int kPollMs = 1000;
// A file that cannot be read for that many tries, some seconds, is given up.
constexpr int kMostTries = 6;

double SecondsSince(std::chrono::steady_clock::time_point begin) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

}  // namespace

WakeUp::WakeUp() : number_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  if (number_ < 0) throw std::system_error(errno, std::generic_category(), "no event descriptor");
}

WakeUp::~WakeUp() {
  close(number_);
}

void WakeUp::Set() const {
  const std::uint64_t one = 1;
  static_cast<void>(!write(number_, &one, sizeof one));  // full means set
}

void WakeUp::Reset() const {
  std::uint64_t count = 0;
  static_cast<void>(!read(number_, &count, sizeof count));  // empty means reset
}

Worker::Worker(const WorkerSettings& settings, JobQueue& queue, JobRunner& runner)
    : settings_(settings), queue_(queue), runner_(runner) {
  threads_.reserve(static_cast<std::size_t>(settings.jobsAtOnce));
  for (int i = 0; i < settings.jobsAtOnce; ++i) threads_.emplace_back([this] { Work(); });
}

Worker::~Worker() {
  {
    const MutexLock lock(mutex_);
    isOver_ = true;
  }
  hasJob_.notify_all();
  for (std::thread& thread : threads_) thread.join();
}

void Worker::Stop() {
  stop_.Set();
  wake_.Set();
}

bool Worker::Run() {
  nextReport_ = Clock::now() + kReportEvery;
  nextMetrics_ = Clock::now();
  lastJob_ = Clock::now();
  while (!IsDone()) {
    try {
      if (!counters_.isConnected && !stop_.IsSet()) Connect();
      Pump();
    } catch (const QueueError& error) {
      if (error.IsFinal() && counters_.connections == 0) throw;
      Disconnect(error);
    }
    Report();
  }
  WriteMetrics();
  Say("ended: " + DescribeCounters({}, counters_));
  return isComplete_;
}

void Worker::Connect() {
  queue_.Connect();
  backOff_.Reset();
  ++counters_.connections;
  counters_.isConnected = true;
  lastJob_ = Clock::now();
  Say("connected");
}

// Waits before the next try, while jobs end.
void Worker::Disconnect(const QueueError& error) {
  counters_.isConnected = false;
  hand_.Clear();
  buried_ = 0;
  const int waitMs = backOff_.Next();
  std::cerr << "velmora-worker: " << capture::Printable(error.what()) << "; next try in " << waitMs
            << " ms\n";
  const auto end = Clock::now() + std::chrono::milliseconds(waitMs);
  while (Clock::now() < end && !stop_.IsSet()) {
    pollfd woken{wake_.Get(), POLLIN, 0};
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
    poll(&woken, 1, std::max(0, static_cast<int>(left.count())));
    Settle();
  }
}

void Worker::Pump() {
  if (counters_.isConnected) {
    Take(queue_.Poll(wake_.Get(), kPollMs));
  } else {
    pollfd woken{wake_.Get(), POLLIN, 0};
    poll(&woken, 1, kPollMs);
  }
  Settle();
  if (stop_.IsSet() && !isStopped_) {
    isStopped_ = true;
    if (counters_.isConnected) queue_.StopDelivery();
  }
  Begin();
}

void Worker::Take(const std::vector<QueueEvent>& events) {
  for (const QueueEvent& event : events) {
    if (event.kind == QueueEvent::kJob) TakeJob(event);
    if (event.kind == QueueEvent::kBuried) --buried_;
  }
}

void Worker::TakeJob(const QueueEvent& event) {
  lastJob_ = Clock::now();
  HeldJob held;
  try {
    held.job = ParseJob(event.message);
  } catch (const JobError& error) {
    JobOutcome outcome;
    outcome.kind = JobOutcome::kImpossible;
    counters_.Add(outcome, 0);
    return Reject(event.number, error.what());
  }
  // The same message once more: after a lost connection, or because it was submitted twice.
  const auto running = running_.find(held.job.id);
  if (running != running_.end()) return running->second.push_back(event.number);
  if (hand_.Attach(held.job.id, event.number)) return;
  held.job.priority = event.priority;
  held.deliveries = {event.number};
  held.failures = event.failures;
  held.arrival = lastJob_;
  hand_.Add(std::move(held));
}

void Worker::Reject(std::uint64_t delivery, const std::string& error) {
  std::cerr << "velmora-worker: rejected: " << capture::Printable(error) << "\n";
  queue_.Reject(delivery, error);
  ++buried_;
}

// Tells the queue about the jobs that have ended.
void Worker::Settle() {
  wake_.Reset();
  std::vector<Ended> all;
  {
    const MutexLock lock(mutex_);
    all.swap(ended_);
  }
  std::vector<std::vector<std::uint64_t>> deliveries;
  for (const Ended& ended : all) {
    deliveries.push_back(std::move(running_[ended.id]));
    running_.erase(ended.id);
    if (ended.isGivenUp) {
      isComplete_ = false;
      deliveries.back().clear();
    } else {
      counters_.Add(ended.outcome, ended.seconds);
    }
    lastJob_ = Clock::now();
  }
  if (!counters_.isConnected) return;  // they come back, and are known then
  for (std::size_t i = 0; i < all.size(); ++i) {
    for (const std::uint64_t delivery : deliveries[i]) {
      if (all[i].outcome.kind == JobOutcome::kImpossible) {
        Reject(delivery, all[i].outcome.error);
      } else {
        queue_.Accept(delivery);
      }
    }
  }
}

void Worker::Begin() {
  while (static_cast<int>(running_.size()) < settings_.jobsAtOnce) {
    std::optional<HeldJob> next = hand_.TakeNext(Clock::now(), static_cast<int>(running_.size()));
    if (!next) return;
    running_[next->job.id] = std::move(next->deliveries);
    {
      const MutexLock lock(mutex_);
      begun_.push_back(std::move(next->job));
    }
    hasJob_.notify_one();
  }
}

bool Worker::IsDone() const {
  return stop_.IsSet() && (isStopped_ || !counters_.isConnected) && running_.empty() &&
         hand_.Count() == 0 && buried_ == 0;
}

void Worker::Report() {
  const Clock::time_point now = Clock::now();
  if (settings_.idleExit.count() > 0 && counters_.isConnected && running_.empty() &&
      hand_.Count() == 0 && now - lastJob_ >= settings_.idleExit) {
    Stop();
  }
  if (now >= nextMetrics_) {
    nextMetrics_ = now + kMetricsEvery;
    WriteMetrics();
  }
  if (now < nextReport_) return;
  nextReport_ = now + kReportEvery;
  counters_.processorSeconds = ProcessorSeconds();
  counters_.held = hand_.Count();
  counters_.running = static_cast<int>(running_.size());
  Say("last minute: " + DescribeCounters(reported_, counters_));
  reported_ = counters_;
}

// By rename, so that a reader never sees half of it.
void Worker::WriteMetrics() {
  counters_.processorSeconds = ProcessorSeconds();
  counters_.held = hand_.Count();
  counters_.running = static_cast<int>(running_.size());
  if (settings_.metricsFile.empty()) return;
  const std::string half = settings_.metricsFile + ".new";
  try {
    capture::WriteFile(half, "the metrics",
                       [&](std::ostream& out) { out << FormatMetrics(counters_); });
    std::filesystem::rename(capture::ToPath(half), capture::ToPath(settings_.metricsFile));
  } catch (const std::exception& error) {
    std::cerr << "velmora-worker: " << capture::Printable(error.what()) << "\n";
  }
}

void Worker::Say(const std::string& sentence) const {
  if (!settings_.isQuiet) std::cerr << "velmora-worker: " + sentence + "\n";
}

void Worker::Work() {
  for (;;) {
    Job job;
    {
      WaitingLock lock(mutex_);
      hasJob_.wait(lock.Native(),
                   [&]() VELMORA_REQUIRES(mutex_) { return isOver_ || !begun_.empty(); });
      if (begun_.empty()) return;
      job = std::move(begun_.front());
      begun_.pop_front();
    }
    Ended ended = DoJob(job);
    {
      const MutexLock lock(mutex_);
      ended_.push_back(std::move(ended));
    }
    wake_.Set();
  }
}

// A store that is out of reach is waited for: jobs are not at fault, and cannot be done elsewhere.
Worker::Ended Worker::DoJob(const Job& job) {
  const Clock::time_point begin = Clock::now();
  Ended ended;
  ended.id = job.id;
  BackOff backOff;
  for (int tries = 1;; ++tries) {
    std::string sentence;
    bool isStoreAtFault = false;
    try {
      ended.outcome = runner_.Do(job);
      break;
    } catch (const StoreError& error) {
      sentence = error.what();
      isStoreAtFault = true;
    } catch (const std::exception& error) {
      sentence = error.what();
    }
    std::cerr << "velmora-worker: " + capture::Printable(sentence) + "\n";
    if (!isStoreAtFault && tries == kMostTries) {
      ended.outcome.kind = JobOutcome::kImpossible;
      ended.outcome.error = sentence;
      break;
    }
    ended.isGivenUp = stop_.WaitFor(backOff.Next());
    if (ended.isGivenUp) break;
  }
  ended.seconds = SecondsSince(begin);
  return ended;
}

}  // namespace velmora::cluster
