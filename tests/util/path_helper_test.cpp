#include "tests/support/test.h"

namespace velmora {
namespace {

using testing::WriteFile;

// "\" on Windows, "/" elsewhere.
const char kSeparator = static_cast<char>(std::filesystem::path::preferred_separator);

class Paths : public ::testing::Test {
 protected:
  // Made by the library, because it takes the bytes of a name as they are.
  std::string MakeDirectory(const std::string& name) {
    EXPECT_TRUE(NxLog::CreatDir(directory / name));
    return directory / name;
  }

  // Files found, relative to `root`.
  static std::vector<std::string> Files(const std::string& root, bool recursive,
                                        const char* filter) {
    std::vector<std::string> files = GetAllFiles(root, recursive, filter)->GetVector();
    for (std::string& file : files) {
      EXPECT_EQ(file.substr(0, root.size()), root);
      file.erase(0, root.size());
      std::replace(file.begin(), file.end(), kSeparator, '/');
    }
    return files;
  }

  testing::TemporaryDirectory directory;
};

using Names = std::vector<std::string>;

TEST_F(Paths, JudgesPaths) {
  const std::string file = directory / "file";
  WriteFile(file, "");
  const std::string odd = MakeDirectory("Ma\xDF \xE4");
  for (const auto& [path, want] : {std::pair{file, PathHelper::PT_File},
                                   {odd, PathHelper::PT_Directory},
                                   {odd + kSeparator, PathHelper::PT_Directory},
                                   {directory / "nothing", PathHelper::PT_NotExist},
                                   {file + kSeparator + "x", PathHelper::PT_NotExist},
                                   {"", PathHelper::PT_NotExist}}) {
    EXPECT_EQ(PathHelper::JudgePathType(path.c_str()), want) << path;
  }
  EXPECT_EQ(PathHelper::JudgePathType(nullptr), PathHelper::PT_Invalid);
  if (ON_WINDOWS) {
    EXPECT_EQ(PathHelper::JudgePathType("NUL"), PathHelper::PT_Invalid) << "a device";
    for (const char* path : {"a*b", "\\\\no-such-server\\share\\file"}) {
      EXPECT_EQ(PathHelper::JudgePathType(path), PathHelper::PT_NotExist) << path;
    }
  }
  EXPECT_FALSE(NxLog::CreatDir(odd));  // it is there
  EXPECT_FALSE(NxLog::CreatDir(directory / "no" + kSeparator + "parent"));
}

TEST_F(Paths, RecognisesPdfByItsFirstBytes) {
  const std::string file = directory / "Ma\xDF file";
  for (const auto& [content, want] :
       {std::pair{"%PDF-1.7", true}, {"%PDF", true}, {"%PD", false}, {" %PDF", false}}) {
    SCOPED_TRACE(content);
    WriteFile(file, content);
    EXPECT_EQ(PathHelper::IsPDFFile(file.c_str()), want);
    const auto bytes = reinterpret_cast<const unsigned char*>(content);
    EXPECT_FALSE(PathHelper::IsPDFFile(bytes, 3));
    EXPECT_EQ(PathHelper::IsPDFFile(bytes, 4), want);
  }
  EXPECT_FALSE(PathHelper::IsPDFFile(nullptr, 8));
  EXPECT_FALSE(PathHelper::IsPDFFile(nullptr));
  for (const char* name : {"", "nothing"}) {
    EXPECT_FALSE(PathHelper::IsPDFFile((directory / name).c_str())) << name;
  }
}

TEST_F(Paths, CutsTheFileName) {
  for (const auto& [path, want] :
       {std::pair{"a/b\\c.png", "c.png"}, {"a\\b/c", "c"}, {"bare", "bare"}, {"directory/", ""}}) {
    EXPECT_EQ(PathHelper::GetFileNameFromFilePath(path), want);
  }
}

TEST_F(Paths, ListsFilesByNameAndExtension) {
  const std::string root = MakeDirectory("Ma\xDF \xE4");
  const std::string sub = MakeDirectory("Ma\xDF \xE4/b.png");
  for (const char* name : {"c.PNG", "a.png", "png", "e.tar.png", "f.AZ", ".png"}) {
    WriteFile(root + kSeparator + name, "");
  }
  WriteFile(sub + kSeparator + "x.png", "");
  const Names pngs = {"/.png", "/a.png", "/c.PNG", "/e.tar.png"};
  const Names all = {"/.png", "/a.png", "/c.PNG", "/e.tar.png", "/f.AZ", "/png"};
  struct Row {
    const char* filter;
    bool recursive;
    Names want;
  };
  for (const Row& row :
       {Row{nullptr, false, all}, Row{"", false, all}, Row{"png", false, pngs},
        Row{".pNg", false, pngs}, Row{"ng", false, {}}, Row{".", false, {}},
        Row{"png", true, {"/.png", "/a.png", "/b.png/x.png", "/c.PNG", "/e.tar.png"}}}) {
    SCOPED_TRACE(::testing::PrintToString(row.filter));
    EXPECT_EQ(Files(root, row.recursive, row.filter), row.want);
  }
  EXPECT_EQ(Files(root + kSeparator, false, "az"), Names{"f.AZ"}) << "no second separator";
  for (const std::string& none :
       {std::string(), root + kSeparator + "png", directory / "nothing"}) {
    EXPECT_EQ(Files(none, true, nullptr), Names()) << none;
  }
}

TEST_F(Paths, KnowsTheDirectoriesOfProgramAndModules) {
  std::string exe, core, unchanged = "before";
  NxSafeString safeCore;
  EXPECT_TRUE(PathHelper::GetEXEDirectory(exe));
  EXPECT_TRUE(PathHelper::GetDLLDirectory(CORE_FILE_NAME, core));
  EXPECT_TRUE(PathHelper::GetDLLDirectory(CORE_FILE_NAME, safeCore));
  for (const std::string& file : {exe + UTIL_TEST_FILE, core + CORE_FILE_NAME}) {
    EXPECT_EQ(PathHelper::JudgePathType(file.c_str()), PathHelper::PT_File) << file;
  }
  for (const char* missing : {"", "NoSuchModule", "NoSuchModulex86"}) {
    EXPECT_FALSE(PathHelper::GetDLLDirectory(missing, unchanged)) << missing;
    EXPECT_FALSE(PathHelper::GetDLLDirectory(missing, safeCore)) << missing;
  }
  EXPECT_FALSE(PathHelper::GetLyxDLLDirectory(unchanged));
  EXPECT_EQ(unchanged, "before");
  EXPECT_EQ(safeCore.GetString(), core);
}

TEST_F(Paths, FindsSettingsBesideTheModuleThenBesideTheProgram) {
  std::string exe, core;
  PathHelper::GetEXEDirectory(exe);
  PathHelper::GetDLLDirectory(CORE_FILE_NAME, core);
  const std::string name = "util_test.ini";
  const auto expectFound = [&name](bool want, const std::string& wantPath) {
    std::string path;
    EXPECT_EQ(PathHelper::GetINIPath(name, CORE_FILE_NAME, path), want);
    EXPECT_EQ(path, wantPath);
  };
  expectFound(false, exe + name);
  for (const std::string& place : {exe, core}) {
    WriteFile(place + name, "");
    expectFound(true, place + name);
  }
  std::string path;
  EXPECT_TRUE(PathHelper::GetINIPath(name, "NoSuchModule", path));
  EXPECT_EQ(path, exe + name);
  std::filesystem::remove(core + name);
  std::filesystem::remove(exe + name);
}

}  // namespace
}  // namespace velmora
