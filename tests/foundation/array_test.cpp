#include "velmora/foundation/array.h"

#include <gtest/gtest.h>

#include <numeric>
#include <string>

#include "velmora/foundation/char_array.h"
#include "velmora/foundation/core_module.h"

namespace velmora {
namespace {

using basic_structures::CCoreModule;

TEST(Array, OfCharsIsACString) {
  const NxArray<char> array("hello", 4);
  EXPECT_EQ(array.GetCount(), 5U);
  EXPECT_STREQ(array.GetData(), "hell");
  EXPECT_THROW(NxArray<char>("", 0xFFFFFFFFU), std::length_error);
}

TEST(Array, CopiesOrZeroesItsElements) {
  const int values[] = {3, 1, 2};
  NxArray<int> copied(values, 3);
  copied[1] = 7;
  EXPECT_EQ(std::accumulate(copied.begin(), copied.end(), 0), 12);
  const NxArray<int> zeroed(4);
  EXPECT_EQ(std::accumulate(zeroed.begin(), zeroed.end(), 0), 0);
}

TEST(CharArray, CopyReplacesTheOldString) {
  char* text = nullptr;
  Nx_CopyCharArray("first", &text);
  Nx_CopyCharArray("", &text);
  ASSERT_NE(text, nullptr);
  EXPECT_STREQ(text, "");
  Nx_CopyCharArray(nullptr, &text);
  EXPECT_STREQ(text, "") << "a null source changes nothing";
  Nx_CopyCharArray("x", nullptr);
  const std::string own = "longer than what a heap writes into a block that it got back";
  Nx_CopyCharArray(own.c_str(), &text);
  Nx_CopyCharArray(text, &text);
  Nx_CopyCharArray(text + 2, &text);
  EXPECT_EQ(text, own.substr(2));
  for (int twice = 0; twice < 2; ++twice) {
    Nx_DeleteCharArray(&text);
    EXPECT_EQ(text, nullptr);
  }
  Nx_DeleteCharArray(nullptr);
}

TEST(CoreModule, FreesWhatItGaveEvenZeroBytes) {
  char* text = nullptr;
  Nx_CopyCharArray("freed through FreeBytes", &text);
  unsigned char* bytes = CCoreModule::AllocateBytes(0);
  ASSERT_NE(bytes, nullptr);
  CCoreModule::FreeBytes(reinterpret_cast<unsigned char*>(text));
  text = reinterpret_cast<char*>(bytes);
  Nx_DeleteCharArray(&text);
  CCoreModule::FreeBytes(nullptr);
}

TEST(CoreModule, HasTheLibrarysVersion) {
  EXPECT_STREQ(CCoreModule::GetVersion(), "4.6.50.9329");
}

TEST(CharArray, CopyStringToBufferFillsAndMayLeaveNoTerminator) {
  struct Row {
    const char* name;
    int size;
    std::string want;  // of a buffer of ten 'x'
  };
  for (const Row& row :
       {Row{"shorter than the string", 4, "abcdxxxxxx"},
        Row{"as long as the string", 6, "abcdefxxxx"},
        Row{"longer", 10, std::string("abcdef\0\0\0\0", 10)}, Row{"negative", -3, "xxxxxxxxxx"}}) {
    SCOPED_TRACE(row.name);
    std::string buffer(10, 'x');
    CopyStringToBuffer("abcdef", buffer.data(), row.size);
    EXPECT_EQ(buffer, row.want);
  }
  CopyStringToBuffer("abc", nullptr, 3);
}

}  // namespace
}  // namespace velmora
