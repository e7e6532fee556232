#include "velmora/region/region_object_manager.h"

#include <gtest/gtest.h>

#include "tests/support/barrier.h"

namespace velmora {
namespace {

TEST(RegionObjectManager, FilesUnderTheKeyOrTheType) {
  NxRegionObjectManager manager;
  const NxRef<NxRegionObject> region = new NxRegionObject;
  region->SetRegionType(static_cast<intermediate_results::RegionObjectElementType>(5));
  manager.AddRegionObject(region.get(), "a", "b", "c", -1);
  manager.AddRegionObject(region.get(), "d", "", "f", 5);
  manager.AddRegionObject(region.get(), "g", "h", "i", 0);
  manager.AddRegionObject(region.get(), nullptr, "b", "c", 5);
  manager.AddRegionObject(region.get(), "a", nullptr, "c", 5);
  manager.AddRegionObject(region.get(), "a", "b", nullptr, 5);
  manager.AddRegionObject(nullptr, "a", "b", "c", -1);

  using Names = std::array<std::string, 3>;
  const std::vector<RegionObjectRecord> records = manager.GetRegionObjects(5);
  ASSERT_EQ(records.size(), 2U);
  EXPECT_EQ(records[0].names, (Names{"a", "b", "c"}));
  EXPECT_EQ(records[1].names, (Names{"d", "", "f"}));
  EXPECT_EQ(records[1].region, region);
  EXPECT_EQ(manager.GetRegionObjects(0).at(0).names, (Names{"g", "h", "i"}));
  EXPECT_TRUE(manager.GetRegionObjects(-1).empty());
}

TEST(RegionObjectManager, LosesNothingThatManyThreadsFile) {
  NxRegionObjectManager manager;
  testing::RunTogether(4, [&](int thread) {
    for (int i = 0; i < 200; ++i) {
      manager.AddRegionObject(new NxRegionObject, "a", "b", "c", i % 2);
      EXPECT_FALSE(manager.GetRegionObjects(i % 2).empty()) << thread;
    }
  });
  for (const int key : {0, 1}) EXPECT_EQ(manager.GetRegionObjects(key).size(), 400U);
}

}  // namespace
}  // namespace velmora
