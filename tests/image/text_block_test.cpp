#include "velmora/image/text_block.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace velmora {
namespace {

TEST(TextBlock, CopiesAndMovesCarryEveryField) {
  TextBlock block;
  block.SetText("total: 12.90, paid by card");
  block.SetLocation({{{1, 2}, {3, 4}, {5, 6}, {7, 8}}});
  block.SetFirstReaderNumber(11);
  block.SetSecondReaderNumber(22);
  // Each hands on what the one before it got.
  TextBlock copy(block), copyAssigned, moveAssigned;
  copyAssigned = copy;
  TextBlock moved(std::move(copyAssigned));
  moveAssigned = std::move(moved);
  EXPECT_STREQ(moveAssigned.GetText(), block.GetText());
  EXPECT_EQ(moveAssigned.GetLocation()[3][1], 8);
  EXPECT_EQ(moveAssigned.GetFirstReaderNumber(), 11);
  EXPECT_EQ(moveAssigned.GetSecondReaderNumber(), 22);
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
