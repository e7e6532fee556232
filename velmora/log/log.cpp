#include "velmora/log/log.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdarg>
#include <cstddef>
#include <ctime>
#include <iterator>
#include <new>
#include <string_view>

#include "velmora/log/ini_io.h"
#include "velmora/log/internal/log_state.h"
#include "velmora/platform/internal/system.h"
#include "velmora/util/path_helper.h"

namespace velmora {
namespace {

using internal::GetLogState;
using internal::LogState;
using Lock = platform::SectionLock;

constexpr char kMainLogName[] = "VelmoraScanlyx.log";
constexpr char kRouterLogName[] = "VelmoraRtr.log";
constexpr char kConfigName[] = "VelmoraLogConfig.ini";
constexpr char kConfigSection[] = "BARCODECONFIG";

constexpr std::size_t kNumberRoom = 11;
constexpr std::size_t kHeadRoom = sizeof "[TID:     ][/mm/dd hh:mm:ss]" + 2 * kNumberRoom;

template <std::size_t kLength>
char* WriteLiteral(char* out, const char (&text)[kLength]) {
  return std::copy_n(text, kLength - 1, out);
}

char* WriteNumber(char* out, int value) {
  return std::to_chars(out, out + kNumberRoom, value).ptr;
}

char* WriteTwoDigits(char* out, char before, int value) {
  out[0] = before;
  out[1] = static_cast<char>('0' + value / 10);
  out[2] = static_cast<char>('0' + value % 10);
  return out + 3;
}

// Digit by digit: strftime and snprintf took more time than the rest of a cached line.
char* WriteHead(char* out) {
  const std::tm now = platform::LocalTime();
  const int thread = static_cast<int>(platform::CurrentThreadId());
  out = WriteLiteral(out, "[TID:");
  for (const int power : {100'000, 10'000, 1'000, 100, 10}) {
    if (thread < power) *out++ = ' ';
  }
  out = WriteNumber(out, thread);
  out = WriteLiteral(out, "][");
  out = WriteNumber(out, now.tm_year + 1900);
  out = WriteTwoDigits(out, '/', now.tm_mon + 1);
  out = WriteTwoDigits(out, '/', now.tm_mday);
  out = WriteTwoDigits(out, ' ', now.tm_hour);
  out = WriteTwoDigits(out, ':', now.tm_min);
  out = WriteTwoDigits(out, ':', now.tm_sec);
  *out++ = ']';
  return out;
}

}  // namespace

NxLog NxLog::instance_;

void NxLog::InitLog(const char* iniPath) {
  LogState& state = GetLogState();
  const Lock lock(state.lock);
  INI_IO ini;
  if (state.initialised || !ini.Load(iniPath)) return;
  std::string savePath = ini.GetValue(kConfigSection, "Path");
  state.routerLogFile = savePath + kRouterLogName;
  state.mainLogFile = savePath + kMainLogName;
  state.savePath.swap(savePath);
  SetOutputMode(static_cast<OutputMode>(ini.GetInt(kConfigSection, "OutputMode")));
  if (GetOutputMode() == OM_Cache) internal::ReserveCache(state);
  SetMode(static_cast<LogMode>(ini.GetInt(kConfigSection, "Mode")));
  SetLevel(ini.GetInt(kConfigSection, "Level"));
  state.initialised = true;
}

void NxLog::InitLogFromDLL(const std::string& dir) {
  std::string path;
  if (PathHelper::GetINIPath(kConfigName, dir, path)) InitLog(path.c_str());
}

void NxLog::InitLogFromSetting(LogMode mode, int level, const char* path) {
  LogState& state = GetLogState();
  const Lock lock(state.lock);
  std::string savePath = path == nullptr ? "" : path;
  state.mainLogFile = savePath + kMainLogName;  // nothing has changed if there is no memory
  state.savePath.swap(savePath);
  state.isTorn = false;
  state.firstLineTaken = 0;
  SetMode(mode);
  SetLevel(level);
  state.initialised = true;
}

std::string NxLog::GetSavePath() const {
  LogState& state = GetLogState();
  const Lock lock(state.lock);
  return state.savePath;
}

void NxLog::SetSavePath(const std::string& path) {
  LogState& state = GetLogState();
  const Lock lock(state.lock);
  state.savePath = path;
}

std::string NxLog::GetRouterLogFile() const {
  LogState& state = GetLogState();
  const Lock lock(state.lock);
  return state.routerLogFile;
}

void NxLog::WriteTextLog(int level, const char* format, ...) {
  if (!AllowLogging(level, LM_Text)) return;
  char line[kHeadRoom + platform::kFormattedTextRoom];
  const int callersError = errno;
  char* end = WriteHead(line);
  errno = callersError;  // for "%m": finding the time zone may have failed
  std::va_list arguments;
  va_start(arguments, format);
  end += platform::FormatText(end, format, arguments);
  va_end(arguments);
  *end++ = '\n';
  const std::string_view text(line, static_cast<std::size_t>(end - line));

  LogState& state = GetLogState();
  const Lock lock(state.lock);
  // Again: the log may have been turned off meanwhile, and its path with it.
  if (!AllowLogging(level, LM_Text)) return;
  if (GetOutputMode() != OM_File) {
    try {
      internal::CacheLine(state, text);
    } catch (const std::bad_alloc&) {
      lostLineCount_.fetch_add(1, std::memory_order_relaxed);
    }
  } else if (!internal::AppendWhole(state, text)) {
    lostLineCount_.fetch_add(1, std::memory_order_relaxed);
  }
}

void NxLog::WriteFuncStartLog(int level, const char* format, ...) {
  if (!AllowLogging(level, LM_Text)) return;
  char text[platform::kFormattedTextRoom];
  std::va_list arguments;
  va_start(arguments, format);
  platform::FormatText(text, format, arguments);
  va_end(arguments);
  WriteTextLog(level, "FuncStart %s", text);
}

void NxLog::WriteFuncEndLog(int level, const char* name, int duration, ...) {
  if (!AllowLogging(level, LM_Text)) return;
  char text[platform::kFormattedTextRoom];
  std::va_list arguments;
  va_start(arguments, duration);
  platform::FormatText(text, name, arguments);
  va_end(arguments);
  WriteTextLog(level, "FuncEnd %s, duration %d", text, duration);
}

bool NxLog::OutputCacheLog() {
  LogState& state = GetLogState();
  const Lock lock(state.lock);
  if (state.cache.empty()) return true;
  const std::string_view text = std::string_view(state.cache).substr(state.firstLineTaken);
  const std::size_t taken = state.firstLineTaken + internal::AppendToMainLog(state, text);
  const auto line = std::upper_bound(state.lineEnds.begin(), state.lineEnds.end(), taken);
  const std::size_t whole = line == state.lineEnds.begin() ? 0 : *std::prev(line);
  // The next call goes on in the middle of a line, should the file have refused there.
  state.firstLineTaken = taken - whole;
  state.cache.erase(0, whole);
  state.lineEnds.erase(state.lineEnds.begin(), line);
  for (std::size_t& end : state.lineEnds) end -= whole;
  if (!state.cache.empty()) return false;
  internal::TrimCache(state);
  return true;
}

void InitLog(const char* iniPath) {
  NxLog::GetInstance().InitLog(iniPath);
}

void InitLogFromDLL(const std::string& dir) {
  NxLog::GetInstance().InitLogFromDLL(dir);
}

bool AllowLogging(int level, LogMode mode) {
  return NxLog::GetInstance().AllowLogging(level, mode);
}

}  // namespace velmora
