#include "velmora_capture/run_observer.h"

namespace velmora::capture {

// The system counts the processor time of a thread in ticks of some milliseconds, longer than most
// of what is measured.
RunMoment RunMoment::Now() {
  const auto now = std::chrono::steady_clock::now();
  return {now,
          std::chrono::duration_cast<std::chrono::nanoseconds>(now.time_since_epoch()).count()};
}

}  // namespace velmora::capture
