/// @file
/// Watching a capture at work.
#pragma once

#include <chrono>
#include <cstdint>

#include "velmora/geometry/quadrilateral.h"
#include "velmora/image/image_tag.h"
#include "velmora_capture/export.h"

namespace velmora::capture {

/// What a span of time was spent on.
enum class RunStage : std::uint8_t {
  kRead,      ///< an image file was read and decoded
  kConvert,   ///< an image was taken over and converted to grey
  kSchedule,  ///< the engine began with an image
  kItem,      ///< a pool thread processed a work item, the module's work included, and moved on
  kWork,      ///< a module did its work
  kReport,    ///< results were collected and handed over
};

/// A moment of a thread: by the clock, and by the processor time that the thread has used.
struct RunMoment {
  std::chrono::steady_clock::time_point time;
  std::int64_t processorNanoseconds = 0;  ///< on Windows the time of the clock

  /// The calling thread's.
  VELMORA_CAPTURE_EXPORT static RunMoment Now();
};

/// One span of one thread. The strings are valid as long as the Capture.
struct RunSpan {
  RunStage stage;
  const char* name;        ///< "read", "convert"; of work the task's full name "{definition}[task]"
  const char* workMode;    ///< of a piece of work; "" for everything else
  std::int64_t jobNumber;  ///< of the image; -1 if the span belongs to none
  RunMoment begin;
  RunMoment end;
  /// Of the image that was read or converted, null if it has none; valid for the call.
  const basic_structures::CImageTag* imageTag = nullptr;
  /// Where a piece of work looked, in pixels of the image; null for everything else.
  const basic_structures::CQuadrilateral* region = nullptr;
};

/// Is told what each thread of a `Capture` did, for statistics, traces and progress.
///
/// @threadsafety called from every thread that works for the Capture, several at once, without a
///               lock; what it throws is dropped
class RunObserver {
 public:
  RunObserver() = default;
  RunObserver(const RunObserver&) = default;
  RunObserver& operator=(const RunObserver&) = default;
  virtual ~RunObserver() = default;

  /// The calling thread begins to work under this name, before its first span: "pool 1".
  virtual void OnThreadStarted(const char* /*name*/) {}
  /// The calling thread has ended a span; or, of `kRead`, the thread of the image source of its
  /// Run.
  virtual void OnSpan(const RunSpan& span) = 0;
};

}  // namespace velmora::capture
