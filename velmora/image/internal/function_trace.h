// Log lines at the start and the end of a conversion.
#pragma once

#include <chrono>

#include "velmora/log/log.h"

namespace velmora::internal {

// Writes the start line when it is made. The end line has to be asked for: a conversion that
// refuses its input leaves without one.
class FunctionTrace {
 public:
  explicit FunctionTrace(const char* name) : name_(name) {
    if (!NxLog::GetInstance().AllowLogging(kLevel, LM_Text)) return;
    isOn_ = true;
    NxLog::GetInstance().WriteFuncStartLog(kLevel, "%s", name_);
    start_ = Clock::now();
  }

  void End() const {
    if (!isOn_) return;
    const auto elapsed =
        std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start_);
    NxLog::GetInstance().WriteFuncEndLog(kLevel, "%s", static_cast<int>(elapsed.count()), name_);
  }

 private:
  using Clock = std::chrono::steady_clock;
  static constexpr int kLevel = 1;

  const char* name_;
  bool isOn_ = false;
  Clock::time_point start_;
};

}  // namespace velmora::internal
