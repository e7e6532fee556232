#include "velmora/region/region_object_manager.h"

#include <gtest/gtest.h>

#include "tests/support/barrier.h"

namespace velmora {
namespace {

static_assert(std::is_nothrow_move_constructible_v<RegionObjectRecord>, "lists of them grow");

TEST(RegionObjectManager, FilesUnderTheKeyOrTheType) {
  NxRegionObjectManager manager;
  const NxRef<NxRegionObject> region = new NxRegionObject;
  region->SetRegionType(static_cast<intermediate_results::RegionObjectElementType>(5));
  manager.AddRegionObject(region.get(), "a", "", "c", -1);
  manager.AddRegionObject(region.get(), "g", "h", "i", 0);
  manager.AddRegionObject(region.get(), nullptr, "b", "c", 5);
  manager.AddRegionObject(region.get(), "a", nullptr, "c", 5);
  manager.AddRegionObject(region.get(), "a", "b", nullptr, 5);
  manager.AddRegionObject(nullptr, "a", "b", "c", 5);
  testing::Lockstep lockstep(4);
  testing::RunTogether(4, [&](int) {
    for (int i = 0; i < 200; ++i) {
      lockstep.Enter(i);
      manager.AddRegionObject(region.get(), "d", "e", "f", 5);
      EXPECT_FALSE(manager.GetRegionObjects(5).empty());
    }
  });

  using Names = std::array<std::string, 3>;
  const std::vector<RegionObjectRecord> records = manager.GetRegionObjects(5);
  EXPECT_EQ(records.size(), 1 + 800U);
  EXPECT_EQ(records[0].names, (Names{"a", "", "c"}));
  EXPECT_EQ(records[0].region, region);
  EXPECT_EQ(manager.GetRegionObjects(0).at(0).names, (Names{"g", "h", "i"}));
  EXPECT_TRUE(manager.GetRegionObjects(-1).empty());
}

}  // namespace
}  // namespace velmora
