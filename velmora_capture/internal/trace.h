/// @file
/// What each thread did when.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <ostream>
#include <string>
#include <thread>
#include <vector>

#include "velmora_capture/capture.h"

#include "velmora/platform/mutex.h"

namespace velmora::capture {

/// The spans of all threads, each drawn as a lane. Single spans are measured by the clock, sums by
/// the processor time, which does not grow while others have the processor.
///
/// @threadsafety any thread
class Trace final : public RunObserver {
 public:
  /// @param keepsSpans  whether single spans are kept for WriteJson; sums always are
  explicit Trace(bool keepsSpans);
  ~Trace() override;

  void OnThreadStarted(const char* name) override;
  void OnSpan(const RunSpan& span) override;

  /// Adds a span of the thread of an image source, which has a lane of its own.
  void AddSourceSpan(const RunSpan& span);

  /// The sums over all lanes, in the order of the stages, then by name.
  std::vector<StageTime> GetStageTimes() const;

  /// Writes the spans in the trace-event format that Perfetto and chrome://tracing open.
  void WriteJson(std::ostream& out) const;

 private:
  class Lane;

  Lane& FindLane();
  void KeepName(const RunSpan& span);

  const bool keepsSpans_;
  const std::uint64_t serial_;  // no two traces of a process have the same
  const std::chrono::steady_clock::time_point start_;
  mutable Mutex mutex_;  // the lanes' contents not
  std::vector<std::unique_ptr<Lane>> lanes_
      VELMORA_GUARDED_BY(mutex_);  // in the order of their start
  std::map<std::thread::id, Lane*> byThread_ VELMORA_GUARDED_BY(mutex_);
  std::map<std::int64_t, std::string> imageNames_
      VELMORA_GUARDED_BY(mutex_);                      // by job number; of kept spans only
  Lane* source_ VELMORA_GUARDED_BY(mutex_) = nullptr;  // null until there is a span for it
};

}  // namespace velmora::capture
