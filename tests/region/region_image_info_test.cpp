#include "velmora/region/region_image_info.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>

#include "tests/region/kit.h"
#include "tests/support/barrier.h"

namespace velmora {
namespace {

using testing::Counted;
using testing::RunTogether;

// Looks at the tips again while it dies.
class NosyTip : public NxObjectBase {
 public:
  explicit NosyTip(NxRegionImageInfo* info) : info_(info) {}
  ~NosyTip() override { info_->GetTipsData("key"); }

 private:
  NxRegionImageInfo* info_;
};

TEST(RegionImageInfo, CopiesTheMatrixAndSharesTheImage) {
  const NxRef<NxImageData> image = testing::MakeImage("ab", 2, 1);
  double matrix[9] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
  const NxRef<NxRegionImageInfo> info = new NxRegionImageInfo(image.get(), matrix);
  matrix[8] = 0;
  EXPECT_EQ(info->GetOriginalToLocalTransMat()[8], 9);
  EXPECT_EQ(info->GetImage(), image);
  EXPECT_EQ(image->GetReferenceCount(), 2);

  const NxRef<NxRegionImageInfo> bare = new NxRegionImageInfo(nullptr, nullptr);
  EXPECT_FALSE(bare->GetImage());
  for (int i = 0; i < 9; ++i) EXPECT_EQ(bare->GetOriginalToLocalTransMat()[i], i % 4 == 0);
}

TEST(RegionImageInfo, AppendsTipsAndClearsThemByKeyOrAltogether) {
  const NxRef<NxObjectBase> a = new Counted;
  const NxRef<NxObjectBase> b = new Counted;
  const NxRef<NxObjectBase> c = new Counted;
  const NxRef<NxRegionImageInfo> info = new NxRegionImageInfo(nullptr, nullptr);
  info->AddTipsData("key", {a, b});
  info->AddTipsData("key", {c, a});
  info->AddTipsData("other", {c});
  EXPECT_EQ(info->GetTipsData("key"), (std::vector<NxRef<NxObjectBase>>{a, b, c, a}));

  info->ClearTipsData("no such key");
  info->ClearTipsData("key");
  EXPECT_TRUE(info->GetTipsData("key").empty());
  EXPECT_EQ(info->GetTipsData("other").size(), 1U);
  EXPECT_EQ(a->GetReferenceCount(), 1);
  info->ClearAllTipsData();
  EXPECT_EQ(c->GetReferenceCount(), 1);
}

TEST(RegionImageInfo, ReleasesClearedTipsAfterTheLock) {
  const NxRef<NxRegionImageInfo> info = new NxRegionImageInfo(nullptr, nullptr);
  info->AddTipsData("key", {new NosyTip(info.get())});
  info->ClearTipsData("key");
  info->AddTipsData("key", {new NosyTip(info.get())});
  info->ClearAllTipsData();
}

TEST(RegionImageInfo, LosesNoTipWhenAllAddAtOnce) {
  constexpr int kRounds = 200;
  std::atomic<int> live{0};
  {
    const NxRef<NxRegionImageInfo> info = new NxRegionImageInfo(nullptr, nullptr);
    RunTogether(4, [&](int thread) {
      const std::string own = std::to_string(thread);
      for (int i = 0; i < kRounds; ++i) {
        info->AddTipsData("shared", {new Counted(&live)});
        info->AddTipsData(own, {new Counted(&live)});
        EXPECT_FALSE(info->GetTipsData("shared").empty());
        if (i % 2 == 0) info->ClearTipsData(own);
      }
    });
    EXPECT_EQ(info->GetTipsData("shared").size(), 4U * kRounds);
    EXPECT_EQ(live, 4 * (kRounds + 1));
  }
  EXPECT_EQ(live, 0);
}

}  // namespace
}  // namespace velmora
