#include "tools/capture/progress.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "tools/capture/system.h"

namespace velmora::capture {

std::string ProgressText(int done, int total, double seconds) {
  constexpr int kWidth = 30;
  const double rate = seconds > 0 ? done / seconds : 0;
  char text[160];
  if (total <= 0) {
    std::snprintf(text, sizeof text, "%d images, %.1f images/s", done, rate);
    return text;
  }
  const auto filled =
      static_cast<std::size_t>(std::min<std::int64_t>(kWidth, std::int64_t{done} * kWidth / total));
  const std::string bar = std::string(filled, '#') + std::string(kWidth - filled, ' ');
  std::snprintf(text, sizeof text, "[%s] %d/%d, %.1f images/s", bar.c_str(), done, total, rate);
  if (rate <= 0) return text;
  char left[48];
  std::snprintf(left, sizeof left, ", %.0f s left", std::ceil((total - done) / rate));
  return std::string(text) + left;
}

ProgressBar::ProgressBar(int total)
    : isTerminal_(IsTerminal(StandardStream::kError)), total_(total) {}

void ProgressBar::Show(int done) {
  if (!isTerminal_ || Clock::now() < next_) return;
  const std::chrono::duration<double> elapsed = Clock::now() - start_;
  std::fprintf(stderr, "\r%s\x1b[K", ProgressText(done, total_, elapsed.count()).c_str());
  std::fflush(stderr);
  isShown_ = true;
  next_ = Clock::now() + std::chrono::milliseconds(100);
}

void ProgressBar::Clear() {
  if (!isShown_) return;
  std::fprintf(stderr, "\r\x1b[K");
  std::fflush(stderr);
  isShown_ = false;
}

}  // namespace velmora::capture
