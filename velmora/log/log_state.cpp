#include <cstdio>
#include <utility>

#include "velmora/log/internal/log_state.h"

namespace velmora::internal {
namespace {

constexpr std::size_t kCachedLines = 512;
constexpr std::size_t kCachedText = kCachedLines * 128;

std::size_t AppendToFile(const std::string& path, std::string_view text) {
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

void CacheLine(LogState& state, std::string_view line) {
  // The room for its end first, because nothing may fail once the text is there.
  std::vector<std::size_t>& ends = state.lineEnds;
  if (ends.size() == ends.capacity()) ends.reserve(2 * ends.size() + kCachedLines);
  state.cache.append(line);
  ends.push_back(state.cache.size());
}

void ReserveCache(LogState& state) {
  state.lineEnds.reserve(kCachedLines);
  state.cache.reserve(kCachedText);
}

void TrimCache(LogState& state) {
  if (state.cache.capacity() > 16 * kCachedText) std::string().swap(state.cache);
}

std::size_t AppendToMainLog(LogState& state, std::string_view text) {
  if (state.isTorn) {
    if (AppendToFile(state.mainLogFile, "\n") != 1) return 0;
    state.isTorn = false;
  }
  return AppendToFile(state.mainLogFile, text);
}

bool AppendWhole(LogState& state, std::string_view text) {
  if (std::exchange(state.firstLineTaken, 0) != 0) state.isTorn = true;
  const std::size_t taken = AppendToMainLog(state, text);
  if (taken == text.size()) return true;
  if (taken != 0) state.isTorn = true;
  return false;
}

}  // namespace velmora::internal
