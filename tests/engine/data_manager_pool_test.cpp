#include <deque>
#include <locale>

#include "tests/engine/engine_objects.h"

namespace velmora {
namespace {

using basic_structures::BufferedItemBase;
using basic_structures::BufferedItemSetBase;
using basic_structures::BufferedItemType;
using testing::Asking;
using testing::CallTogether;
using testing::MakeRegion;
using testing::MakeSource;

// An item at work on an image.
struct Active {
  explicit Active(const NxRef<NxRegionObject>& region)
      : output(region, MakeRegion("page"), "read", TT_ATOMIC_0) {}

  NxOutputBase output;
  ExecutableWorkItem item{&output, nullptr, nullptr, 0};
};

TEST(ActiveWorkUnitManager, ChargesEachImageInFlightOnce) {
  const NxRef<NxSourceImageObject> image = MakeSource();
  const NxRef<NxSourceImageObject> other = MakeSource();
  Active items[] = {Active(MakeRegion("page", image)), Active(MakeRegion("page", image)),
                    Active(MakeRegion("page", other)), Active(MakeRegion("page")), Active(nullptr)};
  ActiveWorkUnitManager manager;
  manager.AddTimeCheckCountForActiveWorkUnit(1);
  for (const int i : {0, 1, 3, 4, 2, 0, 2}) manager.LoadActiveWorkUnit(&items[i].item);
  manager.AddTimeCheckCountForActiveWorkUnit(10);
  EXPECT_EQ(image->GetElapsedTime(), 10);
  for (const int i : {0, 0}) manager.UnloadActiveWorkUnit(&items[i].item);
  manager.LoadActiveWorkUnit(&items[2].item);  // registered still, though there is room before it
  manager.UnloadActiveWorkUnit(&items[2].item);
  manager.AddTimeCheckCountForActiveWorkUnit(INT64_C(0x7700000001));  // only the low 32 bits count
  EXPECT_EQ(image->GetElapsedTime(), 11);
  EXPECT_EQ(other->GetElapsedTime(), 10);
  CallTogether({[&] { manager.LoadActiveWorkUnit(&items[0].item); },
                [&] { manager.UnloadActiveWorkUnit(&items[0].item); },
                [&] { manager.AddTimeCheckCountForActiveWorkUnit(1); }});
}

TEST(ActiveWorkUnitManager, KnowsManyItemsUntilTheyAreTakenOut) {
  constexpr int kImages = 100;
  const auto elapsed = [](const Active& active) {
    return active.output.GetRegion()->GetSourceImageObject()->GetElapsedTime();
  };
  ActiveWorkUnitManager manager;
  std::deque<Active> items;
  for (int i = 0; i < 2 * kImages; ++i) {
    const NxRef<NxSourceImageObject> image =
        i % 2 == 0 ? MakeSource() : items.back().output.GetRegion()->GetSourceImageObject();
    manager.LoadActiveWorkUnit(&items.emplace_back(MakeRegion("page", image)).item);
  }
  manager.AddTimeCheckCountForActiveWorkUnit(1);
  for (Active& active : items) {
    EXPECT_EQ(elapsed(active), 1);
    manager.UnloadActiveWorkUnit(&active.item);
  }
  manager.AddTimeCheckCountForActiveWorkUnit(1);
  for (const Active& active : items) EXPECT_EQ(elapsed(active), 1);
}

class Cache : public SourceImageCacheBase {
  void CleanCache() override {}
};

// Adds a cache of a one-pixel image. While it dies it finds another one in its place, or none.
NxRef<SourceImageCacheBase> Add(DataCacheManager& manager, unsigned char pixel) {
  const NxRef<NxSourceImageObject> source = new NxSourceImageObject(
      new NxImageData(1, &pixel, 1, 1, 1, basic_structures::PXF_Grayscale8, 0, nullptr), 1, 10);
  NxRef<SourceImageCacheBase> cache = new Asking<Cache>([&manager, id = source->GetHashID()] {
    const NxRef<SourceImageCacheBase> found = manager.GetFromCacheMap(id);
    EXPECT_TRUE(!found || found->GetReferenceCount() >= 2);
  });
  cache->SetSourceImageObject(source);
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
  Add(manager, 4);  // outlived by the manager's last operation only
}

TEST(DataCacheManager, Locks) {
  struct EmptyCache : Cache {
    EmptyCache() { SetSourceImageObject(MakeSource()); }
  };
  DataCacheManager manager;
  const std::function<void()> add = [&] { manager.AddToCacheMap(new EmptyCache); };
  add();  // the operations that read always find a cache
  CallTogether({add, [&] { manager.GetFromCacheMap(""); }, [&] { manager.GetSourceImage(""); },
                [&] { manager.UpdateCacheMap(); }});
  CallTogether({add, [&] { manager.CleanAllCacheMap(); }});
}

TEST(SourceImageCache, CopiesShareAndMovesHandOverTheSourceImage) {
  const NxRef<NxSourceImageObject> source = MakeSource();
  Cache original;
  original.SetSourceImageObject(source);
  original.SetDropFlag(true);
  Cache copy(original);
  Cache assigned[2];
  assigned[0] = copy;
  const Cache moved(std::move(copy));
  assigned[1] = std::move(original);
  EXPECT_EQ(source->GetReferenceCount(), 4);
  for (const Cache* other : {&moved, &std::as_const(assigned[0]), &std::as_const(assigned[1])}) {
    EXPECT_EQ(other->GetSourceImageObject(), source);
    EXPECT_TRUE(other->GetDropFlag());
  }
}

TEST(SemanticProcessor, ListsATaskAsOftenAsAppended) {
  const NxRef<CpxTaskObject> task = new CpxTaskObject("mrz", "");
  SemanticProcessor processor("passport", nullptr);
  for (int i = 0; i < 2; ++i) processor.AppendCpxTask(task);
  EXPECT_EQ(processor.GetCpxTasks(), (std::vector<NxRef<CpxTaskObject>>{task, task}));
}

TEST(TaskEffectTimeManager, IsOpenAboveZeroOnly) {
  TaskEffectTimeManager manager;
  for (const int timePoint : {1, 0, INT_MAX, -1}) {
    manager.SetTimePointToTaskEffect(timePoint);
    EXPECT_EQ(manager.IsTimePointOpen(), timePoint > 0) << timePoint;
  }
  CallTogether({[&] { manager.SetTimePointToTaskEffect(1); }, [&] { manager.IsTimePointOpen(); }});
}

constexpr BufferedItemType kTypes[] = {BufferedItemType(1), BufferedItemType(2)};

struct Item : BufferedItemBase {
  Item(BufferedItemType itemType, int itemNumber) : type(itemType), number(itemNumber) {}
  BufferedItemType GetBufferedItemType() const override { return type; }

