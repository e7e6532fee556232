/// @file
/// How far the run has come, on a terminal.
#pragma once

#include <chrono>
#include <string>

namespace velmora::capture {

/// A bar with rate and time left on standard error, redrawn a few times a second; nothing at all
/// when standard error is no terminal.
///
/// @threadsafety one thread
class ProgressBar {
 public:
  /// @param total  how many images there will be; 0 if that is unknown
  /// @param isWanted  false for no bar at all
  ProgressBar(int total, bool isWanted);
  ~ProgressBar() { Clear(); }
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;

  /// Draws the bar if it is due.
  void Show(int done);
  /// Removes the bar, so that a line can be printed.
  void Clear();

 private:
  using Clock = std::chrono::steady_clock;
  const bool isTerminal_;
  const int total_;
  const Clock::time_point start_ = Clock::now();
  Clock::time_point next_ = start_;
  bool isShown_ = false;
};

/// The text of the bar, as "[####      ] 4/10, 12.5 images/s, 1 s left", in one line of a terminal:
/// where there is no room for all of it, the bar shrinks first, then it goes, then the text is cut.
/// @param columns  of the terminal
std::string ProgressText(int done, int total, double seconds, int columns);

}  // namespace velmora::capture
