/// @file
/// The process-wide log.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>

#include "velmora/platform/export.h"

namespace Json {
class Value;
}

namespace velmora {

/// What is logged; a bit set.
enum LogMode : std::int32_t {
  LM_None = 0,
  LM_Image = 1,  ///< directory layers and image files
  LM_Text = 2,   ///< text lines and JSON records
};

constexpr LogMode operator|(LogMode a, LogMode b) {
  return static_cast<LogMode>(static_cast<std::int32_t>(a) | static_cast<std::int32_t>(b));
}

/// Where text lines go.
enum OutputMode : std::int32_t {
  OM_File = 0,   ///< each line to the file at once
  OM_Cache = 1,  ///< into memory, until `OutputCacheLog`
};

/// Writes an image for `WriteImgLog`.
///
/// Called without any lock of the log, so it may log.
/// @param context  what was handed to `WriteImgLog`
/// @param path     where the image file belongs; its directory has been created
/// @return whether the file was written; the log does not act on it
using ImageLogWriter = bool (*)(const void* context, const char* path);

/// The process-wide log: text lines, JSON records and image files.
///
/// It is off until a configuration is applied: by an ini file (`InitLog`), or by the host
/// (`InitLogFromSetting`). A line of level n is written if the configured level is n or higher and
/// the mode has the line's bit.
///
/// Trace sites ask first and format afterwards, so that a log that is off costs a comparison and
/// evaluates no argument. The macro does both:
///
///     VELMORA_LOG_TEXT(9, "WorkPriorityInfo WorkEnd: %s", item.GetDescription().c_str());
///
/// Formats are those of the system's bounded formatting: `wvsprintfA` on Windows, `vsnprintf`
/// elsewhere. A message is cut after 1023 characters on every system. %f, %e and %g are not to be
/// used: Windows prints the letter and shifts the arguments behind it. g++ and clang++ check
/// formats against their arguments.
///
/// The object has neither constructor nor destructor to run: it may be used from other objects'
/// static construction and destruction.
///
/// @threadsafety any thread. Level and mode are read without a lock, so that a change takes effect
///               for each thread at its next test; everything else goes through one lock, and lines
///               of different threads never interleave
class VELMORA_EXPORT NxLog {
 public:
  static NxLog& GetInstance() noexcept { return instance_; }

  NxLog(const NxLog&) = delete;
  NxLog& operator=(const NxLog&) = delete;

  /// Whether something of this level and mode is to be logged. False while the log is off.
  bool AllowLogging(int level, LogMode mode) const noexcept {
    // Relaxed: the two values publish nothing but themselves.
    return level_.load(std::memory_order_relaxed) >= level &&
           (mode_.load(std::memory_order_relaxed) & mode) != 0;
  }

  /// Applies the ini file: section "BARCODECONFIG" with the keys "Path", "Level", "Mode" and
  /// "OutputMode", each empty or 0 when absent. "Path" is prefixed to the names of the log files as
  /// it stands and so ends in a separator.
  ///
  /// Does nothing if a configuration has been applied before. A file that cannot be read (or null)
  /// changes nothing, and a later call may try again.
  void InitLog(const char* iniPath);

  /// `InitLog` with the "VelmoraLogConfig.ini" of the module @p dir: in that module's directory,
  /// otherwise in the program's. See `PathHelper::GetINIPath`.
  void InitLogFromDLL(const std::string& dir);

  /// Applies a configuration without any file, whether or not there has been one before. After a
  /// call that turns the log off no thread writes a line any more.
  /// @param path  prefix of the names of the log files; null counts as ""
  void InitLogFromSetting(LogMode mode, int level, const char* path);

  void SetMode(LogMode mode) noexcept { mode_.store(mode, std::memory_order_relaxed); }
  void SetLevel(int level) noexcept { level_.store(level, std::memory_order_relaxed); }
  /// Lines that are cached already stay so until `OutputCacheLog`.
  void SetOutputMode(OutputMode mode) noexcept {
    outputMode_.store(mode, std::memory_order_relaxed);
  }

  LogMode GetMode() const noexcept {
    return static_cast<LogMode>(mode_.load(std::memory_order_relaxed));
  }
  int GetLevel() const noexcept { return level_.load(std::memory_order_relaxed); }
  OutputMode GetOutputMode() const noexcept {
    return static_cast<OutputMode>(outputMode_.load(std::memory_order_relaxed));
  }

  /// The prefix of image paths. Setting it leaves the name of the text log as configured.
  std::string GetSavePath() const;
  void SetSavePath(const std::string& path);

