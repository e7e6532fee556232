#include "velmora/foundation/array.h"

#include <gtest/gtest.h>

#include <numeric>
#include <string>

namespace velmora {
namespace {

TEST(Array, OfCharsIsACString) {
  for (const char* text : {"", "hello"}) {
    const auto length = static_cast<std::uint32_t>(std::string(text).size());
    const NxArrayRef<char> array = new NxArray<char>(text, length);
    EXPECT_EQ(array->GetCount(), length + 1);
    EXPECT_STREQ(array->GetData(), text);
  }
  EXPECT_THROW(NxArray<char>("", 0xFFFFFFFFU), std::length_error);
}

TEST(Array, CopiesOrZeroesItsElements) {
  const int values[] = {3, 1, 2};
  NxArray<int> copied(values, 3);
  EXPECT_EQ(copied.GetCount(), 3U);
  copied[1] = 7;
  EXPECT_EQ(std::accumulate(copied.begin(), copied.end(), 0), 12);
  const NxArray<int> zeroed(4);
  EXPECT_EQ(std::accumulate(zeroed.begin(), zeroed.end(), 0), 0);
  EXPECT_EQ(NxArray<int>(nullptr, 0).GetCount(), 0U);
}

}  // namespace
}  // namespace velmora
