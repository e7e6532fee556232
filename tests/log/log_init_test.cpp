// The configuration by file, which a process takes once: one case in a program of its own.

#include "tests/support/test.h"

namespace velmora {
namespace {

using testing::WriteFile;

std::string Settings(const std::string& path, const char* rest) {
  return "[BARCODECONFIG]\nPath = " + path + "\n" + rest;
}

TEST(LogInit, TakesTheFirstFileThatCanBeRead) {
  const testing::TemporaryDirectory directory;
  const std::string path = directory / "";
  std::string pathWithoutBlanks = path;
  pathWithoutBlanks.erase(pathWithoutBlanks.find(' '), 1);
  std::filesystem::create_directory(pathWithoutBlanks);
  NxLog& log = NxLog::GetInstance();

  // The log is off, and what cannot be read leaves it so.
  InitLog(nullptr);
  InitLog((directory / "missing.ini").c_str());
  InitLogFromDLL("NoSuchModule");
  EXPECT_FALSE(AllowLogging(0, LM_Image | LM_Text));
  EXPECT_EQ(log.GetLevel(), 0);

  // Beside a module of the process.
  std::string modules;
  PathHelper::GetEXEDirectory(modules);
  modules = modules + "modules" + modules.back();
  const std::string anchor = modules + ANCHOR_FILE;
  HINSTANCE module = nullptr;
  ASSERT_NE(NxModuleLoaderBase::loadModuleFunc(anchor.c_str(), "ModulePlace", module), nullptr);
  WriteFile(modules + "VelmoraLogConfig.ini", Settings(path, "Level=5\nMode=2\nOutputMode=1\n"));
  testing::CallTogether({[] { InitLogFromDLL("Anchorx86"); }, [&] { log.GetRouterLogFile(); }});
  std::filesystem::remove(modules + "VelmoraLogConfig.ini");
  NxModuleLoaderBase::releaseModule(module);
  EXPECT_EQ(log.GetOutputMode(), OM_Cache);
  EXPECT_EQ(log.GetRouterLogFile(), pathWithoutBlanks + "VelmoraRtr.log");

  // A second file changes nothing.
  WriteFile(directory / "second.ini", Settings("elsewhere", "Level=9\nMode=3\n"));
  InitLog((directory / "second.ini").c_str());
  EXPECT_EQ(log.GetLevel(), 5);
  EXPECT_EQ(log.GetMode(), LM_Text);
  log.WriteTextLog(5, "cached");
  EXPECT_TRUE(log.OutputCacheLog());
  EXPECT_NE(testing::ReadFile(pathWithoutBlanks + "VelmoraScanlyx.log"), "");
  std::filesystem::remove_all(pathWithoutBlanks);

  // The host's settings replace everything but the router's file.
  log.InitLogFromSetting(LM_None, 0, "elsewhere/");
  EXPECT_EQ(log.GetSavePath(), "elsewhere/");
  EXPECT_EQ(log.GetRouterLogFile(), pathWithoutBlanks + "VelmoraRtr.log");
}

}  // namespace
}  // namespace velmora
