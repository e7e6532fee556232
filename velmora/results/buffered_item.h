/// @file
/// The bases of what the task engine keeps in its buffered-item store.
#pragma once

#include <cstdint>

#include "velmora/foundation/object_base.h"
#include "velmora/platform/export.h"

namespace velmora {
class BufferedItemManager;
}  // namespace velmora

namespace velmora::basic_structures {

/// Kind of a buffered item, by which the store keeps and limits items. The numbers belong to the
/// modules that produce the items; this library only compares them.
enum BufferedItemType : std::int32_t {};

/// Base of an item that a module wants to find again when it works on a later image.
class VELMORA_EXPORT BufferedItemBase : public NxObjectBase {
 public:
  BufferedItemBase() = default;
  BufferedItemBase(const BufferedItemBase&) = default;
  BufferedItemBase& operator=(const BufferedItemBase&) = default;
  ~BufferedItemBase() override;

  /// The kind under which the store files this item; the same at every call. The store asks before
  /// it takes its lock.
  virtual BufferedItemType GetBufferedItemType() const = 0;
};

/// Base of a set that takes a copy of what the store holds at one moment.
class VELMORA_EXPORT BufferedItemSetBase : public NxObjectBase {
 public:
  BufferedItemSetBase() = default;
  BufferedItemSetBase(const BufferedItemSetBase&) = default;
  BufferedItemSetBase& operator=(const BufferedItemSetBase&) = default;
  ~BufferedItemSetBase() override;

  /// Takes what this set wants from @p manager, whose lock is held for the call: read it through
  /// `GetBufferedItemsUnlocked` only.
  virtual void CopyFromManager(BufferedItemManager* manager) = 0;
};

}  // namespace velmora::basic_structures
