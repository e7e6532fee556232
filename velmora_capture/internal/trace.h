/// @file
/// What each thread did when.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <ostream>
#include <string>
#include <vector>

namespace velmora::capture {

/// What a span of time was spent on.
enum class SpanKind : std::uint8_t {
  kRead,      ///< an image file was read and decoded
  kConvert,   ///< a picture was taken from the source and made grey
  kSchedule,  ///< the engine began with an image
  kItem,      ///< a pool thread processed a work item, the module's work included, and moved on
  kWork,      ///< a module did its work
  kReport,    ///< results were collected and written
};

/// A moment of a thread: by the clock, and by the processor time that the thread has used.
struct TraceStamp {
  std::chrono::steady_clock::time_point time;
  std::int64_t processorNanoseconds;

  static TraceStamp Now();
};

/// The spans of one thread, drawn as one lane.
///
/// @threadsafety one thread adds; read once that thread has ended
class TraceLane {
 public:
  using Clock = std::chrono::steady_clock;

  TraceLane(std::string name, bool keepsSpans) : name_(std::move(name)), keepsSpans_(keepsSpans) {}

  /// @param name   what was done; outlives the trace
  /// @param image  id of the image, or -1
  void Add(SpanKind kind, const char* name, int image, const TraceStamp& begin,
           const TraceStamp& end);

  const std::string& GetName() const { return name_; }

 private:
  friend class Trace;
  struct Span {
    SpanKind kind;
    const char* name;
    int image;
    Clock::time_point begin;
    Clock::time_point end;
  };
  struct Total {
    SpanKind kind;
    const char* name;
    std::int64_t nanoseconds;
    std::int64_t count;
  };
  std::string name_;
  bool keepsSpans_;
  std::vector<Span> spans_;
  std::vector<Total> totals_;
};

/// All lanes of a run. Single spans are measured by the clock, sums by the processor time, which does
/// not grow while others have the processor.
///
/// @threadsafety AddLane from any thread; the rest once the threads have ended
class Trace {
 public:
  struct StageTotal {
    SpanKind kind;
    std::string name;
    std::int64_t nanoseconds;
    std::int64_t count;
  };

  /// @param keepsSpans  whether single spans are kept for WriteJson; sums always are
  explicit Trace(bool keepsSpans) : keepsSpans_(keepsSpans), start_(TraceLane::Clock::now()) {}

  /// A lane for the calling thread, which `CurrentLane()` finds from now on.
  TraceLane* AddLane(const std::string& name);
  /// The lane that the calling thread added last.
  static TraceLane& CurrentLane();

  /// The sums over all lanes, in the order of the kinds.
  std::vector<StageTotal> GetTotals() const;
  std::int64_t GetNanoseconds(SpanKind kind) const;

  /// Writes the spans in the trace-event format that Perfetto and chrome://tracing open.
  void WriteJson(std::ostream& out) const;

 private:
  bool keepsSpans_;
  TraceLane::Clock::time_point start_;
  mutable std::mutex mutex_;  // guards lanes_; a lane belongs to its thread
  std::vector<std::unique_ptr<TraceLane>> lanes_;
};

/// Adds a span to the current lane when it goes out of scope.
class TraceScope {
 public:
  TraceScope(SpanKind kind, const char* name, int image)
      : kind_(kind), name_(name), image_(image), begin_(TraceStamp::Now()) {}
  ~TraceScope() { Trace::CurrentLane().Add(kind_, name_, image_, begin_, TraceStamp::Now()); }
  TraceScope(const TraceScope&) = delete;
  TraceScope& operator=(const TraceScope&) = delete;

 private:
  SpanKind kind_;
  const char* name_;
  int image_;
  TraceStamp begin_;
};

}  // namespace velmora::capture
