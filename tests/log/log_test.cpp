#include "velmora/log/log.h"

#include <gtest/gtest.h>
#include <json/value.h>

#include <filesystem>
#include <string>
#include <vector>

#include "tests/log/log_fixture.h"
#include "tests/support/barrier.h"
#include "tests/support/temporary_directory.h"
#include "velmora/log/json_converter.h"

namespace velmora {
namespace {

using testing::ReadFile;
using Log = testing::LogFixture;

using Lines = std::vector<std::string>;

TEST_F(Log, AsksLevelAndMode) {
  struct Row {
    int configuredLevel;
    LogMode configuredMode;
    int level;
    LogMode mode;
    bool want;
  };
  const LogMode both = LM_Image | LM_Text;
  for (const Row& row : {Row{0, LM_None, 0, LM_Text, false}, Row{0, LM_Text, 0, LM_Text, true},
                         Row{0, LM_Text, 1, LM_Text, false}, Row{9, LM_Text, 9, LM_Text, true},
                         Row{8, LM_Text, 9, LM_Text, false}, Row{9, LM_Image, 9, LM_Text, false},
                         Row{9, LM_Image, 9, both, true}, Row{9, both, 1, LM_Image, true}}) {
    SCOPED_TRACE(::testing::Message() << row.configuredLevel << ' ' << row.configuredMode << ' '
                                      << row.level << ' ' << row.mode);
    Configure(row.configuredMode, row.configuredLevel);
    EXPECT_EQ(log.AllowLogging(row.level, row.mode), row.want);
    EXPECT_EQ(AllowLogging(row.level, row.mode), row.want);
  }
}

TEST_F(Log, WritesEachLineAtOnce) {
  Configure(LM_Text, 2);
  log.WriteTextLog(2, "page %d of %s", 3, "Ma\xC3\x9F %s.pdf");
  log.WriteTextLog(3, "too detailed");
  log.WriteFuncStartLog(1, "Convert(%u)", 7u);
  log.WriteFuncEndLog(1, "Convert(%u)", 12, 7u);
  EXPECT_EQ(Messages(), (Lines{"page 3 of Ma\xC3\x9F %s.pdf", "FuncStart Convert(7)",
                               "FuncEnd Convert(7), duration 12"}));
}

TEST_F(Log, EvaluatesNoArgumentWhileOff) {
  int evaluated = 0;
  Configure(LM_Text, 8);
  VELMORA_LOG_TEXT(9, "%d", ++evaluated);
  EXPECT_EQ(evaluated, 0);
  VELMORA_LOG_TEXT(8, "%d", ++evaluated);
  EXPECT_EQ(Messages(), Lines{"1"});
}

TEST_F(Log, ThreadsDoNotInterleave) {
  constexpr int kThreads = 4, kLines = 100;
  const std::string tail(300, 'x');
  for (const OutputMode mode : {OM_File, OM_Cache}) {
    Configure(LM_Text, 1);
    log.SetOutputMode(mode);
    testing::RunTogether(kThreads, [&](int thread) {
      for (int i = 0; i < kLines; ++i) log.WriteTextLog(1, "%d %d %s", thread, i, tail.c_str());
    });
    EXPECT_TRUE(log.OutputCacheLog());
    std::vector<int> next(kThreads, 0);  // lines of one thread keep their order
    for (const std::string& message : Messages()) {
      int thread = 0, i = 0;
      char rest[400] = "";
      ASSERT_EQ(std::sscanf(message.c_str(), "%d %d %399s", &thread, &i, rest), 3) << message;
      EXPECT_EQ(i, next.at(static_cast<std::size_t>(thread))++);
      EXPECT_EQ(rest, tail);
    }
    EXPECT_EQ(next, std::vector<int>(kThreads, kLines));
    std::filesystem::remove(LogFile());
  }
}

TEST_F(Log, CutsLongMessages) {
  Configure(LM_Text, 1);
  struct Row {
    std::size_t length, want;
  };
  const Row rows[] = {{1022, 1022}, {1023, 1023}, {1024, 1023}, {5000, 1023}};
  for (const Row& row : rows) log.WriteTextLog(1, "%s", std::string(row.length, 'x').c_str());
  log.WriteFuncStartLog(1, "%s", std::string(2000, 'y').c_str());
  const Lines messages = Messages();
  ASSERT_EQ(messages.size(), 5U);
  for (std::size_t i = 0; i < 4; ++i) EXPECT_EQ(messages[i], std::string(rows[i].want, 'x'));
  EXPECT_EQ(messages[4], "FuncStart " + std::string(1013, 'y'));
}

TEST_F(Log, FormatsAlikeOnEverySystem) {
  Configure(LM_Text, 1);
  log.WriteTextLog(1, "%d|%6d|%-6d|%06d|%x|%X|%08x|%u|%c|%s|%5s|%.2s|%ld|%%", -3, 42, 42, 42, 0xBEu,
                   0xBEu, 0xBEu, 4000000000u, 'c', "text", "r", "cut", -5L);
  EXPECT_EQ(Messages(),
            Lines{"-3|    42|42    |000042|be|BE|000000be|4000000000|c|text|    r|cu|-5|%"});
}

TEST_F(Log, KeepsLinesInTheCacheUntilTheyAreAskedFor) {
  Configure(LM_Text, 1);
  log.SetOutputMode(OM_Cache);
  for (int i = 0; i < 600; ++i) log.WriteTextLog(1, "%d", i);  // more than are reserved
  EXPECT_EQ(ReadFile(LogFile()), "");
  EXPECT_TRUE(log.OutputCacheLog());
  ASSERT_EQ(Messages().size(), 600U);
  EXPECT_EQ(Messages().back(), "599");
  EXPECT_TRUE(log.OutputCacheLog());  // nothing twice
  EXPECT_EQ(Messages().size(), 600U);
}

TEST_F(Log, KeepsOrCountsWhatCannotBeWritten) {
  log.InitLogFromSetting(LM_Text, 1, (directory / "missing/").c_str());
  const std::uint64_t lost = log.GetLostLineCount();
  log.WriteTextLog(1, "lost");
  EXPECT_EQ(log.GetLostLineCount(), lost + 1);

  log.SetOutputMode(OM_Cache);
  log.WriteTextLog(1, "kept %d", 1);
  log.WriteTextLog(1, "kept %d", 2);
  EXPECT_FALSE(log.OutputCacheLog());
  const std::uint64_t record = log.AddJsonRecord(Json::Value("kept"));
  EXPECT_FALSE(log.OutputJsonLog());
  EXPECT_EQ(log.GetLostLineCount(), lost + 1);

  Configure(LM_Text, 1);
  EXPECT_TRUE(log.OutputCacheLog());
  EXPECT_EQ(Messages(), (Lines{"kept 1", "kept 2"}));
  EXPECT_FALSE(log.AddJsonStage(record, 1));  // no object, so without stages
  EXPECT_TRUE(log.OutputJsonLog());
  EXPECT_NE(ReadFile(LogFile()).find("\n\"kept\"\n"), std::string::npos);
}

TEST_F(Log, FilesJsonRecords) {
  Configure(LM_Text, 1);
  Json::Value first, second;
  first["HashId"] = "BKDR_1";
  first["Stages"] = Json::arrayValue;
  second["ImageId"] = 7;
  const std::uint64_t firstNumber = log.AddJsonRecord(first);
  const std::uint64_t secondNumber = log.AddJsonRecord(second);
  EXPECT_NE(firstNumber, secondNumber);
  EXPECT_TRUE(log.AddJsonStage(firstNumber, "binarise"));
  EXPECT_TRUE(log.AddJsonStage(firstNumber, "locate"));
  EXPECT_TRUE(log.AddJsonStage(secondNumber, 5));
  EXPECT_FALSE(log.AddJsonStage(0, 5));

  first["Stages"].append("binarise");
  first["Stages"].append("locate");
  second["Stages"].append(5);
  EXPECT_TRUE(log.OutputJsonLog());
  EXPECT_EQ(ReadFile(LogFile()), JsonConverter::GetStyledString(first) + '\n' +
                                     JsonConverter::GetStyledString(second) + '\n');
  EXPECT_FALSE(log.AddJsonStage(firstNumber, "late"));
  std::filesystem::remove(LogFile());
  EXPECT_TRUE(log.OutputJsonLog());  // forgotten
  EXPECT_EQ(ReadFile(LogFile()), "");
  EXPECT_GT(log.AddJsonRecord(first), secondNumber);
  EXPECT_TRUE(log.OutputJsonLog());
}

TEST(JsonConverter, WritesStyledText) {
  Json::Value value;
  value["b"].append(1);
  value["a"] = "x";
  EXPECT_EQ(JsonConverter::GetStyledString(value),
            "{\n\t\"a\" : \"x\",\n\t\"b\" : \n\t[\n\t\t1\n\t]\n}");
  EXPECT_EQ(JsonConverter::GetStyledString(Json::Value()), "null");
}

// An image writer that leaves its context as the file's content.
bool WriteContext(const void* context, const char* path) {
  testing::WriteFile(path, static_cast<const char*>(context));
  return true;
}

TEST_F(Log, HasImagesWrittenInTheirLayers) {
  Configure(LM_Image | LM_Text, 9);
  const std::string root = directory / "";
  EXPECT_EQ(log.WriteImgLog(WriteContext, "0", "top.png", 9), root + "top.png");
  log.AddDirLayer("localise");
  log.AddDirLayer("a/b");
  EXPECT_EQ(log.WriteImgLog(WriteContext, "1", "x.png", 9), root + "localise/a/b/x.png");
  SetLogImgName("page 1");
  EXPECT_EQ(WriteImgLog(WriteContext, "2", 9, "%s_%d.png", "y", 3),
            root + "page 1/localise/a/b/y_3.png");
  log.PopDirLayer();
  EXPECT_EQ(log.WriteImgLog(WriteContext, "3", "z/z.png", 9), root + "page 1/localise/z/z.png");
  log.PopDirLayer();
  log.PopDirLayer();  // one too many

  EXPECT_EQ(ReadFile(root + "top.png"), "0");
  EXPECT_EQ(ReadFile(root + "localise/a/b/x.png"), "1");
  EXPECT_EQ(ReadFile(root + "page 1/localise/a/b/y_3.png"), "2");
  EXPECT_EQ(ReadFile(root + "page 1/localise/z/z.png"), "3");
  EXPECT_EQ(Messages(), (Lines{"enter logDir localise", "enter logDir a/b", "exist logDir a/b",
                               "exist logDir localise"}));
}

TEST_F(Log, WritesNoImageThatIsNotWanted) {
  const ImageLogWriter never = [](const void*, const char*) {
    ADD_FAILURE();
    return true;
  };
  for (const auto& [mode, level] : {std::pair{LM_Text, 9}, std::pair{LM_Image, 3}}) {
    Configure(mode, level);
    EXPECT_EQ(log.WriteImgLog(never, nullptr, "x", 4), "");
    EXPECT_EQ(WriteImgLog(never, nullptr, 4, "%d", 1), "");
  }
  Configure(LM_Text, 9);
  log.AddDirLayer("unwanted");
  log.PopDirLayer();
  EXPECT_EQ(Messages(), Lines());
  // A name is cut to what its buffer holds.
  Configure(LM_Image, 1);
  EXPECT_EQ(WriteImgLog(nullptr, nullptr, 1, "%s", std::string(300, 'n').c_str()),
            (directory / "") + std::string(255, 'n'));
}

TEST_F(Log, SavePathsAreForImagesUntilTheNextConfiguration) {
  Configure(LM_Image | LM_Text, 1);
  log.SetSavePath(directory / "images");
  EXPECT_EQ(log.GetSavePath(), directory / "images");
  log.WriteTextLog(1, "still here");
  EXPECT_EQ(Messages(), Lines{"still here"});
  // Glued together: the path is expected to end with a separator.
  EXPECT_EQ(log.WriteImgLog(nullptr, nullptr, "x", 1), directory / "imagesx");
  log.InitLogFromSetting(LM_Text, 1, (directory / "images").c_str());
  log.WriteTextLog(1, "glued");
  EXPECT_NE(ReadFile(directory / "imagesVelmoraScanlyx.log"), "");
}

TEST_F(Log, IsReconfiguredWhileThreadsLog) {
  Configure(LM_Text, 1);
  testing::RunTogether(4, [&](int thread) {
    for (int i = 0; i < 200; ++i) {
      if (thread == 0) log.SetLevel(i % 2);
      if (thread == 1) log.SetOutputMode(i % 2 == 0 ? OM_File : OM_Cache);
      VELMORA_LOG_TEXT(1, "%d", i);
      if (i % 50 == 0) {
        SetLogImgName("x");
        log.OutputCacheLog();
        log.AddJsonRecord(i);
        log.OutputJsonLog();
      }
    }
  });
}

}  // namespace
}  // namespace velmora
