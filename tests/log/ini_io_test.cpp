#include "tests/support/test.h"

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
  const std::string longText(1'030, 'v');
  struct Row {
    const char* name;
    std::string text;
    const char *section, *key;
    std::string want;
  };
  for (const Row& row :
       {Row{"byte order mark", "\xEF\xBB\xBFx=0", "", "x", "0"},
        Row{"comment", "; a=1", "", ";a", ""},
        Row{"blanks", " [ s ] rest\n\t k 1 = C:\\a b\\\t c\\ \r\n", "s", "k1", "C:\\ab\\c\\"},
        Row{"blank lines", "\n\v\f\r\n\v\fa=3\n", "", "a", "3"},
        Row{"bytes above 127", "a=Ma\xC3\x9F\xA0", "", "a", "Ma\xC3\x9F\xA0"},
        Row{"no key", "=nameless", "", "", "nameless"},
        Row{"none and two equals signs", "k\na=x=y", "", "a", "x=y"},
        Row{"long line", ";" + longText + "\na=" + longText, "", "a", std::string(1'021, 'v')},
        Row{"last value", "a=1\na=2", "", "a", "2"},
        Row{"section again", "[s]\na=1\n[t]\na=2\n[s]\nb=3", "s", "a", "1"},
        Row{"section without end", "[s]\n[t\na=1", "s", "a", "1"},
        Row{"case of the section", "[s]\na=1", "S", "a", ""},
        Row{"case of the key", "[s]\na=1", "s", "A", ""}}) {
    SCOPED_TRACE(row.name);
    ASSERT_TRUE(Load(row.text));
    EXPECT_EQ(ini.GetValue(row.section, row.key), row.want);
  }
}

TEST_F(Ini, ReadsNumbers) {
  for (const auto& [text, want] : {std::pair{"12abc", 12},
                                   {"", 0},
                                   {"0x10", 0},
                                   {"010", 10},
                                   {"99999999999", INT_MAX},
                                   {"-99999999999", INT_MIN}}) {
    ASSERT_TRUE(Load(std::string("[s]\nn=") + text));
    EXPECT_EQ(ini.GetInt("s", "n"), want) << text;
  }
}

TEST_F(Ini, KeepsItsContentWhenTheFileCannotBeRead) {
  ASSERT_TRUE(Load("[s]\na=1\n"));
  for (const std::string& path : {directory / "missing.ini", directory / "", std::string()}) {
    EXPECT_FALSE(ini.Load(path.c_str())) << path;
  }
  EXPECT_FALSE(ini.Load(nullptr));
  EXPECT_EQ(ini.GetValue("s", "a"), "1");
  ASSERT_TRUE(Load(""));  // an empty file is a file
  EXPECT_EQ(ini.GetValue("s", "a"), "");
}

}  // namespace
}  // namespace velmora
