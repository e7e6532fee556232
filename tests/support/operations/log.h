// Calls of the log of the process, in a folder of its own, beside counts of what it should hold.
#pragma once

#include <json/value.h>

#include <atomic>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "tests/support/operations/bytes.h"
#include "tests/support/temporary_directory.h"
#include "velmora/log/log.h"

namespace velmora::testing {

class LogScript {
 public:
  explicit LogScript(Bytes& script) : script_(script), number_(++begun_), isAlone_(++inside_ == 1) {
    folder_ = (Folder() / "").string();
    if (isAlone_) std::filesystem::remove(File());
    log_.OutputJsonLog();
    log_.OutputCacheLog();
    log_.SetOutputMode(OM_File);
    log_.InitLogFromSetting(LM_Text | LM_Image, 9, folder_.c_str());
  }
  ~LogScript() {
    log_.SetMode(LM_Image);
    while (depth_-- > 0) log_.PopDirLayer();
    SetLogImgName("");
    log_.SetOutputMode(OM_File);
    log_.InitLogFromSetting(LM_None, 0, "");
    --inside_;
  }
  LogScript(const LogScript&) = delete;
  LogScript& operator=(const LogScript&) = delete;

  void Run() {
    log_.SetMode(LM_Text);
    for (int i = 0; i < kMostSteps && !script_.IsEmpty(); ++i) Step(script_.Below(12));
    const bool all = log_.OutputCacheLog() && log_.OutputJsonLog();
    // What another thread does with the log at the same time is not known here.
    if (!IsKnown()) return;
    VELMORA_REQUIRE(all);
    std::ifstream file(File(), std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    VELMORA_REQUIRE(Count(text, "[TID:") == lines_);
    VELMORA_REQUIRE(Count(text, "\"Record\"") == static_cast<int>(records_.size()));
    VELMORA_REQUIRE(Count(text, "\"Stage\"") == stages_);
    VELMORA_REQUIRE(text.empty() || text.back() == '\n');
  }

 private:
  static constexpr int kMostSteps = 200;

  static const std::filesystem::path& Folder() {
    static const TemporaryDirectory directory;
    return directory.GetPath();
  }
  std::string File() const { return folder_ + "VelmoraScanlyx.log"; }

  static int Count(const std::string& text, const std::string& part) {
    int count = 0;
    for (std::size_t at = 0; (at = text.find(part, at)) != text.npos; ++at) ++count;
    return count;
  }

  // Fit for the name of a directory, and without what the counts look for.
  std::string Name(int longest) {
    constexpr char kLetters[] = "abc %sd~-_\xC3\xA4";
    std::string name;
    for (int left = script_.Below(longest + 1); left > 0; --left) {
      name += kLetters[script_.Byte() % (sizeof kLetters - 1)];
    }
    return name;
  }

  bool IsKnown() const { return isAlone_ && begun_ == number_; }

  bool Allows(int level, LogMode bit) {
    const bool allows = level_ >= level && (mode_ & bit) != 0;
    if (IsKnown()) VELMORA_REQUIRE(log_.AllowLogging(level, bit) == allows);
    return allows;
  }

  void Step(int operation) {
    const int level = script_.Below(11);
    switch (operation) {
      case 0: {
        const std::string text = Name(40);
        lines_ += Allows(level, LM_Text) ? 1 : 0;
        std::string longer;
        for (int i = script_.Below(64); i >= 0; --i) longer += text;
        return log_.WriteTextLog(level, "%s", longer.c_str());
      }
      case 1: {
        const std::string text = Name(8);
        lines_ += Allows(level, LM_Text) ? 2 : 0;
        log_.WriteFuncStartLog(level, "%s%%", text.c_str());
        return log_.WriteFuncEndLog(level, "%s", script_.Int(), text.c_str());
      }
      case 2:
        mode_ = script_.Below(4);
        log_.SetMode(static_cast<LogMode>(mode_));
        break;
      case 3:
        level_ = level;
        log_.SetLevel(level);
        break;
      case 4:
        return log_.SetOutputMode(static_cast<OutputMode>(script_.Below(3)));
      case 5:
        log_.OutputCacheLog();
        break;
      case 6: {
        Json::Value record(script_.Below(4) == 0 ? Json::arrayValue : Json::objectValue);
        (record.isObject() ? record["Record"] : record[0U]["Record"]) = Name(8);
        records_.push_back(log_.AddJsonRecord(record));
        isFiled_.push_back(record.isObject());
        break;
      }
      case 7:
        return AddStage(level);
      case 8:
        log_.OutputJsonLog();
        isFiled_.assign(isFiled_.size(), false);
        break;
      case 9:
        return UseLayers(level);
      case 10:
        SetLogImgName(Name(4).c_str());
        break;
      default: {
        const auto writer = [](const void* context, const char* path) {
          return context != nullptr && *path != '\0';
        };
        const bool allows = Allows(level, LM_Image);
        const std::string name = Name(8);
        const std::string path = log_.WriteImgLog(writer, this, name.c_str(), level);
        if (!IsKnown()) break;
        VELMORA_REQUIRE(path.empty() == !allows);
        VELMORA_REQUIRE(path.empty() || path.find(folder_) == 0);
      }
    }
  }

  void AddStage(int index) {
    VELMORA_REQUIRE(!log_.AddJsonStage(0, Json::Value()));
    if (records_.empty()) return;
    const std::size_t which = static_cast<std::size_t>(index) % records_.size();
    Json::Value stage;
    stage["Stage"] = script_.Int();
    const bool added = log_.AddJsonStage(records_[which], stage);
    if (IsKnown()) VELMORA_REQUIRE(added == isFiled_[which]);
    stages_ += added ? 1 : 0;
  }

  void UseLayers(int level) {
    const bool isOn = (mode_ & LM_Image) != 0;
    const bool logs = Allows(9, LM_Text);
    if (level % 3 == 0) {
      lines_ += isOn && depth_ > 0 && logs ? 1 : 0;
      log_.PopDirLayer();
      depth_ -= isOn && depth_ > 0 ? 1 : 0;
    } else if (depth_ < 4) {
      lines_ += isOn && logs ? 1 : 0;
      log_.AddDirLayer(Name(4).c_str());
      depth_ += isOn ? 1 : 0;
    }
  }

  static inline std::atomic<int> begun_{0};
  static inline std::atomic<int> inside_{0};

  Bytes& script_;
  const int number_;
  const bool isAlone_;
  NxLog& log_ = NxLog::GetInstance();
  std::string folder_;
  int mode_ = LM_Text;
  int level_ = 9;
  int lines_ = 0;
  int depth_ = 0;  // layers
  int stages_ = 0;
  std::vector<std::uint64_t> records_;
  std::vector<bool> isFiled_;
};

inline void RunLog(const std::uint8_t* bytes, std::size_t size) {
  Bytes script(bytes, size);
  LogScript(script).Run();
}

}  // namespace velmora::testing
