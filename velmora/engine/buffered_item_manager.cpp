#include "velmora/engine/buffered_item_manager.h"

#include <atomic>
#include <charconv>
#include <cstdint>
#include <ctime>
#include <iterator>
#include <string>
#include <utility>

#include "velmora/results/buffered_item.h"

namespace velmora {
namespace {

using basic_structures::BufferedItemBase;
using basic_structures::BufferedItemSetBase;
using basic_structures::BufferedItemType;

std::string MakeManagerId(const void* manager) {
  // Relaxed: all that matters is that no two managers get the same number.
  static std::atomic<std::uint32_t> counter{0};
  // Not a stream: without memory it would give a part of the text and say nothing.
  char address[2 + 2 * sizeof manager] = {'0', 'x'};
  const auto number = reinterpret_cast<std::uintptr_t>(manager);
  char* const end = std::to_chars(address + 2, std::end(address), number, 16).ptr;
  std::string id = std::to_string(std::time(nullptr)) + '-';
  id.append(address, static_cast<std::size_t>(end - address)).append("-");
  return id + std::to_string(counter.fetch_add(1, std::memory_order_relaxed));
}

}  // namespace

BufferedItemManager::BufferedItemManager() : managerId_(MakeManagerId(this)) {}

BufferedItemManager::~BufferedItemManager() {
  ClearBuffer();  // an item that asks this manager while it dies finds it whole, and empty
}

void BufferedItemManager::RegisterBufferedItemType(BufferedItemType type) {
  Entry dropped;
  const MutexLock lock(mutex_);
  std::swap(entries_[type], dropped);
}

void BufferedItemManager::SetMaxBufferedItems(BufferedItemType type, int maxCount) {
  if (maxCount < 0) return;
  Items dropped;
  const MutexLock lock(mutex_);
  const auto found = entries_.find(type);
  if (found == entries_.end()) return;
  Entry& entry = found->second;
  const std::int32_t before = std::exchange(entry.maxCount, maxCount);
  try {
    dropped = UpdateIfExceedMaxCount(entry);
  } catch (...) {
    entry.maxCount = before;
    throw;
  }
}

int BufferedItemManager::GetMaxBufferedItems(BufferedItemType type) const {
  const MutexLock lock(mutex_);
  const auto found = entries_.find(type);
  return found != entries_.end() ? found->second.maxCount : 0;
}

void BufferedItemManager::AppendItem(BufferedItemBase* item) {
  if (item == nullptr) return;
  const BufferedItemType type = item->GetBufferedItemType();
  NxRef<BufferedItemBase> kept;  // like what is dropped it is destroyed without the lock
  Items dropped;
  const MutexLock lock(mutex_);
  const auto found = entries_.find(type);
  if (found == entries_.end() || found->second.maxCount == 0) return;
  Entry& entry = found->second;
  kept = item;
  entry.items.push_back(kept);
  try {
    dropped = UpdateIfExceedMaxCount(entry);
  } catch (...) {
    entry.items.pop_back();
    throw;
  }
}

void BufferedItemManager::ClearBuffer() {
  std::map<BufferedItemType, Entry> dropped;
  const MutexLock lock(mutex_);
  entries_.swap(dropped);
}

void BufferedItemManager::CopyBufferToItemSet(BufferedItemSetBase* itemSet) {
  if (itemSet == nullptr) return;
  const MutexLock lock(mutex_);
  itemSet->CopyFromManager(this);
}

const BufferedItemManager::Items* BufferedItemManager::GetBufferedItemsUnlocked(
    BufferedItemType type) const {
  const auto found = entries_.find(type);
  return found != entries_.end() ? &found->second.items : nullptr;
}

BufferedItemManager::Items BufferedItemManager::UpdateIfExceedMaxCount(Entry& entry) {
  const auto maxCount = static_cast<std::size_t>(entry.maxCount);
  if (entry.items.size() <= maxCount) return {};
  const auto firstKept = entry.items.end() - static_cast<std::ptrdiff_t>(maxCount);
  Items dropped(std::make_move_iterator(entry.items.begin()), std::make_move_iterator(firstKept));
  entry.items.erase(entry.items.begin(), firstKept);
  return dropped;
}

}  // namespace velmora