  const BufferedItemType type;
  const int number;
};

// The numbers of the items, oldest first; none of a type that is not registered.
using Numbers = std::optional<std::deque<int>>;

struct ItemSet : BufferedItemSetBase {
  explicit ItemSet(BufferedItemType itemType) : type(itemType) {}
  void CopyFromManager(BufferedItemManager* manager) override {
    const BufferedItemManager::Items* items = manager->GetBufferedItemsUnlocked(type);
    if (items == nullptr) return;
    numbers.emplace();
    for (const auto& item : *items) numbers->push_back(static_cast<const Item&>(*item).number);
  }

  const BufferedItemType type;
  Numbers numbers;
};

Numbers Buffered(BufferedItemManager& manager, BufferedItemType type) {
  ItemSet items(type);
  manager.CopyBufferToItemSet(&items);
  return items.numbers;
}

TEST(BufferedItemManager, DoesAsQueuesThatDropTheirFront) {
  std::mt19937 random(7);
  BufferedItemManager manager;
  manager.AppendItem(nullptr);
  manager.CopyBufferToItemSet(nullptr);
  const auto ask = [&] { manager.GetMaxBufferedItems(kTypes[0]); };
  struct Queue {
    int limit;
    Numbers numbers;
  };
  std::map<BufferedItemType, Queue> queues;
  for (int i = 0; i < 5000; ++i) {
    const BufferedItemType type = kTypes[random() % 2];
    Queue& queue = queues[type];
    const auto action = random() % 100;
    if (action == 0) {
      manager.ClearBuffer();
      queues.clear();
    } else if (action < 4) {
      manager.RegisterBufferedItemType(type);
      queue = {0, std::deque<int>()};
    } else if (action < 20) {
      const int limit = static_cast<int>(random() % 9) - 1;
      manager.SetMaxBufferedItems(type, limit);
      if (queue.numbers && limit >= 0) queue.limit = limit;
    } else {
      manager.AppendItem(NxRef<Item>(new Asking<Item>(ask, type, i)).get());
      if (queue.numbers) queue.numbers->push_back(i);
    }
    for (const BufferedItemType each : kTypes) {
      auto& [limit, numbers] = queues[each];
      while (numbers && static_cast<int>(numbers->size()) > limit) numbers->pop_front();
      ASSERT_EQ(manager.GetMaxBufferedItems(each), limit) << i;
      ASSERT_EQ(Buffered(manager, each), numbers) << i;
    }
  }
}

TEST(BufferedItemManager, IsEmptyWhenItsLastItemsDie) {
  BufferedItemManager manager;
  manager.RegisterBufferedItemType(kTypes[0]);
  manager.SetMaxBufferedItems(kTypes[0], 1);
  const auto ask = [&] { EXPECT_EQ(Buffered(manager, kTypes[0]), std::nullopt); };
  manager.AppendItem(new Asking<Item>(ask, kTypes[0], 1));
}

TEST(BufferedItemManager, HasAnIdOfItsOwnWhateverTheLocale) {
  struct Grouped : std::numpunct<char> {
    std::string do_grouping() const override { return "\3"; }
  };
  const std::locale before = std::locale::global({std::locale::classic(), new Grouped});
  std::set<std::string> ids;
  for (int i = 0; i < 50; ++i) ids.insert(BufferedItemManager().GetManagerID());
  std::locale::global(before);
  EXPECT_EQ(ids.size(), 50U);
  EXPECT_TRUE(std::regex_match(*ids.begin(), std::regex("[0-9]+-[0-9a-fx]+-[0-9]+")));
}

TEST(BufferedItemManager, Locks) {
  BufferedItemManager manager;
  constexpr BufferedItemType kType = kTypes[0];
  const std::function<void()> ask = [&] { manager.GetMaxBufferedItems(kType); };
  manager.RegisterBufferedItemType(kType);
  manager.SetMaxBufferedItems(kType, 2);
  CallTogether({[&] { manager.SetMaxBufferedItems(kType, 2); }, ask,
                [&] { manager.AppendItem(NxRef<Item>(new Item(kType, 0)).get()); },
                [&] { EXPECT_LE(Buffered(manager, kType)->size(), 2U); }});
  CallTogether({[&] { manager.RegisterBufferedItemType(kType); }, ask});
  CallTogether({[&] { manager.ClearBuffer(); }, ask});
}

}  // namespace
}  // namespace velmora
