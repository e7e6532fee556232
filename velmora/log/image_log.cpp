#include <cstdarg>
#include <cstddef>

#include "velmora/log/internal/log_state.h"
#include "velmora/log/log.h"
#include "velmora/platform/internal/system.h"

namespace velmora {
namespace {

using internal::GetLogState;
using internal::LogState;
using Lock = platform::SectionLock;

constexpr std::size_t kNameLimit = 255;

std::string ImagePath(const LogState& state, const char* name) VELMORA_REQUIRES(state.lock) {
  std::string path = state.savePath;
  if (!state.imageName.empty()) path += state.imageName + '/';
  for (const std::string& layer : state.directoryLayers) path += layer + '/';
  return path + (name == nullptr ? "" : name);
}

// Creates every directory on the way to a file. Those that exist already say no, as does a place
// that cannot be written; the writer finds out.
void CreateDirectoriesTo(const std::string& path) {
  for (std::size_t i = 1; i < path.size(); ++i) {
    if (platform::IsPathSeparator(path[i])) NxLog::CreatDir(path.substr(0, i));
  }
}

}  // namespace

void NxLog::AddDirLayer(const char* dir) {
  if (dir == nullptr || (GetMode() & LM_Image) == 0) return;
  LogState& state = GetLogState();
  const Lock lock(state.lock);
  WriteTextLog(9, "enter logDir %s", dir);
  state.directoryLayers.emplace_back(dir);
}

void NxLog::PopDirLayer() {
  if ((GetMode() & LM_Image) == 0) return;
  LogState& state = GetLogState();
  const Lock lock(state.lock);
  if (state.directoryLayers.empty()) return;
  WriteTextLog(9, "exist logDir %s", state.directoryLayers.back().c_str());
  state.directoryLayers.pop_back();
}

std::string NxLog::WriteImgLog(ImageLogWriter writer, const void* context, const char* name,
                               int level) {
  if (!AllowLogging(level, LM_Image)) return {};
  LogState& state = GetLogState();
  std::string path;
  {
    const Lock lock(state.lock);
    // Again: the log may have been turned off meanwhile, and its path with it.
    if (!AllowLogging(level, LM_Image)) return {};
    path = ImagePath(state, name);
  }
  CreateDirectoriesTo(path);
  if (writer != nullptr) writer(context, path.c_str());
  return path;
}

bool NxLog::CreatDir(const std::string& path) {
  return platform::MakeDirectory(path.c_str());
}

void SetLogImgName(const char* name) {
  LogState& state = GetLogState();
  const Lock lock(state.lock);
  state.imageName = name == nullptr ? "" : name;
}

std::string WriteImgLog(ImageLogWriter writer, const void* context, int level, const char* format,
                        ...) {
  if (!AllowLogging(level, LM_Image)) return {};
  char name[platform::kFormattedTextRoom];
  std::va_list arguments;
  va_start(arguments, format);
  platform::FormatText(name, format, arguments);
  va_end(arguments);
  name[kNameLimit] = '\0';
  return NxLog::GetInstance().WriteImgLog(writer, context, name, level);
}

}  // namespace velmora
