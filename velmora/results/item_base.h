/// @file
/// The shared part of every concrete result item.
#pragma once

#include <cstdint>
#include <string>

#include "velmora/foundation/object_base.h"
#include "velmora/foundation/ref.h"
#include "velmora/platform/export.h"
#include "velmora/results/captured_result_item.h"

namespace velmora::basic_structures {

/// Reference-counted base of every concrete result item; holds what all items have in common.
///
/// A concrete item derives from its public interface and from this class, tells its public face
/// with `SetCCapturedResultItemPtr` when it is constructed, and forwards `Retain()` and `Release()`
/// to `RetainCache()` and `ReleaseCache()`. `examples/module_author` has a complete one.
///
/// @threadsafety the reference count from any thread; the fields belong to the thread that builds
///               the item and are only read once the item is in a result
class VELMORA_EXPORT NxvItemBase : public NxObjectBase {
 public:
  NxvItemBase() = default;

  /// Copies the upload flag, the valid flag, the module id and the two names, and nothing else:
  /// the copy has no object id, no reference item and no public face until it is given its own.
  NxvItemBase(const NxvItemBase& other);

  /// Carries more than copy construction does: the object base is assigned (which sets this
  /// item's reference count to 0), the reference item is shared and the public face of @p other is
  /// taken over as it is, beside the fields that the copy constructor copies. Assign only to items
  /// that nobody shares yet.
  NxvItemBase& operator=(const NxvItemBase& other);

  ~NxvItemBase() override;

  /// What the item is. Declared as in `CCapturedResultItem`: one override serves both.
  virtual CapturedResultItemType GetType() const = 0;

  /// Shares @p item as the one that this item was derived from. Do not close a ring of reference
  /// items: it keeps itself alive until it is cut.
  void SetReferenceItem(const NxRef<NxvItemBase>& item);
  /// Empty if there is none.
  const NxRef<NxvItemBase>& GetReferenceItem() const noexcept { return referenceItem_; }

  /// The public face of this item, by which results find it; null until the concrete item sets it.
  CCapturedResultItem* GetCCapturedResultItemPtr() const noexcept { return capturedResultItem_; }

  /// Marks the item as handed out; the mark is never taken back.
  void SetUpload() noexcept { upload_ = true; }
  bool IsUpload() const noexcept { return upload_; }

  /// Marks the item as not to be reported; the mark is never taken back.
  void SetInvalid() noexcept { valid_ = false; }
  bool IsValid() const noexcept { return valid_; }

  /// The module that produced the item.
  void SetModuleID(int moduleID) noexcept { moduleID_ = moduleID; }
  int GetModuleID() const noexcept { return moduleID_; }

  /// Names the target-ROI definition and the task that produced the item.
  void SetTargetAndTaskName(const std::string& target, const std::string& task);
  const std::string& GetTargetName() const noexcept { return targetName_; }
  const std::string& GetTaskName() const noexcept { return taskName_; }

 protected:
  /// Tells the public face of this item: the concrete item itself, seen as that class.
  void SetCCapturedResultItemPtr(CCapturedResultItem* item) noexcept { capturedResultItem_ = item; }

  /// Adds a reference on behalf of whoever gets the pointer.
  /// @return the public face, to be given back with `ReleaseCache()`
  CCapturedResultItem* RetainCache() noexcept;

  /// Drops a reference and destroys the item with the last one.
  /// @throws int 4711 if there is none
  void ReleaseCache() { release(); }

 private:
  NxRef<NxvItemBase> referenceItem_;
  bool upload_ = false;
  bool valid_ = true;
  std::int32_t moduleID_ = 0;
  CCapturedResultItem* capturedResultItem_ = nullptr;
  std::string targetName_;
  std::string taskName_;
};

}  // namespace velmora::basic_structures
