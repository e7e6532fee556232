#include "tests/support/test.h"

namespace velmora {
namespace {

// The modules stand in two directories, and each tells by ModulePlace() in which:
//   beside the program   Foo, Classification
//   modules/             Anchor, Foo, Needy (which needs Needed from its own directory)
enum Place : int { kNowhere = 0, kBesideProgram = 1, kBesideAnchor = 2 };

constexpr char kPlaceFunction[] = "ModulePlace";

int Call(void* function) {
  return function == nullptr ? kNowhere : reinterpret_cast<int (*)()>(function)();
}

bool IsLoaded(const std::string& moduleName) {
  std::string ignored;
  return PathHelper::GetDLLDirectory(moduleName, ignored);
}

class ModuleLoader : public ::testing::Test {
 protected:
  ModuleLoader() { PathHelper::GetEXEDirectory(programDirectory); }

  std::string ModulesFile(const char* fileName) const {
    return programDirectory + "modules" + programDirectory.back() + fileName;
  }

  // Loads a module, asks where it stands, and frees it.
  int PlaceOf(const char* moduleName, bool nameIsFileName, const char* anchorName,
              unsigned long flags = 0) {
    HINSTANCE module = nullptr;
    const int place = Call(loader.DynamicLoadDllFunc(module, moduleName, kPlaceFunction, flags,
                                                     nameIsFileName, anchorName));
    NxModuleLoaderBase::releaseModule(module);
    return place;
  }

  void* Load(HINSTANCE& module, const char* moduleName, const char* functionName) {
    return loader.DynamicLoadDllFunc(module, moduleName, functionName, 0, false, nullptr);
  }

  // Has a file in the process until it is released.
  static HINSTANCE Open(const std::string& file) {
    HINSTANCE module = nullptr;
    EXPECT_NE(NxModuleLoaderBase::loadModuleFunc(file.c_str(), kPlaceFunction, module), nullptr);
    return module;
  }

