// What only POSIX directories have: links, and entries that may not be read.

#include <sys/stat.h>
#include <unistd.h>

#include "tests/support/test.h"

namespace velmora {
namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;

// Permissions do not bind the superuser, so that tests which run as one become somebody else.
template <typename Action>
void AsSomebodyElse(Action action) {
  const bool isSuperuser = geteuid() == 0;
  EXPECT_EQ(isSuperuser ? seteuid(65534) : 0, 0);
  action();
  EXPECT_EQ(isSuperuser ? seteuid(0) : 0, 0);
}

TEST(PosixPaths, LinksAreFollowedToEachDirectoryOnceAndClosedDirectoriesAddNothing) {
  const testing::TemporaryDirectory directory;
  for (const char* name : {"a", "b", "closed", "listed"}) {
    fs::create_directory(directory / name);
    testing::WriteFile(directory / name + "/file", "");
  }
  fs::create_directory_symlink(".", directory / "a/self");
  fs::create_directory_symlink("..", directory / "a/up");
  fs::create_directory_symlink("../b", directory / "a/side");
  fs::create_directory_symlink("../a", directory / "b/side");
  fs::create_symlink("nowhere", directory / "broken");
  fs::create_symlink("round", directory / "round");
  ASSERT_EQ(mkfifo((directory / "pipe").c_str(), 0600), 0);
  fs::permissions(directory / "closed", fs::perms::none);
  fs::permissions(directory / "listed", fs::perms(0444));
  AsSomebodyElse([&] {
    const std::string root = directory.GetPath().string();
    Names files = GetAllFiles(root, true, nullptr)->GetVector();
    for (std::string& file : files) file.erase(0, root.size());
    EXPECT_EQ(files,
              (Names{"/a/file", "/a/side/file", "/broken", "/listed/file", "/pipe", "/round"}));
    EXPECT_EQ(GetAllFiles(directory / "closed", true, nullptr)->GetVector(), Names());
    for (const auto& [name, want] : {std::pair{"round", PathHelper::PT_Invalid},
                                     {"pipe", PathHelper::PT_Invalid},
                                     {"closed/file", PathHelper::PT_Invalid},
                                     {"broken", PathHelper::PT_NotExist},
                                     {"a/side", PathHelper::PT_Directory}}) {
      EXPECT_EQ(PathHelper::JudgePathType((directory / name).c_str()), want) << name;
    }
  });
  for (const char* name : {"closed", "listed"}) fs::permissions(directory / name, fs::perms::all);
}

TEST(PosixPaths, FindTheLibraryByEachOfItsNames) {
  std::string found;
  for (const char* name :
       {"VelmoraCorex86", "VelmoraCorex86.dll", "VelmoraCore", "libVelmoraCore.so",
        "libVelmoraCore.so.4", "libVelmoraCore.so.4.6.50.9329"}) {
    EXPECT_TRUE(PathHelper::GetDLLDirectory(name, found)) << name;
  }
  for (const char* name : {"Core", "libVelmora", "libVelmoraCore.so.40", "x86"}) {
    EXPECT_FALSE(PathHelper::GetDLLDirectory(name, found)) << name;
  }
}

}  // namespace
}  // namespace velmora
