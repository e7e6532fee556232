#include "velmora/region/region_image_info.h"

#include <gtest/gtest.h>

#include <array>

#include "tests/region/kit.h"
#include "tests/support/asking.h"
#include "tests/support/barrier.h"

namespace velmora {
namespace {

using Tips = std::vector<NxRef<NxObjectBase>>;

TEST(RegionImageInfo, CopiesTheMatrixAndSharesTheImage) {
  const NxRef<NxImageData> image = testing::MakeImage("ab", 2, 1);
  std::array<double, 9> matrix = {1, 2, 3, 4, 5, 6, 7, 8, 9};
  const NxRegionImageInfo info(image.get(), matrix.data()), bare(nullptr, nullptr);
  matrix[8] = 0;
  EXPECT_EQ(info.GetImage(), image);
  EXPECT_EQ(image->GetReferenceCount(), 2);
  for (int i = 0; i < 9; ++i) {
    EXPECT_EQ(info.GetOriginalToLocalTransMat()[i], i + 1);
    EXPECT_EQ(bare.GetOriginalToLocalTransMat()[i], i % 4 == 0);
  }
}

TEST(RegionImageInfo, AppendsTipsAndClearsThemOutsideOfItsLock) {
  NxRegionImageInfo info(nullptr, nullptr);
  const auto newTip = [&info] {
    return new testing::Asking<NxObjectBase>([&info] { info.GetTipsData("key"); });
  };
  const NxRef<NxObjectBase> a = newTip(), b = newTip();
  info.AddTipsData("key", {a, b});
  info.AddTipsData("key", {newTip(), a});
  info.AddTipsData("other", {b, newTip()});
  const Tips tips = info.GetTipsData("key");
  EXPECT_EQ(tips, (Tips{a, b, tips.at(2), a}));
  info.AddTipsData("key", {newTip()});  // dies with its entry
  info.ClearTipsData("no such key");
  info.ClearTipsData("key");
  EXPECT_TRUE(info.GetTipsData("key").empty());
  EXPECT_EQ(info.GetTipsData("other").size(), 2U);
  info.ClearAllTipsData();
  EXPECT_TRUE(info.GetTipsData("other").empty());
  EXPECT_EQ(b->GetReferenceCount(), 2);
}

TEST(RegionImageInfo, Locks) {
  NxRegionImageInfo info(nullptr, nullptr);
  // An empty tip: counting references would order the threads.
  const std::function<void()> add = [&] { info.AddTipsData("key", {nullptr}); };
  add();  // whoever comes first finds work
  testing::CallTogether({add, add, [&] { info.GetTipsData("key"); }});
  EXPECT_EQ(info.GetTipsData("key").size(), 1 + 2U * testing::kCallsTogether);
  testing::CallTogether({add, [&] { info.ClearTipsData("key"); }});
  testing::CallTogether({add, [&] { info.ClearAllTipsData(); }});
}

}  // namespace
}  // namespace velmora