  /// The file into which the router module writes its own lines; nothing here does. Named by
  /// `InitLog` alone, empty before.
  std::string GetRouterLogFile() const;

  /// Writes "[TID:thread][yyyy/mm/dd hh:mm:ss]message" and a newline, to the main log file or into
  /// the cache. Does nothing unless `AllowLogging(level, LM_Text)`. What the file refuses, or the
  /// cache finds no memory for, is counted by `GetLostLineCount`.
  /// @param format  null is an empty message; a lone "%" at its end is dropped
  void WriteTextLog(int level, const char* format, ...) VELMORA_PRINTF_FORMAT(3, 4);

  /// Writes "FuncStart %s" with the formatted text.
  void WriteFuncStartLog(int level, const char* format, ...) VELMORA_PRINTF_FORMAT(3, 4);

  /// Writes "FuncEnd %s, duration %d".
  /// @param name      a format for the arguments behind @p duration
  /// @param duration  in milliseconds
  void WriteFuncEndLog(int level, const char* name, int duration, ...) VELMORA_PRINTF_FORMAT(3, 5);

  /// Appends the cached lines to the main log file and empties the cache.
  /// @return whether all went out; what the file refuses stays cached for the next call
  bool OutputCacheLog();

  /// The number of lines that could not be written and are not kept anywhere, since the process
  /// began.
  std::uint64_t GetLostLineCount() const noexcept {
    return lostLineCount_.load(std::memory_order_relaxed);
  }

  /// Files a JSON record, until `OutputJsonLog`. The caller asks `AllowLogging` first.
  ///
  /// At most 4,096 records wait: one more writes the oldest as `OutputJsonLog` does. While the file
  /// refuses, all are kept.
  /// @return the record's number, never 0, never used again in this process
  std::uint64_t AddJsonRecord(const Json::Value& record);

  /// Appends @p stage to the array "Stages" of a filed record; anything there that is no array is
  /// replaced by one.
  /// @return false if the record is not filed (any more), for example because 4,096 younger ones
  ///         are, or is no JSON object
  bool AddJsonStage(std::uint64_t recordNumber, const Json::Value& stage);

  /// Appends the filed records, oldest first, as styled text with a newline behind each, to the
  /// main log file and forgets them.
  /// @return whether all went out; records that the file refuses stay filed for the next call
  bool OutputJsonLog();

  /// Enters a directory layer: later image files go into @p dir inside the current layer.
  /// Does nothing without `LM_Image` in the mode.
  void AddDirLayer(const char* dir);

  /// Leaves the innermost layer. Does nothing without `LM_Image` or without a layer.
  void PopDirLayer();

  /// Has an image written to save path + "image name/layer/.../layer/name". The image name is the
  /// one of `SetLogImgName` and is left out while it is empty. Directories are created as needed.
  ///
  /// @param writer   called with @p context and the path
  /// @return the path; empty, without a call of @p writer, unless `AllowLogging(level, LM_Image)`
  std::string WriteImgLog(ImageLogWriter writer, const void* context, const char* name, int level);

  /// Creates one directory, whose parent exists.
  /// @return false if it exists already or cannot be created
  static bool CreatDir(const std::string& path);

 private:
  constexpr NxLog() noexcept = default;

  static NxLog instance_;

  std::atomic<std::int32_t> level_{0};
  std::atomic<std::int32_t> mode_{LM_None};
  std::atomic<std::int32_t> outputMode_{OM_File};
  std::atomic<std::uint64_t> lostLineCount_{0};
  // Whatever else the log knows stands behind its lock in the source.
};

/// `NxLog` of the process, for callers that find functions by name.
VELMORA_EXPORT void InitLog(const char* iniPath);
VELMORA_EXPORT void InitLogFromDLL(const std::string& dir);
VELMORA_EXPORT bool AllowLogging(int level, LogMode mode);

/// Sets the image name, the outermost directory of image files. Null counts as "".
VELMORA_EXPORT void SetLogImgName(const char* name);

/// `NxLog::WriteImgLog` with a formatted name, cut after 255 characters.
VELMORA_EXPORT std::string WriteImgLog(ImageLogWriter writer, const void* context, int level,
                                       const char* format, ...) VELMORA_PRINTF_FORMAT(4, 5);

}  // namespace velmora

/// Writes a text line; its arguments are evaluated only if the log wants it.
#define VELMORA_LOG_TEXT(level, ...)                                             \
  do {                                                                           \
    if (::velmora::NxLog::GetInstance().AllowLogging(level, ::velmora::LM_Text)) \
      ::velmora::NxLog::GetInstance().WriteTextLog(level, __VA_ARGS__);          \
  } while (false)
