#include "velmora/log/log.h"

#include <cstdarg>
#include <cstddef>
#include <ctime>
#include <utility>

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
constexpr std::size_t kCachedLines = 512;

std::string FormatLine(const std::string& message) {
  const std::tm now = platform::LocalTime();
  char time[128];
  std::strftime(time, sizeof time, "%Y/%m/%d %H:%M:%S", &now);
  char head[160];
  const int thread = static_cast<int>(platform::CurrentThreadId());
  std::snprintf(head, sizeof head, "[TID:%6d][%s]", thread, time);
  return head + message + '\n';
}

}  // namespace

NxLog NxLog::instance_;

void NxLog::InitLog(const char* iniPath) {
  LogState& state = GetLogState();
  const Lock lock(state.lock);
  INI_IO ini;
  if (state.initialised || !ini.Load(iniPath)) return;
  state.savePath = ini.GetValue(kConfigSection, "Path");
  state.mainLogFile = state.savePath + kMainLogName;
  state.routerLogFile = state.savePath + kRouterLogName;
  SetOutputMode(static_cast<OutputMode>(ini.GetInt(kConfigSection, "OutputMode")));
  if (GetOutputMode() == OM_Cache) state.cache.reserve(kCachedLines);
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
  state.savePath = path == nullptr ? "" : path;
  state.mainLogFile = state.savePath + kMainLogName;
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
  std::va_list arguments;
  va_start(arguments, format);
  std::string line = FormatLine(platform::FormatText(format, arguments));
  va_end(arguments);

  LogState& state = GetLogState();
  const Lock lock(state.lock);
  if (GetOutputMode() != OM_File) {
    state.cache.push_back(std::move(line));
  } else if (!internal::AppendWhole(state, line)) {
    lostLineCount_.fetch_add(1, std::memory_order_relaxed);
  }
}

void NxLog::WriteFuncStartLog(int level, const char* format, ...) {
  if (!AllowLogging(level, LM_Text)) return;
  std::va_list arguments;
  va_start(arguments, format);
  const std::string text = platform::FormatText(format, arguments);
  va_end(arguments);
  WriteTextLog(level, "FuncStart %s", text.c_str());
}

void NxLog::WriteFuncEndLog(int level, const char* name, int duration, ...) {
  if (!AllowLogging(level, LM_Text)) return;
  std::va_list arguments;
  va_start(arguments, duration);
  const std::string text = platform::FormatText(name, arguments);
  va_end(arguments);
  WriteTextLog(level, "FuncEnd %s, duration %d", text.c_str(), duration);
}

bool NxLog::OutputCacheLog() {
  LogState& state = GetLogState();
  const Lock lock(state.lock);
  std::string text;
  for (const std::string& line : state.cache) text += line;
  if (text.empty()) return true;

  text.erase(0, state.firstLineTaken);
  std::size_t taken = state.firstLineTaken + internal::AppendToMainLog(state, text);
  auto line = state.cache.begin();
  for (; line != state.cache.end() && taken >= line->size(); ++line) taken -= line->size();
  // The next call goes on in the middle of a line, should the file have refused there.
  state.firstLineTaken = taken;
  state.cache.erase(state.cache.begin(), line);
  return state.cache.empty();
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
