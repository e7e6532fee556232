#include "velmora/engine/data_manager_pool.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <string>
#include <utility>

#include "tests/engine/engine_objects.h"

namespace velmora {
namespace {

using testing::Asking;
using testing::MakeRegion;
using testing::MakeSource;

// An item at work on an image.
struct Active {
  explicit Active(const NxRef<NxRegionObject>& region)
      : output(region, MakeRegion("page"), "read", TT_ATOMIC_0),
        item(&output, nullptr, nullptr, 0) {}

  NxOutputBase output;
  ExecutableWorkItem item;
};

TEST(ActiveWorkUnitManager, ChargesEachImageInFlightOnce) {
  const NxRef<NxSourceImageObject> image = MakeSource();
  const NxRef<NxSourceImageObject> other = MakeSource();
  Active items[] = {Active(MakeRegion("page", image)), Active(MakeRegion("page", image)),
                    Active(MakeRegion("page", other)), Active(MakeRegion("page")), Active(nullptr)};
  ActiveWorkUnitManager manager;
  manager.AddTimeCheckCountForActiveWorkUnit(1);
  for (const int i : {0, 1, 2, 3, 4, 0, 2}) manager.LoadActiveWorkUnit(&items[i].item);
  manager.AddTimeCheckCountForActiveWorkUnit(10);
  EXPECT_EQ(image->GetElapsedTime(), 10);
  EXPECT_FALSE(image->IsTimeOut());
  for (const int i : {0, 0, 2}) manager.UnloadActiveWorkUnit(&items[i].item);
  manager.AddTimeCheckCountForActiveWorkUnit(INT64_C(0x7700000001));  // only the low 32 bits count
  EXPECT_EQ(image->GetElapsedTime(), 11);
  EXPECT_TRUE(image->IsTimeOut());
  EXPECT_EQ(other->GetElapsedTime(), 10);
}

class Cache : public SourceImageCacheBase {
  void CleanCache() override {}
};

// Adds a cache of a one-pixel image, which asks the manager while it dies.
NxRef<SourceImageCacheBase> Add(DataCacheManager& manager, unsigned char pixel) {
  NxRef<SourceImageCacheBase> cache = new Asking<Cache>([&] { manager.GetFromCacheMap(""); });
  cache->SetSourceImageObject(new NxSourceImageObject(
      new NxImageData(1, &pixel, 1, 1, 1, basic_structures::PXF_Grayscale8, 0, nullptr), 1, 10));
  manager.AddToCacheMap(cache.get());
  return cache;
}

TEST(DataCacheManager, FilesByTheHashOfTheImageReplacesAndDropsTheFlagged) {
  DataCacheManager manager;
  Cache noSource;
  for (SourceImageCacheBase* refused : {static_cast<Cache*>(nullptr), &noSource}) {
    manager.AddToCacheMap(refused);
  }
  Add(manager, 1);
  const NxRef<SourceImageCacheBase> cache = Add(manager, 1);
  const std::string hashId = cache->GetSourceImageObject()->GetHashID();
  EXPECT_EQ(manager.GetFromCacheMap(hashId), cache);
  EXPECT_EQ(manager.GetFromCacheMap(hashId + "0"), nullptr);
  EXPECT_EQ(manager.GetSourceImage(hashId.c_str()),
            cache->GetSourceImageObject()->GetImage().get());
  for (const char* absent : {"", "BKDR_", static_cast<const char*>(nullptr)}) {
    EXPECT_EQ(manager.GetSourceImage(absent), nullptr);
  }

  Add(manager, 2)->SetDropFlag(true);
  const std::string keptHashId = Add(manager, 3)->GetSourceImageObject()->GetHashID();
  cache->SetDropFlag(true);
  EXPECT_TRUE(manager.UpdateCacheMap());
  EXPECT_FALSE(manager.UpdateCacheMap());
  EXPECT_EQ(cache->GetReferenceCount(), 1);
  EXPECT_NE(manager.GetFromCacheMap(keptHashId), nullptr);
  manager.CleanAllCacheMap();
  EXPECT_EQ(manager.GetFromCacheMap(keptHashId), nullptr);
}

TEST(SourceImageCache, CopiesShareAndMovesHandOverTheSourceImage) {
  const NxRef<NxSourceImageObject> source = MakeSource();
  Cache original;
  original.SetSourceImageObject(source);
  original.SetDropFlag(true);
  Cache copy(original);
  Cache assigned;
  assigned = copy;
  EXPECT_EQ(source->GetReferenceCount(), 4);
  Cache moved(std::move(copy));
  for (const Cache* other : {&assigned, &moved}) {
    EXPECT_EQ(other->GetSourceImageObject(), source);
    EXPECT_TRUE(other->GetDropFlag());
  }
  EXPECT_EQ(copy.GetSourceImageObject(), nullptr);  // NOLINT(bugprone-use-after-move)
  assigned = std::move(original);
  EXPECT_EQ(source->GetReferenceCount(), 3);
}

TEST(TaskEffectTimeManager, IsOpenAboveZeroOnly) {
  TaskEffectTimeManager manager;
  EXPECT_FALSE(manager.IsTimePointOpen());
  for (const int timePoint : {1, 0, INT_MAX, -1}) {
    manager.SetTimePointToTaskEffect(timePoint);
    EXPECT_EQ(manager.IsTimePointOpen(), timePoint > 0) << timePoint;
  }
}

}  // namespace
}  // namespace velmora
