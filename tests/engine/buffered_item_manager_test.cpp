#include "velmora/engine/buffered_item_manager.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <locale>
#include <map>
#include <optional>
#include <random>
#include <set>
#include <string>

#include "tests/engine/engine_objects.h"

namespace velmora {
namespace {

using basic_structures::BufferedItemBase;
using basic_structures::BufferedItemSetBase;
using basic_structures::BufferedItemType;

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

// Appends an item that asks the manager while it dies.
void Append(BufferedItemManager& manager, BufferedItemType type, int number) {
  const NxRef<Item> item = new testing::Asking<Item>(
      [&manager, type] { manager.GetMaxBufferedItems(type); }, type, number);
  manager.AppendItem(item.get());
}

TEST(BufferedItemManager, DoesAsQueuesThatDropTheirFront) {
  std::mt19937 random(7);
  BufferedItemManager manager;
  manager.AppendItem(nullptr);
  manager.CopyBufferToItemSet(nullptr);
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
      Append(manager, type, i);
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
  manager.AppendItem(new testing::Asking<Item>(ask, kTypes[0], 1));
}

TEST(BufferedItemManager, HasAnIdOfItsOwn) {
  struct Grouped : std::numpunct<char> {
    std::string do_grouping() const override { return "\3"; }
  };
  const std::locale before = std::locale::global({std::locale::classic(), new Grouped});
  std::set<std::string> ids;
  for (int i = 0; i < 50; ++i) ids.insert(BufferedItemManager().GetManagerID());
  std::locale::global(before);
  EXPECT_EQ(ids.size(), 50U);
  const std::string& id = *ids.begin();
  EXPECT_EQ(std::count(id.begin(), id.end(), '-'), 2);
  EXPECT_EQ(id.find(','), std::string::npos) << "the locale has no part in it";
}

}  // namespace
}  // namespace velmora
