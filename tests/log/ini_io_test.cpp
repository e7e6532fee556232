#include "velmora/log/ini_io.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>

#include "tests/support/temporary_directory.h"

namespace velmora {
namespace {

class Ini : public ::testing::Test {
 protected:
  bool Load(const std::string& text) {
    testing::WriteFile(directory / "x.ini", text);
    return ini.Load((directory / "x.ini").c_str());
  }

  testing::TemporaryDirectory directory;
  INI_IO ini;
};

TEST_F(Ini, ReadsSectionsKeysAndValues) {
  const std::string longLine(1'030, 'v');
  const std::string text = std::string("\xEF\xBB\xBFtop=0\r\n") +
                           "; Level = 1\n"
                           "\n"
                           " [ One ] rest\n"
                           "\t Pa th = C:\\a b\\\t c\\ \r\n"
                           "a=1\na=2\n"
                           "empty=\n"
                           "=nameless\n"
                           "twice=x=y\n"
                           "no equals sign\n"
                           "[broken\n"
                           "after=broken\n"
                           "bytes=Ma\xC3\x9F\xA0\n" +
                           ";" + longLine + "\nlong=" + longLine +
                           "\n[two]\n\v\fa=3\n[One]\nb=last";
  ASSERT_TRUE(Load(text));
  struct Row {
    const char *section, *key;
    std::string want;
  };
  for (const Row& row :
       {Row{"", "top", "0"}, Row{"One", "Path", "C:\\ab\\c\\"}, Row{"One", "a", "2"},
        Row{"One", "empty", ""}, Row{"One", "", "nameless"}, Row{"One", "twice", "x=y"},
        Row{"One", "after", "broken"}, Row{"One", "bytes", "Ma\xC3\x9F\xA0"},
        Row{"One", "long", std::string(1'018, 'v')}, Row{"One", "b", "last"}, Row{"two", "a", "3"},
        Row{"one", "a", ""}, Row{"One", "A", ""}, Row{"One", ";Level", ""},
        Row{"nothing", "a", ""}}) {
    EXPECT_EQ(ini.GetValue(row.section, row.key), row.want) << row.section << ' ' << row.key;
  }
}

TEST_F(Ini, ReadsNumbers) {
  for (const auto& [text, want] : {std::pair{"9", 9},
                                   {"-3", -3},
                                   {"+4", 4},
                                   {"12abc", 12},
                                   {"abc", 0},
                                   {"", 0},
                                   {"0x10", 0},
                                   {"1.9", 1},
                                   {"99999999999999999999", INT_MAX},
                                   {"-99999999999", INT_MIN}}) {
    ASSERT_TRUE(Load(std::string("[s]\nn=") + text));
    EXPECT_EQ(ini.GetInt("s", "n"), want) << text;
  }
  EXPECT_EQ(ini.GetInt("s", "missing"), 0);
}

TEST_F(Ini, KeepsItsContentWhenTheFileCannotBeRead) {
  ASSERT_TRUE(Load("[s]\na=1\n"));
  for (const std::string& path : {directory / "missing.ini", directory / "", std::string()})
    EXPECT_FALSE(ini.Load(path.c_str())) << path;
  EXPECT_FALSE(ini.Load(nullptr));
  EXPECT_EQ(ini.GetValue("s", "a"), "1");
  ASSERT_TRUE(Load(""));  // an empty file is a file
  EXPECT_EQ(ini.GetValue("s", "a"), "");
}

}  // namespace
}  // namespace velmora
