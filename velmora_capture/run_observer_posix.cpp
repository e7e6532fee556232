#include <ctime>

#include "velmora_capture/run_observer.h"

namespace velmora::capture {

RunMoment RunMoment::Now() {
  timespec used{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &used);
  return {std::chrono::steady_clock::now(),
          std::int64_t{used.tv_sec} * 1'000'000'000 + used.tv_nsec};
}

}  // namespace velmora::capture
