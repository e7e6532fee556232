#include "velmora/engine/data_cache_manager.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "velmora/image/nx_image_data.h"
#include "velmora/region/source_image_object.h"

namespace velmora {
namespace {

class Cache : public SourceImageCacheBase {
 public:
  explicit Cache(DataCacheManager* manager = nullptr) : manager_(manager) {}
  Cache(const Cache&) = default;
  Cache(Cache&&) = default;
  Cache& operator=(const Cache&) = default;
  Cache& operator=(Cache&&) = default;
  ~Cache() override {
    if (manager_ != nullptr) manager_->GetFromCacheMap("");  // the manager's lock must be free
  }
  void CleanCache() override {}

 private:
  DataCacheManager* manager_;
};

// A source image of one row whose only pixels are `pixel`.
NxRef<NxSourceImageObject> Source(unsigned char pixel) {
  const unsigned char row[] = {pixel, pixel, pixel, pixel};
  return new NxSourceImageObject(
      new NxImageData(4, row, 4, 1, 4, basic_structures::PXF_Grayscale8, 0, nullptr), pixel, 10);
}

TEST(DataCacheManager, FilesByTheHashOfTheImageAndReplaces) {
  DataCacheManager manager;
  const NxRef<Cache> cache = new Cache(&manager);
  manager.AddToCacheMap(nullptr);
  manager.AddToCacheMap(cache.get());  // has no source image yet
  EXPECT_EQ(cache->GetReferenceCount(), 1);

  const NxRef<NxSourceImageObject> source = Source(1);
  cache->SetSourceImageObject(source);
  manager.AddToCacheMap(cache.get());
  const std::string& hashId = source->GetHashID();
  ASSERT_FALSE(hashId.empty());
  EXPECT_EQ(manager.GetFromCacheMap(hashId), cache);
  EXPECT_EQ(manager.GetFromCacheMap(hashId + "0"), nullptr);
  EXPECT_EQ(manager.GetSourceImage(hashId.c_str()), source->GetImage().get());
  EXPECT_EQ(manager.GetSourceImage("BKDR_"), nullptr);
  EXPECT_EQ(manager.GetSourceImage(nullptr), nullptr);

  NxRef<Cache> successor = new Cache(&manager);
  successor->SetSourceImageObject(source);
  manager.AddToCacheMap(successor.get());
  EXPECT_EQ(cache->GetReferenceCount(), 1);
  EXPECT_EQ(manager.GetFromCacheMap(hashId), successor);
  successor.reset();
  manager.CleanAllCacheMap();
  EXPECT_EQ(manager.GetFromCacheMap(hashId), nullptr);
}

TEST(DataCacheManager, DropsTheFlagged) {
  DataCacheManager manager;
  EXPECT_FALSE(manager.UpdateCacheMap());
  for (unsigned char pixel = 1; pixel <= 4; ++pixel) {
    const NxRef<Cache> cache = new Cache(&manager);
    cache->SetSourceImageObject(Source(pixel));
    cache->SetDropFlag(pixel % 2 == 0);
    manager.AddToCacheMap(cache.get());
  }
  EXPECT_TRUE(manager.UpdateCacheMap());
  EXPECT_FALSE(manager.UpdateCacheMap());
  for (unsigned char pixel = 1; pixel <= 4; ++pixel) {
    const bool kept = manager.GetFromCacheMap(Source(pixel)->GetHashID()) != nullptr;
    EXPECT_EQ(kept, pixel % 2 != 0) << int{pixel};
  }
}

TEST(SourceImageCache, CopiesShareAndMovesHandOverTheSourceImage) {
  const NxRef<NxSourceImageObject> source = Source(1);
  Cache original;
  original.SetSourceImageObject(source);
  original.SetDropFlag(true);
  Cache copy(original);
  EXPECT_EQ(copy.GetSourceImageObject(), source);
  EXPECT_TRUE(copy.GetDropFlag());
  Cache assigned;
  assigned = copy;
  EXPECT_EQ(source->GetReferenceCount(), 4);
  Cache moved(std::move(copy));
  assigned = std::move(original);
  EXPECT_EQ(source->GetReferenceCount(), 3);
  EXPECT_EQ(moved.GetSourceImageObject(), source);
  EXPECT_EQ(copy.GetSourceImageObject(), nullptr);  // NOLINT(bugprone-use-after-move)
}

}  // namespace
}  // namespace velmora
