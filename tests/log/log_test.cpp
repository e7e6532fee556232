#include <json/value.h>

#include "tests/log/log_fixture.h"

namespace velmora {
namespace {

using testing::Lines;
using testing::ReadFile;
using Log = testing::LogFixture;

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
  EXPECT_TRUE(AllowLogging(2, LM_Image | LM_Text)) << "either of two";
  log.WriteTextLog(3, "too detailed");
  VELMORA_LOG_TEXT(3, "%d", ++evaluated);
  VELMORA_LOG_TEXT(2, "%d of %s", ++evaluated, "Ma\xC3\x9F %s.pdf");
  log.WriteFuncStartLog(1, "Convert(%u)", 7u);
  log.WriteFuncEndLog(2, "Convert(%u)", 12, 7u);
  EXPECT_EQ(Messages(), (Lines{"1 of Ma\xC3\x9F %s.pdf", "FuncStart Convert(7)",
                               "FuncEnd Convert(7), duration 12"}));
}

TEST_F(Log, LinesOfThreadsStayWholeAndInTheirOrder) {
  constexpr int kThreads = 4, kLines = 200;
  const std::string tail(300, 'x');
  Lines want;
  for (int i = 0; i < kThreads * kLines; ++i) {
    want.push_back(std::to_string(i / kLines) + ' ' + std::to_string(i % kLines) + tail);
  }
  for (const OutputMode mode : {OM_File, OM_Cache}) {
    std::filesystem::remove(LogFile());
    log.SetOutputMode(mode);
    testing::RunTogether(kThreads, [&](int thread) {
      for (int i = 0; i < kLines; ++i) log.WriteTextLog(1, "%d %d%s", thread, i, tail.c_str());
    });
    EXPECT_TRUE(log.OutputCacheLog());
    Lines got = Messages();
    std::stable_sort(got.begin(), got.end(), [](auto& a, auto& b) { return a[0] < b[0]; });
    EXPECT_EQ(got, want);
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
  // No literals: the compiler would refuse them.
  for (const auto& [format, text] :
       {std::pair{"100%", "100"}, {"%d of 100%", "7 of 100"}, {"%d%%", "7%"}, {nullptr, ""}}) {
    log.WriteTextLog(1, format, 7);
    want.push_back(text);
  }
  EXPECT_EQ(Messages(), want);
}

TEST_F(Log, KeepsOrCountsWhatCannotBeWritten) {
  std::filesystem::create_directories(directory / "taken/VelmoraScanlyx.log");
  std::filesystem::create_directory(directory / "vanished");
  log.InitLogFromSetting(LM_Text, 1, (directory / "vanished/").c_str());
  log.WriteTextLog(1, "gone");
  std::filesystem::remove_all(directory / "vanished");
  for (const char* place : {"missing/", "taken/", "vanished/"}) {
    SCOPED_TRACE(place);
    log.InitLogFromSetting(LM_Text, 1, (directory / place).c_str());
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
    log.SetOutputMode(OM_File);
    std::filesystem::remove(LogFile());
  }
}

TEST_F(Log, IsOneWithTheErrorTableForAllModules) {
  NxModuleLoaderBaseAuto modules;
  log.WriteTextLog(1, "told by the program");
  for (const char* module : {TELLER_ONE, TELLER_TWO}) {
    using Tell = const char* (*)(const char*);
    const auto tell =
        reinterpret_cast<Tell>(modules.DynamicLoadDllFunc(module, "Tell", 0, true, nullptr));
    ASSERT_NE(tell, nullptr) << module;
    EXPECT_EQ(tell(module), Nc_GetErrorString(EC_Timeout)) << "the very same text";
  }
  EXPECT_EQ(Messages(), (Lines{"told by the program", std::string("told by ") + TELLER_ONE,
                               std::string("told by ") + TELLER_TWO}));
  Configure(LM_Image, 1);
  EXPECT_EQ(log.WriteImgLog(nullptr, nullptr, "x", 1), directory / (TELLER_TWO "/x"));
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
  log.SetSavePath(directory / "images");  // for images alone, and glued to what follows
  EXPECT_EQ(log.WriteImgLog(WriteContext, "", "x", 1), directory / "imagesx");
  log.SetSavePath(directory / "");
  const std::string name(300, 'n');  // cut to what its buffer holds
  EXPECT_EQ(WriteImgLog(nullptr, nullptr, 9, "%s", name.c_str()), directory / name.substr(0, 255));
  EXPECT_EQ(Messages(),
            (Lines{"writing", "enter logDir localise", "enter logDir a/b", "writing", "writing",
                   "exist logDir a/b", "writing", "exist logDir localise", "writing"}));
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

// A thread that asked before the log was turned off, and writes after that.
TEST_F(Log, WritesNothingOnceItIsOff) {
  std::atomic<bool> isOver{false};
  std::atomic<int> misplaced{0};
  std::vector<std::thread> writers;
  for (int i = 0; i < 3; ++i) {
    writers.emplace_back([&] {
      while (!isOver) {
        log.WriteTextLog(1, "line");
        const std::string image = log.WriteImgLog(nullptr, nullptr, "i", 1);
        misplaced += image.find("off") != std::string::npos ? 1 : 0;
      }
    });
  }
  for (int round = 0; round < 300; ++round) {
    Configure(static_cast<LogMode>(LM_Text | LM_Image), 1);
    std::this_thread::sleep_for(std::chrono::microseconds(200));
    log.InitLogFromSetting(LM_None, 0, (directory / "off ").c_str());
  }
  isOver = true;
  for (std::thread& writer : writers) writer.join();
  EXPECT_FALSE(std::filesystem::exists(directory / "off VelmoraScanlyx.log"));
  EXPECT_EQ(misplaced, 0);
}

TEST_F(Log, LocksWhatItsOperationsShare) {
  Configure(LM_Image | LM_Text, 1);
  const std::string path = directory / "", ini = directory / "log.ini";
  testing::WriteFile(ini, "");
  SetLogImgName("an image with a long name");
  const auto enterAndLeave = [&] {
    log.AddDirLayer("a layer with a long name");
    log.PopDirLayer();
  };
  testing::CallTogether(
      {enterAndLeave, enterAndLeave, [&] { log.WriteImgLog(nullptr, nullptr, "x", 1); },
       [&] { SetLogImgName("an image with a long name"); }, [&] { log.SetSavePath(path); },
       [&] { log.GetSavePath(); }, [&] { log.InitLog(ini.c_str()); },
       [&] { log.InitLogFromSetting(LM_Image | LM_Text, 1, path.c_str()); },
       [&, i = 0]() mutable {
         log.SetOutputMode(++i % 2 == 0 ? OM_File : OM_Cache);
         log.WriteTextLog(1, "%d", i);
       },
       [&] { log.OutputCacheLog(); }, [&] { log.AddJsonRecord("record"); },
       [&] { log.OutputJsonLog(); }});
  // Relaxed, because the number must not order the two.
  std::atomic<std::uint64_t> newest{log.AddJsonRecord(Json::objectValue)};
  const auto relaxed = std::memory_order_relaxed;
  testing::CallTogether({[&] { newest.store(log.AddJsonRecord(Json::objectValue), relaxed); },
                         [&] { EXPECT_TRUE(log.AddJsonStage(newest.load(relaxed), "stage")); }});
  EXPECT_TRUE(log.OutputCacheLog() && log.OutputJsonLog());
}

}  // namespace
}  // namespace velmora
