#include "velmora/log/log.h"

#include <gtest/gtest.h>
#include <json/value.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <thread>

#include "tests/log/log_fixture.h"
#include "tests/support/barrier.h"

namespace velmora {
namespace {

using testing::Lines;
using testing::ReadFile;
using Log = testing::LogFixture;

TEST_F(Log, AsksLevelAndMode) {
  struct Row {
    const char* name;
    LogMode configured, asked;
    int level;
    bool want;
  };
  const LogMode both = LM_Image | LM_Text;
  for (const Row& row :
       {Row{"off", LM_None, LM_Text, 0, false}, Row{"same level", LM_Text, LM_Text, 8, true},
        Row{"too detailed", LM_Text, LM_Text, 9, false},
        Row{"another mode", LM_Image, LM_Text, 8, false},
        Row{"either of two", LM_Image, both, 8, true},
        Row{"one of two", both, LM_Image, 1, true}}) {
    Configure(row.configured, 8);
    EXPECT_EQ(AllowLogging(row.level, row.asked), row.want) << row.name;
  }
}

TEST_F(Log, StampsLinesWithThreadAndLocalTime) {
  std::string before, after;
  std::thread([&] {
    before = testing::LineHead();
    log.WriteTextLog(1, "x");
    after = testing::LineHead();
  }).join();
  const std::string line = ReadFile(LogFile());  // one newline byte, no carriage return
  EXPECT_TRUE(line == before + "x\n" || line == after + "x\n") << line << before;
}

TEST_F(Log, WritesEachLineAtOnceAndEvaluatesNothingForOthers) {
  Configure(LM_Text, 2);
  int evaluated = 0;
  log.WriteTextLog(3, "too detailed");
  VELMORA_LOG_TEXT(3, "%d", ++evaluated);
  VELMORA_LOG_TEXT(2, "%d of %s", ++evaluated, "Ma\xC3\x9F %s.pdf");
  log.WriteFuncStartLog(1, "Convert(%u)", 7u);
  log.WriteFuncEndLog(2, "Convert(%u)", 12, 7u);
  EXPECT_EQ(Messages(), (Lines{"1 of Ma\xC3\x9F %s.pdf", "FuncStart Convert(7)",
                               "FuncEnd Convert(7), duration 12"}));
}

TEST_F(Log, ThreadsDoNotInterleaveNorLoseTheOrderOfTheirLines) {
  constexpr int kThreads = 4, kLines = 200;
  const std::string tail(300, 'x');
  Lines want;
  for (int i = 0; i < kThreads * kLines; ++i)
    want.push_back(std::to_string(i / kLines) + ' ' + std::to_string(i % kLines) + tail);
  for (const OutputMode mode : {OM_File, OM_Cache}) {
    log.SetOutputMode(mode);
    testing::RunTogether(kThreads, [&](int thread) {
      for (int i = 0; i < kLines; ++i) log.WriteTextLog(1, "%d %d%s", thread, i, tail.c_str());
    });
    EXPECT_EQ(ReadFile(LogFile()).empty(), mode == OM_Cache);
    for (int twice = 0; twice < 2; ++twice) {
      EXPECT_TRUE(log.OutputCacheLog());
      Lines got = Messages();
      std::stable_sort(got.begin(), got.end(),
                       [](const auto& a, const auto& b) { return a[0] < b[0]; });
      EXPECT_EQ(got, want);
    }
    std::filesystem::remove(LogFile());
  }
}

TEST_F(Log, FormatsAlikeOnEverySystem) {
  log.WriteTextLog(1, "%d|%6d|%-6d|%06d|%x|%X|%08x|%u|%c|%s|%5s|%.2s|%ld|%%", -3, 42, 42, 42, 0xBEu,
                   0xBEu, 0xBEu, 4000000000u, 'c', "text", "r", "cut", -5L);
  Lines want = {"-3|    42|42    |000042|be|BE|000000be|4000000000|c|text|    r|cu|-5|%"};
  for (const std::size_t length : {1023u, 1024u, 5000u}) {  // 1023 are kept
    log.WriteTextLog(1, "%s", std::string(length, 'x').c_str());
    want.push_back(std::string(1023, 'x'));
  }
  log.WriteFuncStartLog(1, "%s %%s", std::string(2000, 'y').c_str());
  want.push_back("FuncStart " + std::string(1013, 'y'));
  EXPECT_EQ(Messages(), want);
}

TEST_F(Log, FormatsWithoutAnEndAreCutAndNullIsEmpty) {
  // Not literals, which the compiler would refuse.
  for (const char* const format : {"100%", "%d of 100%", "%d%%", static_cast<const char*>(nullptr)})
    log.WriteTextLog(1, format, 7);
  EXPECT_EQ(Messages(), (Lines{"100", "7 of 100", "7%", ""}));
}

TEST_F(Log, KeepsOrCountsWhatCannotBeWritten) {
  log.InitLogFromSetting(LM_Text, 1, (directory / "missing/").c_str());
  const std::uint64_t lost = log.GetLostLineCount();
  log.WriteTextLog(1, "lost");
  log.SetOutputMode(OM_Cache);
  log.WriteTextLog(1, "kept");
  EXPECT_FALSE(log.OutputCacheLog());
  log.AddJsonRecord(Json::Value("record"));
  EXPECT_FALSE(log.OutputJsonLog());
  EXPECT_EQ(log.GetLostLineCount(), lost + 1);

  Configure(LM_Text, 1);
  EXPECT_TRUE(log.OutputCacheLog());
  EXPECT_TRUE(log.OutputJsonLog());
  EXPECT_EQ(Messages(), (Lines{"kept", "odd line \"record\""}));
}

TEST_F(Log, FilesJsonRecordsWithTheirStages) {
  Json::Value full, bare;
  full["HashId"] = "BKDR_1";
  full["Stages"] = Json::arrayValue;
  bare["Stages"] = 7;
  const std::uint64_t first = log.AddJsonRecord(full), second = log.AddJsonRecord(bare),
                      third = log.AddJsonRecord(Json::Value()), fourth = log.AddJsonRecord(4);
  EXPECT_TRUE(log.AddJsonStage(first, "binarise") && log.AddJsonStage(second, 5) &&
              log.AddJsonStage(first, "locate") && log.AddJsonStage(third, 5));
  EXPECT_FALSE(log.AddJsonStage(0, 5));
  EXPECT_FALSE(log.AddJsonStage(fourth, 5));  // no object, so without stages

  const std::string bareText = "{\n\t\"Stages\" : \n\t[\n\t\t5\n\t]\n}\n";
  const std::string fullText =
      "{\n\t\"HashId\" : \"BKDR_1\",\n\t\"Stages\" : "
      "\n\t[\n\t\t\"binarise\",\n\t\t\"locate\"\n\t]\n}\n";
  for (int twice = 0; twice < 2; ++twice) {
    EXPECT_TRUE(log.OutputJsonLog());
    EXPECT_EQ(ReadFile(LogFile()), fullText + bareText + bareText + "4\n") << "and forgets them";
  }
  EXPECT_FALSE(log.AddJsonStage(first, "late"));
  EXPECT_GT(log.AddJsonRecord(full), fourth);
  EXPECT_TRUE(log.OutputJsonLog());
}

TEST_F(Log, WritesTheOldestJsonRecordsWhenTooManyWait) {
  const std::uint64_t first = log.AddJsonRecord(Json::objectValue);
  for (int i = 1; i < 4'096; ++i) log.AddJsonRecord(i);
  EXPECT_TRUE(log.AddJsonStage(first, "in time"));
  log.InitLogFromSetting(LM_Text, 1, (directory / "missing/").c_str());
  log.AddJsonRecord(4'096);
  EXPECT_TRUE(log.AddJsonStage(first, "kept, for the file refuses")) << "so all are kept";
  Configure(LM_Text, 1);
  EXPECT_EQ(ReadFile(LogFile()), "");
  log.AddJsonRecord(4'097);
  EXPECT_FALSE(log.AddJsonStage(first, "too late"));
  const std::string text = ReadFile(LogFile());
  EXPECT_EQ(text.substr(text.rfind('}')), "}\n1\n");
  EXPECT_TRUE(log.OutputJsonLog());
}

// An image writer that leaves its context as the file's content. Another thread may log meanwhile.
bool WriteContext(const void* context, const char* path) {
  std::thread([] { VELMORA_LOG_TEXT(1, "writing"); }).join();
  testing::WriteFile(path, static_cast<const char*>(context));
  return true;
}

TEST_F(Log, HasImagesWrittenInTheirLayers) {
  Configure(LM_Image | LM_Text, 9);
  const auto expectImage = [this](const std::string& path, const char* name) {
    EXPECT_EQ(log.WriteImgLog(WriteContext, path.c_str(), name, 9), directory / path);
    EXPECT_EQ(ReadFile(directory / path), path);
  };
  expectImage("top.png", "top.png");
  log.AddDirLayer("localise");
  log.AddDirLayer("a/b");
  log.AddDirLayer(nullptr);
  expectImage("localise/a/b/x.png", "x.png");
  SetLogImgName("page 1");
  expectImage("page 1/localise/a/b/y_3.png", "y_3.png");
  log.PopDirLayer();
  expectImage("page 1/localise/z/z.png", "z/z.png");
  log.PopDirLayer();
  log.PopDirLayer();  // one too many
  SetLogImgName(nullptr);
  EXPECT_EQ(WriteImgLog(nullptr, nullptr, 9, "%s_%d.png", "y", 3), directory / "y_3.png");
  EXPECT_EQ(log.WriteImgLog(nullptr, nullptr, nullptr, 9), directory / "");
  const std::string name(300, 'n');  // cut to what its buffer holds
  EXPECT_EQ(WriteImgLog(nullptr, nullptr, 9, "%s", name.c_str()), directory / name.substr(0, 255));
  EXPECT_EQ(Messages(), (Lines{"writing", "enter logDir localise", "enter logDir a/b", "writing",
                               "writing", "exist logDir a/b", "writing", "exist logDir localise"}));
}

TEST_F(Log, WritesNoImageThatIsNotWanted) {
  for (const auto& [mode, level] : {std::pair{LM_Image, 3}, std::pair{LM_Text, 9}}) {
    Configure(mode, level);
    EXPECT_EQ(log.WriteImgLog(nullptr, nullptr, "x", 4), "");
    EXPECT_EQ(WriteImgLog(nullptr, nullptr, 4, "x"), "");
    log.AddDirLayer("layer");  // only where images are logged
    if (mode == LM_Text) log.PopDirLayer();
  }
  EXPECT_EQ(Messages(), Lines());
  Configure(LM_Image, 9);
  EXPECT_EQ(log.WriteImgLog(nullptr, nullptr, "x", 4), directory / "layer/x");
  log.PopDirLayer();
}

TEST_F(Log, SavePathsAreForImagesAlone) {
  Configure(LM_Image | LM_Text, 1);
  log.SetSavePath(directory / "images");
  log.WriteTextLog(1, "still here");
  EXPECT_EQ(Messages(), Lines{"still here"});
  // Glued together: the path is expected to end with a separator.
  EXPECT_EQ(log.WriteImgLog(nullptr, nullptr, "x", 1), directory / "imagesx");
}

TEST_F(Log, IsReconfiguredWhileThreadsLog) {
  testing::RunTogether(4, [&](int thread) {
    for (int i = 0; i < 200; ++i) {
      if (thread == 0) log.SetLevel(i % 2);
      if (thread == 1) log.SetOutputMode(i % 2 == 0 ? OM_File : OM_Cache);
      VELMORA_LOG_TEXT(1, "%d", i);
      if (i % 50 != 0) continue;
      SetLogImgName("x");
      log.OutputCacheLog();
      log.AddJsonRecord(i);
      log.OutputJsonLog();
    }
  });
}

}  // namespace
}  // namespace velmora
