#include "tools/cluster/submitter.h"

namespace velmora::cluster {
namespace {

constexpr std::size_t kMostOnTheWay = 1000;  // a broker confirms many with one frame
constexpr int kSentBetweenPolls = 50;
constexpr int kPollMs = 500;

}  // namespace

bool Submitter::Run(const NextJob& next) {
  while ((hasMore_ || !open_.empty()) && !stop_.IsSet()) {
    try {
      if (!isConnected_) Connect();
      Pump(next);
    } catch (const QueueError& error) {
      if (error.IsFinal() && !wasConnected_) throw;
      isConnected_ = false;
      listener_.onTrouble(std::string(error.what()) + "; trying again");
      stop_.WaitFor(backOff_.Next());
    }
  }
  return !hasMore_ && open_.empty();
}

void Submitter::Connect() {
  queue_.Connect();
  isConnected_ = wasConnected_ = true;
  isBlocked_ = false;
  toRepeat_.clear();
  for (const auto& entry : open_) toRepeat_.push_back(entry.first);
}

// Sends some jobs and looks at what came back; waits if there is nothing to send.
void Submitter::Pump(const NextJob& next) {
  int sent = 0;
  std::uint64_t number = 0;
  while (!isBlocked_ && sent < kSentBetweenPolls && TakeNext(next, number)) {
    const Job& job = open_.at(number);
    queue_.Publish(FormatJob(job), job.priority, number);
    ++sent;
  }
  Take(queue_.Poll(-1, sent > 0 ? 0 : kPollMs));
  if (!isRefused_) return;
  isRefused_ = false;
  listener_.onTrouble("the queue is full; waiting for the workers");
  // Short enough for the heartbeats.
  stop_.WaitFor(backOff_.Next() / 4);
}

bool Submitter::TakeNext(const NextJob& next, std::uint64_t& number) {
  if (!toRepeat_.empty()) {
    number = toRepeat_.front();
    toRepeat_.pop_front();
    return true;
  }
  Job job;
  if (!hasMore_ || open_.size() >= kMostOnTheWay || stop_.IsSet()) return false;
  hasMore_ = next(job);
  if (!hasMore_) return false;
  number = ++lastNumber_;
  open_.emplace(number, std::move(job));
  return true;
}

void Submitter::Take(const std::vector<QueueEvent>& events) {
  for (const QueueEvent& event : events) {
    if (event.kind == QueueEvent::kBlocked) {
      listener_.onTrouble("the broker is short of memory or disk; waiting");
    }
    if (event.kind == QueueEvent::kBlocked || event.kind == QueueEvent::kUnblocked) {
      isBlocked_ = event.kind == QueueEvent::kBlocked;
    }
    const auto found = open_.find(event.number);
    if (found == open_.end()) continue;
    if (event.kind == QueueEvent::kRefused) {
      toRepeat_.push_back(event.number);
      isRefused_ = true;
    }
    if (event.kind == QueueEvent::kConfirmed) {
      listener_.onConfirmed(found->second);
      open_.erase(found);
      backOff_.Reset();
    }
  }
}

}  // namespace velmora::cluster
