// What only Windows has: devices, drives, and names that no file can have.

#include <gtest/gtest.h>

#include "velmora/util/path_helper.h"

namespace velmora {
namespace {

TEST(WindowsPaths, DevicesAreNoFilesAndImpossibleNamesAreMissing) {
  EXPECT_EQ(PathHelper::JudgePathType("NUL"), PathHelper::PT_Invalid);
  for (const char* path : {"a*b", "\\\\no-such-server\\share\\file"})
    EXPECT_EQ(PathHelper::JudgePathType(path), PathHelper::PT_NotExist) << path;
}

}  // namespace
}  // namespace velmora
