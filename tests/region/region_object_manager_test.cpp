#include "velmora/region/region_object_manager.h"

#include <gtest/gtest.h>

#include "tests/support/barrier.h"

namespace velmora {
namespace {

using testing::RunTogether;

TEST(RegionObjectManager, FilesUnderTheKeyOrTheType) {
  NxRegionObjectManager manager;
  const NxRef<NxRegionObject> region = new NxRegionObject;
  region->SetRegionType(static_cast<intermediate_results::RegionObjectElementType>(5));
  struct Row {
    const char *a, *b, *c;
    int key, filedUnder;  // -1: nowhere
  };
  std::size_t filed = 0;
  for (const Row& r : {Row{"a", "b", "c", -1, 5}, Row{"", "", "", 5, 5}, Row{"a", "b", "c", 0, 0},
                       Row{nullptr, "b", "c", 5, -1}, Row{"a", nullptr, "c", 5, -1},
                       Row{"a", "b", nullptr, 5, -1}}) {
    manager.AddRegionObject(region.get(), r.a, r.b, r.c, r.key);
    if (r.filedUnder == -1) continue;
    const std::vector<RegionObjectRecord> records = manager.GetRegionObjects(r.filedUnder);
    ASSERT_FALSE(records.empty());
    EXPECT_EQ(records.back().region, region);
    EXPECT_EQ(records.back().names, (std::array<std::string, 3>{r.a, r.b, r.c}));
    ++filed;
  }
  manager.AddRegionObject(nullptr, "a", "b", "c", -1);
  EXPECT_EQ(manager.GetRegionObjects(5).size(), 2U);
  EXPECT_TRUE(manager.GetRegionObjects(-1).empty());
  EXPECT_EQ(region->GetReferenceCount(), static_cast<int>(1 + filed));
}

TEST(RegionObjectManager, LosesNothingThatManyThreadsFile) {
  const NxRef<NxRegionObject> region = new NxRegionObject;
  {
    NxRegionObjectManager manager;
    RunTogether(4, [&](int thread) {
      for (int i = 0; i < 200; ++i) {
        manager.AddRegionObject(region.get(), "a", "b", "c", i % 2 + thread);
        EXPECT_FALSE(manager.GetRegionObjects(thread).empty());
      }
    });
    EXPECT_EQ(region->GetReferenceCount(), 801);
  }
  EXPECT_EQ(region->GetReferenceCount(), 1);
}

}  // namespace
}  // namespace velmora
