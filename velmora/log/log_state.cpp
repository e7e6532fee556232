#include <cstdio>
#include <utility>

#include "velmora/log/internal/log_state.h"

namespace velmora::internal {
namespace {

std::size_t AppendToFile(const std::string& path, const std::string& text) {
  std::FILE* file = std::fopen(path.c_str(), "ab");
  if (file == nullptr) return 0;
  // Unbuffered: one write call, so that other processes' lines do not get in between, and a count
  // that is true.
  std::setvbuf(file, nullptr, _IONBF, 0);
  const std::size_t taken = std::fwrite(text.data(), 1, text.size(), file);
  std::fclose(file);
  return taken;
}

}  // namespace

LogState& GetLogState() {
  static LogState& state = *new LogState;
  return state;
}

std::size_t AppendToMainLog(LogState& state, const std::string& text) {
  if (state.isTorn) {
    if (AppendToFile(state.mainLogFile, "\n") != 1) return 0;
    state.isTorn = false;
  }
  return AppendToFile(state.mainLogFile, text);
}

bool AppendWhole(LogState& state, const std::string& text) {
  if (std::exchange(state.firstLineTaken, 0) != 0) state.isTorn = true;
  const std::size_t taken = AppendToMainLog(state, text);
  if (taken == text.size()) return true;
  if (taken != 0) state.isTorn = true;
  return false;
}

}  // namespace velmora::internal
