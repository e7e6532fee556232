#include "velmora/engine/buffered_item_manager.h"

#include <gtest/gtest.h>

#include <deque>
#include <random>
#include <set>
#include <string>

#include "tests/support/barrier.h"
#include "velmora/results/buffered_item.h"

namespace velmora {
namespace {

using basic_structures::BufferedItemBase;
using basic_structures::BufferedItemSetBase;
using basic_structures::BufferedItemType;

constexpr auto kRows = static_cast<BufferedItemType>(1);
constexpr auto kFaces = static_cast<BufferedItemType>(2);

class Item : public BufferedItemBase {
 public:
  explicit Item(int number, BufferedItemType type = kRows, BufferedItemManager* manager = nullptr)
      : number_(number), type_(type), manager_(manager) {}
  ~Item() override {
    if (manager_ != nullptr) manager_->GetMaxBufferedItems(type_);  // its lock must be free
  }
  BufferedItemType GetBufferedItemType() const override { return type_; }
  int GetNumber() const { return number_; }

 private:
  int number_;
  BufferedItemType type_;
  BufferedItemManager* manager_;
};

class ItemSet : public BufferedItemSetBase {
 public:
  explicit ItemSet(BufferedItemType type) : type_(type) {}
  void CopyFromManager(BufferedItemManager* manager) override {
    const BufferedItemManager::Items* items = manager->GetBufferedItemsUnlocked(type_);
    if (items == nullptr) {
      numbers_ = "unregistered";
      return;
    }
    for (const auto& item : *items) {
      numbers_ += std::to_string(static_cast<const Item&>(*item).GetNumber()) + " ";
    }
  }
  const std::string& GetNumbers() const { return numbers_; }

 private:
  BufferedItemType type_;
  std::string numbers_;
};

std::string Buffered(BufferedItemManager& manager, BufferedItemType type = kRows) {
  ItemSet items(type);
  manager.CopyBufferToItemSet(&items);
  return items.GetNumbers();
}

void Append(BufferedItemManager& manager, int first, int last) {
  for (int i = first; i <= last; ++i) {
    const NxRef<Item> item = new Item(i, kRows, &manager);
    manager.AppendItem(item.get());
  }
}

TEST(BufferedItemManager, KeepsTheNewestUpToTheLimit) {
  BufferedItemManager manager;
  manager.SetMaxBufferedItems(kRows, 5);
  EXPECT_EQ(manager.GetMaxBufferedItems(kRows), 0) << "setting a limit registers nothing";
  Append(manager, 1, 1);
  EXPECT_EQ(Buffered(manager), "unregistered");
  manager.RegisterBufferedItemType(kRows);
  Append(manager, 2, 2);
  EXPECT_EQ(Buffered(manager), "") << "the limit is still 0";

  struct Step {
    int limit;
    const char* kept;
  };
  manager.SetMaxBufferedItems(kRows, 2);
  Append(manager, 3, 5);
  EXPECT_EQ(Buffered(manager), "4 5 ");
  for (const Step& step : {Step{-1, "4 5 "}, Step{2, "4 5 "}, Step{9, "4 5 "}, Step{1, "5 "}}) {
    manager.SetMaxBufferedItems(kRows, step.limit);
    EXPECT_EQ(Buffered(manager), step.kept) << step.limit;
  }
  EXPECT_EQ(Buffered(manager, kFaces), "unregistered");
  manager.RegisterBufferedItemType(kRows);
  EXPECT_EQ(Buffered(manager), "");
  EXPECT_EQ(manager.GetMaxBufferedItems(kRows), 0);
  manager.SetMaxBufferedItems(kRows, 3);
  Append(manager, 6, 6);
  manager.ClearBuffer();
  Append(manager, 7, 7);
  EXPECT_EQ(Buffered(manager), "unregistered");
  manager.AppendItem(nullptr);
  manager.CopyBufferToItemSet(nullptr);
}

TEST(BufferedItemManager, DoesAsAQueueThatDropsItsFront) {
  std::mt19937 random(7);
  BufferedItemManager manager;
  manager.RegisterBufferedItemType(kRows);
  std::deque<int> queue;
  std::size_t limit = 0;
  for (int i = 0; i < 2000; ++i) {
    if (random() % 10 == 0) {
      limit = random() % 8;
      manager.SetMaxBufferedItems(kRows, static_cast<int>(limit));
    } else {
      Append(manager, i, i);
      if (limit != 0) queue.push_back(i);
    }
    while (queue.size() > limit) queue.pop_front();
    std::string want;
    for (const int number : queue) want += std::to_string(number) + " ";
    ASSERT_EQ(Buffered(manager), want) << i;
  }
}

TEST(BufferedItemManager, TakesItemsFromAllThreads) {
  BufferedItemManager manager;
  manager.RegisterBufferedItemType(kRows);
  manager.RegisterBufferedItemType(kFaces);
  testing::RunTogether(3, [&](int thread) {
    for (int i = 0; i < 500; ++i) {
      if (thread == 0) manager.SetMaxBufferedItems(kRows, 1 + i % 4);
      if (thread == 1) Append(manager, 100 + i, 100 + i);
      if (thread == 2) Buffered(manager);
    }
  });
  EXPECT_EQ(Buffered(manager, kFaces), "");
  EXPECT_LE(Buffered(manager).size(), 4U * 4U);
}

TEST(BufferedItemManager, HasAnIdOfItsOwn) {
  std::set<std::string> ids;
  for (int i = 0; i < 50; ++i) ids.insert(BufferedItemManager().GetManagerID());
  EXPECT_EQ(ids.size(), 50U);
}

}  // namespace
}  // namespace velmora