  std::string programDirectory;
  NxModuleLoaderBase loader;
};

TEST_F(ModuleLoader, LooksBesideTheAnchorThenBesideTheProgram) {
  struct Row {
    const char* name;
    bool isFileName;
    unsigned long flags;
    Place withoutAnchor, withAnchor;
  };
  const Row rows[] = {{"Foo", false, 0, kBesideProgram, kBesideAnchor},
                      {FOO_FILE, true, 0, kBesideProgram, kBesideAnchor},
                      {FOO_FILE, false, 0, kNowhere, kNowhere},  // it would get a second end
                      {"Classification", false, 0, kBesideProgram, kBesideProgram},
                      {CLASSIFICATION_FILE, true, 0, kBesideProgram, kBesideProgram},
                      // What it needs is found: LOAD_WITH_ALTERED_SEARCH_PATH, or both directories.
                      {"Needy", false, 8, kNowhere, kBesideAnchor},
                      {"Needy", false, 0x1100, kNowhere, kBesideAnchor}};
  for (const Row& row : rows) {
    EXPECT_EQ(PlaceOf(row.name, row.isFileName, "Anchor", row.flags), row.withoutAnchor)
        << row.name;
  }
  HINSTANCE anchor = Open(ModulesFile(ANCHOR_FILE));
  for (const Row& row : rows) {
    EXPECT_EQ(PlaceOf(row.name, row.isFileName, "Anchor", row.flags), row.withAnchor) << row.name;
  }
  NxModuleLoaderBase::releaseModule(anchor);
  // The directory is kept without the anchor, and whatever the anchor's name.
  EXPECT_FALSE(IsLoaded("Anchorx86"));
  EXPECT_EQ(PlaceOf("Foo", false, nullptr), kBesideAnchor);
  HINSTANCE other = Open(programDirectory + FOO_FILE);
  EXPECT_EQ(PlaceOf("Anchor", false, "Foo"), kBesideAnchor);
  NxModuleLoaderBase::releaseModule(other);
}

// Puts a directory on the search path of the system; on Linux the path is read when the program
// starts, so that a run of its own has it there.
class OnSearchPath {
 public:
  explicit OnSearchPath(const std::string& directory) {
#if defined(_WIN32)
    _putenv_s("PATH", directory.c_str());
#endif
    const char* const path = std::getenv(ON_WINDOWS ? "PATH" : "LD_LIBRARY_PATH");
    isThere = path != nullptr && directory.find(path) == 0;
  }
#if defined(_WIN32)
  ~OnSearchPath() {
    _putenv_s("PATH", before.c_str());
  }
  const std::string before = std::getenv("PATH");
#endif
  bool isThere;
};

// Flags or the switch keep modules out that somebody left where the system looks.
TEST_F(ModuleLoader, LoadsDecoysOnlyByTheSystemsSearch) {
  const testing::TemporaryDirectory directory;
  const std::string modules = ModulesFile("");
  testing::WriteFile(directory / "Planted.dll", testing::ReadFile(ModulesFile(FOO_FILE)));
  testing::WriteFile(directory / NEEDED_FILE, testing::ReadFile(ModulesFile(NEEDED_FILE)));
  std::filesystem::create_directory(directory / "needy");
  const std::string needy = directory / "needy/Needy.dll";
  testing::WriteFile(needy, testing::ReadFile(ModulesFile(NEEDY_FILE)));
  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::current_path(directory.GetPath());
  const OnSearchPath path(modules);
  struct Row {
    const char* name;
    std::string file;
    unsigned long flags;
    bool isLoaded;  // by the system's search
  };
  const Row rows[] = {
      {"current directory", "Planted.dll", 0, ON_WINDOWS},
      {"current directory", "Planted.dll", 8, ON_WINDOWS},
      {"current directory", "Planted.dll", 0x1000, false},
      {"current directory", "Planted.dll", 0x1100, false},
      {"from the current directory", "./Planted.dll", 0, true},
      {"search path", ANCHOR_FILE, 0, path.isThere},
      {"search path", ANCHOR_FILE, 0x1100, path.isThere && !ON_WINDOWS},
      {"the system's own", SYSTEM_FILE, 0x1000, true},
      {"the system's own", SYSTEM_FILE, 0x1100, !ON_WINDOWS},
  };
  for (const bool isAllowed : {true, false}) {
    NxModuleLoaderBase::SetSystemSearch(isAllowed);
    for (const Row& row : rows) {
      SCOPED_TRACE(row.name + (" by " + std::to_string(row.flags)));
      HINSTANCE module = nullptr;
      const int code = loader.LoadModule(row.file, module, row.flags, true, nullptr);
      EXPECT_EQ(code == EC_Ok, row.isLoaded && isAllowed);
      NxModuleLoaderBase::releaseModule(module);
      module = nullptr;
      if (row.flags != 0) continue;
      NxModuleLoaderBase::loadModuleFunc(row.file.c_str(), kPlaceFunction, module);
      EXPECT_EQ(module != nullptr, row.isLoaded && isAllowed);
      NxModuleLoaderBase::releaseModule(module);
    }
    // What a module needs may be a decoy, too; on Linux that is up to the program's own start.
    HINSTANCE module = nullptr;
    NxModuleLoaderBase::loadModuleFunc(needy.c_str(), kPlaceFunction, module);
    EXPECT_EQ(module != nullptr, ON_WINDOWS ? isAllowed : path.isThere);
    NxModuleLoaderBase::releaseModule(module);
    for (const unsigned long flags : {0ul, 8ul, 0x1100ul}) {
      EXPECT_EQ(PlaceOf("Foo", false, nullptr, flags), kBesideProgram);
    }
  }
  NxModuleLoaderBase::SetSystemSearch(true);
  EXPECT_NE(loader.loadModuleFunc(SYSTEM_FILE, SYSTEM_FUNCTION), nullptr);
  std::filesystem::current_path(before);
}

// A file that was cut off while it was copied, whatever is missing.
TEST_F(ModuleLoader, FilesThatAreCutShortAreNoModules) {
  const testing::TemporaryDirectory directory;
  const std::string whole = testing::ReadFile(ModulesFile(FOO_FILE));
  for (std::size_t size = 0; size < 0x3000; size += 509) {
    const std::string file = directory / std::to_string(size);
    testing::WriteFile(file, std::string_view(whole).substr(0, size));
    HINSTANCE module = nullptr;
    EXPECT_EQ(NxModuleLoaderBase::loadModuleFunc(file.c_str(), kPlaceFunction, module), nullptr);
    EXPECT_EQ(module, nullptr) << size << " of " << whole.size();
    NxModuleLoaderBase::releaseModule(module);
  }
  HINSTANCE module = Open(ModulesFile(FOO_FILE));
  NxModuleLoaderBase::releaseModule(module);
}

TEST_F(ModuleLoader, MissingModulesAndFunctionsAreNull) {
  NxModuleLoaderBaseAuto keeper;
  HINSTANCE module = nullptr;
  NxModuleLoaderBase::releaseModule(module);
  for (const auto& [name, function] : {std::pair{"NoSuchModule", kPlaceFunction},
                                       {"", kPlaceFunction},
                                       {nullptr, kPlaceFunction},
                                       {"Foo", "NoSuchFunction"},
                                       {"Foo", nullptr}}) {
    EXPECT_EQ(Load(module, name, function), nullptr);
    EXPECT_EQ(keeper.DynamicLoadDllFunc(name, function, 0, false, nullptr), nullptr);
    EXPECT_EQ(loader.loadModuleFunc(name, function), nullptr);
  }
  const HINSTANCE before = module;
  ASSERT_NE(before, nullptr);  // the module itself was found
  NxModuleLoaderBase::releaseModule(module);
  EXPECT_EQ(module, before);  // left as it was
  EXPECT_EQ(loader.LoadModule("Pagemill", module, 0, false, "Anchor"), EC_ModuleNotFound);
  EXPECT_EQ(module, nullptr);
  // The system reads an empty name, which may stand for the program.
  EXPECT_EQ(loader.LoadModule({"\0x", 2}, module, 0, true, nullptr), EC_ModuleNotFound);
}

TEST_F(ModuleLoader, ModulesByARelativePathKnowTheirDirectory) {
  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::current_path(programDirectory);
  HINSTANCE anchor = Open("modules" + ModulesFile(ANCHOR_FILE).substr(programDirectory.size() + 7));
  std::string found;
  EXPECT_TRUE(PathHelper::GetDLLDirectory("Anchorx86", found));
  EXPECT_EQ(found, ModulesFile(""));
  // Not loaded again: the file name does not matter any more.
  EXPECT_NE(NxModuleLoaderBase::loadModuleFunc("NoSuchFile", kPlaceFunction, anchor), nullptr);
  NxModuleLoaderBase::releaseModule(anchor);
  std::filesystem::current_path(before);
}

TEST_F(ModuleLoader, ThreadsLoadOnceAndAutoFreesWhenItGoes) {
  for (int round = 0; round < 20; ++round) {
    HINSTANCE shared = nullptr;
    {
      NxModuleLoaderBase fresh;  // knows no directory yet
      NxModuleLoaderBaseAuto keeper;
      testing::RunTogether(8, [&](int thread) {
        if (thread < 4) {
          EXPECT_EQ(
              Call(fresh.DynamicLoadDllFunc(shared, "Foo", kPlaceFunction, 0, false, nullptr)),
              kBesideProgram);
        } else if (thread == 4) {
          HINSTANCE own = nullptr;
          EXPECT_EQ(fresh.LoadModule("Foo", own, 0, false, nullptr), EC_Ok);
          NxModuleLoaderBase::releaseModule(own);
        } else if (thread == 7) {  // meanwhile the others find that nothing is loaded yet
          const std::lock_guard<const SyncObject> hold(fresh);
          for (int i = 0; i < 100; ++i) std::this_thread::yield();
        } else {
          const char* const name = thread == 5 ? "Foo" : "Classification";
          EXPECT_EQ(Call(keeper.DynamicLoadDllFunc(name, kPlaceFunction, 0, false, nullptr)),
                    kBesideProgram);
        }
      });
      NxModuleLoaderBase::releaseModule(shared);  // one release takes back the one load
      EXPECT_TRUE(IsLoaded("Foox86") && IsLoaded("Classification"));
    }
    ASSERT_FALSE(IsLoaded("Foox86") || IsLoaded("Classification"));
  }
}

}  // namespace
}  // namespace velmora
