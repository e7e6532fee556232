#include "velmora/image/text_block.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace velmora {
namespace {

TEST(TextBlock, CopiesAndMovesCarryEveryField) {
  TextBlock block;
  EXPECT_STREQ(block.GetText(), "");
  EXPECT_EQ(block.GetFirstReaderNumber() + block.GetSecondReaderNumber(), 0);
  const std::string text(100, 't');
  block.SetText(text.c_str());
  block.SetLocation({{{1, 2}, {3, 4}, {5, 6}, {7, 8}}});
  block.SetFirstReaderNumber(11);
  block.SetSecondReaderNumber(22);

  TextBlock copy(block);
  TextBlock copyAssigned;
  copyAssigned = block;
  TextBlock moved(std::move(block));
  TextBlock moveAssigned;
  moveAssigned = std::move(copy);
  for (const TextBlock* other : {&copyAssigned, &moved, &moveAssigned}) {
    EXPECT_EQ(other->GetText(), text);
    EXPECT_EQ(other->GetLocation()[3][1], 8);
    EXPECT_EQ(other->GetFirstReaderNumber(), 11);
    EXPECT_EQ(other->GetSecondReaderNumber(), 22);
  }
}

TEST(TextBlock, TakesItsOwnTextAndNone) {
  TextBlock block;
  block.SetText("abcdef");
  block.SetText(block.GetText() + 2);
  EXPECT_STREQ(block.GetText(), "cdef");
  block.SetText(nullptr);
  EXPECT_STREQ(block.GetText(), "");
}

}  // namespace
}  // namespace velmora
