// What every test may use, compiled once: the check macros, the usual standard headers, the
// library's public headers, and helpers.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <limits>
#include <map>
#include <memory>
#include <mutex>
#include <new>
#include <numeric>
#include <optional>
#include <random>
#include <regex>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <tuple>
#include <type_traits>
#include <unordered_set>
#include <utility>
#include <vector>

#include "tests/support/barrier.h"
#include "tests/support/temporary_directory.h"
#include "velmora/velmora.h"

namespace velmora::testing {

// Asks a question while it dies, when no lock may be held and no list may still show it.
template <typename Base>
class Asking : public Base {
 public:
  template <typename... Arguments>
  explicit Asking(std::function<void()> ask, Arguments&&... arguments)
      : Base(std::forward<Arguments>(arguments)...), ask_(std::move(ask)) {}
  ~Asking() override { ask_(); }

 private:
  std::function<void()> ask_;
};

inline void WriteFile(const std::string& path, std::string_view bytes) {
  std::ofstream(path, std::ios::binary).write(bytes.data(), static_cast<long>(bytes.size()));
}

// Empty for a file that is not there.
inline std::string ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

// Turns the log of the process on, into a directory of its own, and off again.
class ScopedLog {
 public:
  ScopedLog(LogMode mode, int level) {
    NxLog::GetInstance().InitLogFromSetting(mode, level, (directory_ / "").c_str());
  }
  ~ScopedLog() { NxLog::GetInstance().InitLogFromSetting(LM_None, 0, ""); }
  ScopedLog(const ScopedLog&) = delete;
  ScopedLog& operator=(const ScopedLog&) = delete;

  std::string Text() const { return ReadFile(directory_ / "VelmoraScanlyx.log"); }

  // The text without the thread and time that its lines begin with.
  std::string Messages() const {
    return std::regex_replace(Text(), std::regex("\\[TID:[^\\]]*\\][^\\]]*\\]"), "");
  }

 private:
  TemporaryDirectory directory_;
};

}  // namespace velmora::testing
