#include "tools/cluster/hand.h"

#include <algorithm>
#include <utility>

namespace velmora::cluster {
namespace {

constexpr std::chrono::seconds kFreshPatience{60};
constexpr std::chrono::seconds kSuspectPatience{1};

}  // namespace

void Hand::Add(HeldJob job) {
  Jobs& jobs = job.failures > 0 ? suspects_ : fresh_;
  jobs.push_back(std::move(job));
}

bool Hand::Attach(const std::string& id, std::uint64_t delivery) {
  for (Jobs* jobs : {&fresh_, &suspects_}) {
    for (HeldJob& held : *jobs) {
      if (held.job.id != id) continue;
      held.deliveries.push_back(delivery);
      return true;
    }
  }
  return false;
}

std::optional<HeldJob> Hand::TakeNext(Clock::time_point now, int running) {
  isAlone_ = isAlone_ && running > 0;
  if (isAlone_) return std::nullopt;
  const bool isSuspectDue =
      !suspects_.empty() && (fresh_.empty() || now - suspects_.front().arrival >= kSuspectPatience);
  if (isSuspectDue && running > 0) return std::nullopt;
  Jobs& jobs = isSuspectDue ? suspects_ : fresh_;
  if (jobs.empty()) return std::nullopt;
  isAlone_ = isSuspectDue;
  const auto chosen = isSuspectDue ? jobs.begin() : ChooseFresh(now);
  HeldJob next = std::move(*chosen);
  jobs.erase(chosen);
  return next;
}

Hand::Jobs::iterator Hand::ChooseFresh(Clock::time_point now) {
  if (now - fresh_.front().arrival >= kFreshPatience) return fresh_.begin();
  return std::min_element(fresh_.begin(), fresh_.end(), [](const HeldJob& a, const HeldJob& b) {
    return a.job.priority < b.job.priority;
  });
}

}  // namespace velmora::cluster
