#include "tools/capture/progress.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "tools/capture/system.h"

namespace velmora::capture {

std::string ProgressText(int done, int total, double seconds, int columns) {
  constexpr int kWidest = 30;
  constexpr int kNarrowest = 5;
  const double rate = seconds > 0 ? done / seconds : 0;
  char text[160];
  if (total <= 0) {
    std::snprintf(text, sizeof text, "%d images, %.1f images/s", done, rate);
  } else if (rate <= 0) {
    std::snprintf(text, sizeof text, "%d/%d, 0.0 images/s", done, total);
  } else {
    std::snprintf(text, sizeof text, "%d/%d, %.1f images/s, %.0f s left", done, total, rate,
                  std::ceil(std::max(0, total - done) / rate));
  }
  std::string line = text;
  // A character in the last column would move some terminals on to the next line.
  const int room = columns - 1 - static_cast<int>(line.size()) - 3;  // beside "[", "]" and " "
  const int width = std::min(kWidest, room);
  if (total > 0 && width >= kNarrowest) {
    const auto filled =
        static_cast<std::size_t>(std::min<std::int64_t>(width, std::int64_t{done} * width / total));
    line = "[" + std::string(filled, '#') +
           std::string(static_cast<std::size_t>(width) - filled, ' ') + "] " + line;
  }
  return line.substr(0, static_cast<std::size_t>(std::max(0, columns - 1)));
}

ProgressBar::ProgressBar(int total, bool isWanted)
    : isTerminal_(isWanted && IsTerminal(StandardStream::kError)), total_(total) {}

void ProgressBar::Show(int done) {
  if (!isTerminal_ || Clock::now() < next_) return;
  const std::chrono::duration<double> elapsed = Clock::now() - start_;
  std::fprintf(stderr, "\r%s\x1b[K",
               ProgressText(done, total_, elapsed.count(), GetTerminalWidth()).c_str());
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
