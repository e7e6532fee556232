#include "velmora/region/region_image_info.h"

#include <gtest/gtest.h>

#include <array>

#include "tests/region/kit.h"
#include "tests/support/barrier.h"

namespace velmora {
namespace {

using Tips = std::vector<NxRef<NxObjectBase>>;

// Comes back to the tips while it dies.
class NosyTip : public NxObjectBase {
 public:
  explicit NosyTip(NxRegionImageInfo* info) : info_(info) {}
  ~NosyTip() override { info_->GetTipsData("key"); }

 private:
  NxRegionImageInfo* info_;
};

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
  const NxRef<NxObjectBase> a = new NosyTip(&info), b = new NosyTip(&info);
  info.AddTipsData("key", {a, b});
  info.AddTipsData("key", {new NosyTip(&info), a});
  info.AddTipsData("other", {b, new NosyTip(&info)});
  const Tips tips = info.GetTipsData("key");
  EXPECT_EQ(tips, (Tips{a, b, tips.at(2), a}));
  info.AddTipsData("key", {new NosyTip(&info)});  // dies with its entry
  info.ClearTipsData("no such key");
  info.ClearTipsData("key");
  EXPECT_TRUE(info.GetTipsData("key").empty());
  EXPECT_EQ(info.GetTipsData("other").size(), 2U);
  info.ClearAllTipsData();
  EXPECT_TRUE(info.GetTipsData("other").empty());
  EXPECT_EQ(b->GetReferenceCount(), 2);
}

TEST(RegionImageInfo, LosesNoTipOfManyThreads) {
  NxRegionImageInfo info(nullptr, nullptr);
  const NxRef<NxObjectBase> tip = new NosyTip(&info);
  testing::RunTogether(4, [&](int thread) {
    for (int i = 0; i < 200; ++i) {
      info.AddTipsData("shared", {tip});
      info.AddTipsData(std::to_string(thread), {tip});
      EXPECT_FALSE(info.GetTipsData("shared").empty());
      info.ClearTipsData(std::to_string(thread));
    }
  });
  EXPECT_EQ(tip->GetReferenceCount(), 1 + 800);
}

}  // namespace
}  // namespace velmora
