#include "velmora/foundation/char_array.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "velmora/foundation/core_module.h"
#include "velmora/foundation/safe_string.h"

namespace velmora {
namespace {

using basic_structures::CCoreModule;

TEST(CharArray, CopyReplacesTheOldString) {
  char* text = nullptr;
  Nx_CopyCharArray("first", &text);
  Nx_CopyCharArray("", &text);
  ASSERT_NE(text, nullptr);
  EXPECT_STREQ(text, "");
  Nx_CopyCharArray(nullptr, &text);
  EXPECT_STREQ(text, "") << "a null source changes nothing";
  Nx_CopyCharArray("x", nullptr);
  Nx_DeleteCharArray(&text);
  EXPECT_EQ(text, nullptr);
  Nx_DeleteCharArray(&text);
  Nx_DeleteCharArray(nullptr);
}

TEST(CharArray, BuffersOfTheLibraryAreFreedByEitherFunction) {
  char* text = nullptr;
  Nx_CopyCharArray("freed through FreeBytes", &text);
  CCoreModule::FreeBytes(reinterpret_cast<unsigned char*>(text));
  unsigned char* bytes = CCoreModule::AllocateBytes(2);
  ASSERT_NE(bytes, nullptr);
  std::memcpy(bytes, "A", 2);
  text = reinterpret_cast<char*>(bytes);
  Nx_DeleteCharArray(&text);
  CCoreModule::FreeBytes(nullptr);
}

TEST(CoreModule, AllocatesARealBlockForZeroBytes) {
  unsigned char* bytes = CCoreModule::AllocateBytes(0);
  EXPECT_NE(bytes, nullptr);
  CCoreModule::FreeBytes(bytes);
}

TEST(CoreModule, HasOneVersion) {
  EXPECT_STREQ(Nx_GetLibVersion(), "4.6.50.9329");
  EXPECT_EQ(Nx_GetLibVersion(), CCoreModule::GetVersion());
}

TEST(CharArray, CopyStringToBufferFillsAndMayLeaveNoTerminator) {
  struct Row {
    const char* name;
    int size;
    std::string want;  // of a buffer of ten 'x'
  };
  for (const Row& row : {Row{"shorter than the string", 4, "abcdxxxxxx"},
                         Row{"as long as the string", 6, "abcdefxxxx"},
                         Row{"longer", 10, std::string("abcdef\0\0\0\0", 10)},
                         Row{"empty", 0, "xxxxxxxxxx"}, Row{"negative", -3, "xxxxxxxxxx"}}) {
    SCOPED_TRACE(row.name);
    std::string buffer(10, 'x');
    CopyStringToBuffer("abcdef", buffer.data(), row.size);
    EXPECT_EQ(buffer, row.want);
  }
  CopyStringToBuffer("abc", nullptr, 3);
}

TEST(SafeString, CarriesItsText) {
  NxSafeString text;
  text.SetString("directory");
  NxSafeString copy(text);
  const NxSafeString moved(std::move(copy));
  copy = moved;
  EXPECT_EQ(moved.GetString(), "directory");
  EXPECT_EQ(copy.GetString(), "directory");
}

}  // namespace
}  // namespace velmora
