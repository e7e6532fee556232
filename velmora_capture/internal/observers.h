/// @file
/// The observers of a capture, told together.
#pragma once

#include <cstdint>
#include <vector>

#include "velmora_capture/run_observer.h"

namespace velmora::capture {

/// @threadsafety observers are added before work starts; then any thread
class Observers {
 public:
  void Add(RunObserver* observer) { observers_.push_back(observer); }

  void ThreadStarted(const char* name) const noexcept {
    for (RunObserver* observer : observers_) Tell([&] { observer->OnThreadStarted(name); });
  }
  void Ended(const RunSpan& span) const noexcept {
    for (RunObserver* observer : observers_) Tell([&] { observer->OnSpan(span); });
  }

 private:
  // What an observer throws is its own affair: the work goes on.
  template <typename Call>
  static void Tell(const Call& call) noexcept {
    try {
      call();
    } catch (...) {  // NOLINT(bugprone-empty-catch)
    }
  }

  std::vector<RunObserver*> observers_;
};

/// Tells the observers of a span when it goes out of scope.
class SpanScope {
 public:
  SpanScope(const Observers& observers, RunStage stage, const char* name, std::int64_t job,
            const basic_structures::CImageTag* tag = nullptr)
      : observers_(observers), span_{stage, name, "", job, RunMoment::Now(), {}, tag, nullptr} {}
  ~SpanScope() {
    span_.end = RunMoment::Now();
    observers_.Ended(span_);
  }
  SpanScope(const SpanScope&) = delete;
  SpanScope& operator=(const SpanScope&) = delete;

 private:
  const Observers& observers_;
  RunSpan span_;
};

}  // namespace velmora::capture
