/// @file
/// The most recent items of each buffered type.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "velmora/foundation/ref.h"
#include "velmora/platform/export.h"
#include "velmora/platform/mutex.h"

namespace velmora {

namespace basic_structures {
enum BufferedItemType : std::int32_t;
class BufferedItemBase;
class BufferedItemSetBase;
}  // namespace basic_structures

/// Keeps, for each registered type, the newest items up to a limit; the oldest go first.
///
///     manager.RegisterBufferedItemType(type);
///     manager.SetMaxBufferedItems(type, 2);  // 0 after the registration: nothing is kept
///     manager.AppendItem(a);                 // and b, and c: leaves b, c
///
/// @threadsafety any thread; one mutex, held for each whole operation. Items that are dropped are
///               released after it.
class VELMORA_EXPORT BufferedItemManager {
 public:
  using Items = std::vector<NxRef<basic_structures::BufferedItemBase>>;

  BufferedItemManager();
  ~BufferedItemManager();
  BufferedItemManager(const BufferedItemManager&) = delete;
  BufferedItemManager& operator=(const BufferedItemManager&) = delete;

  /// An id that no other manager has: the time of construction in seconds, "-", the address, "-",
  /// and the value of a counter of the process.
  const std::string& GetManagerID() const { return managerId_; }

  /// Makes @p type known, with no items and a limit of 0; a type that was known is reset to that.
  void RegisterBufferedItemType(basic_structures::BufferedItemType type);

  /// Sets how many items of @p type are kept and drops the oldest beyond it. A negative
  /// @p maxCount changes nothing, nor does a type that is not registered.
  void SetMaxBufferedItems(basic_structures::BufferedItemType type, int maxCount);

  /// @return the limit; 0 for a type that is not registered
  int GetMaxBufferedItems(basic_structures::BufferedItemType type) const;

  /// Keeps @p item (shared) as the newest of its type and drops the oldest beyond the limit. It is
  /// not kept if its type is not registered or has a limit of 0. Null does nothing. The item is
  /// asked for its type without the lock.
  void AppendItem(basic_structures::BufferedItemBase* item);

  /// Forgets everything: items, limits and registrations.
  void ClearBuffer();

  /// Calls @p itemSet's `CopyFromManager` with the lock held, so that it reads a settled state
  /// through `GetBufferedItemsUnlocked`. That operation must call nothing else of this manager.
  /// Null does nothing.
  void CopyBufferToItemSet(basic_structures::BufferedItemSetBase* itemSet);

  /// For the copy operation of an item set only, which runs under this manager's lock.
  /// @return the items of @p type, oldest first, valid until that operation returns; null for a
  ///         type that is not registered
  const Items* GetBufferedItemsUnlocked(basic_structures::BufferedItemType type) const
      VELMORA_UNCHECKED_LOCKING;

 private:
  struct Entry {
    Items items;  // oldest first
    std::int32_t maxCount = 0;
  };

  [[nodiscard]] static Items UpdateIfExceedMaxCount(Entry& entry);

  mutable Mutex mutex_;
  std::map<basic_structures::BufferedItemType, Entry> entries_ VELMORA_GUARDED_BY(mutex_);
  std::string managerId_;
};

}  // namespace velmora
