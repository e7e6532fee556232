/// @file
/// The shared part of every concrete result: its items and what is known about the image.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "velmora/foundation/object_base.h"
#include "velmora/foundation/ref.h"
#include "velmora/platform/export.h"
#include "velmora/platform/mutex.h"
#include "velmora/results/item_base.h"

namespace velmora::basic_structures {

class CImageTag;

/// Reference-counted container of result items, on which every concrete result is built.
///
/// A result made for a part of the work may point at the result that the application will get: what
/// is then added with `AddResultItemExternal` or removed with `RemoveResultItem` is added to or
/// removed from that one too, and from the one it points at in turn. The other changes stay local.
///
/// Items are found by the address of their public face; the first in order of arrival wins.
///
/// @threadsafety what adds, removes, clears or looks up items may be called from any thread. Locks
///               are taken child first, then parent. The unlocked reads (`GetResultItem`,
///               `GetResultItems`) must not run beside a change. Everything else belongs to the
///               thread that builds the result.
class VELMORA_EXPORT ResultImpBase : public NxObjectBase {
 public:
  /// An empty, successful result with an all-zero rotation matrix.
  /// @param sourceImageHashId  copied; null leaves the hash id empty
  /// @param tag                cloned; may be null
  ResultImpBase(const char* sourceImageHashId, const CImageTag* tag);

  /// A result with the image information, the error code and the error string of @p other, and
  /// without its items, its enclosing result and its product result.
  /// @param other  not null
  explicit ResultImpBase(const ResultImpBase* other);

  ResultImpBase(const ResultImpBase&) = delete;
  ResultImpBase& operator=(const ResultImpBase&) = delete;
  ~ResultImpBase() override;

  /// Appends all of @p items, empty references included; not forwarded. They may be those that
  /// `GetResultItems` returns.
  virtual void AddResultItems(const std::vector<NxRef<NxvItemBase>>& items);

  /// Drops all items; the enclosing result keeps its own.
  virtual void ClearAllItems();

  /// Appends @p item, an empty reference too; not forwarded.
  void AddResultItem(NxRef<NxvItemBase> item);

  /// Appends @p item here and in the enclosing results, or nowhere if memory runs out; an item that
  /// no reference holds is destroyed then.
  /// @return 0; -10002 (`EC_NullPointer`) for null, with nothing added
  int AddResultItemExternal(NxvItemBase* item);

  /// Removes the first entry with the public face @p item here and in the enclosing results, each
  /// whether the others hold it or not. The order of the rest is kept. Allocates nothing.
  /// @return 0 always; null removes nothing
  int RemoveResultItem(const CCapturedResultItem* item);

  /// Whether this result holds @p item; false for null.
  bool HasResultItem(const CCapturedResultItem* item) const;

  /// Not locked. @param index  0 to the number of items - 1; not checked
  NxRef<NxvItemBase> GetResultItem(int index) const VELMORA_UNCHECKED_LOCKING {
    return items_[static_cast<std::size_t>(index)];
  }
  /// Not locked.
  const std::vector<NxRef<NxvItemBase>>& GetResultItems() const noexcept VELMORA_UNCHECKED_LOCKING {
    return items_;
  }

  /// Stores @p code and the message that belongs to it, "Unknown error." if there is none.
  void SetErrorCode(int code);
  int GetErrorCode() const noexcept { return errorCode_; }

  /// Replaces the message and leaves the code as it is.
  void SetErrorString(const std::string& message) { errorString_ = message; }
  const std::string& GetErrorStringBase() const noexcept { return errorString_; }

  const std::string& GetSourceImageHashIdBase() const noexcept { return sourceImageHashId_; }

  /// Borrowed; null if the image had no tag.
  const CImageTag* GetSourceImageTag() const noexcept { return sourceImageTag_.get(); }

  /// The rotation that was applied to the image, 3x3 and row-major.
  void SetSourceImageRotationMatrix(const double matrix[9]);
  void GetSourceImageRotationMatrix(double out[9]) const;

  /// Gives @p target this tag (a clone; none if this has none), rotation matrix and hash id.
  void CopySourceImageInfoTo(ResultImpBase* target) const;

  /// Sets the enclosing result; not owned, null for none. It must outlive the changes that are
  /// forwarded to it, and no chain may lead back to this result.
  void SetCaptureResultPointer(ResultImpBase* parent) noexcept { captureResult_ = parent; }

  /// The concrete product's own result object; null until that product sets it.
  void* GetCProductResultPtr() const noexcept { return productResult_; }

 protected:
  /// Replaces the tag by a clone of @p tag; null removes it.
  void SetSourceImageTag(const CImageTag* tag);

  /// Tells the concrete product's own result object; not owned.
  void SetCProductResultPtr(void* result) noexcept { productResult_ = result; }

  /// Adds a reference on behalf of whoever gets the product result.
  void RetainCache() noexcept { retain(); }

  /// Drops a reference and destroys the result with the last one.
  /// @throws int 4711 if there is none
  void ReleaseCache() { release(); }

 private:
  struct Level;

  // Removes as RemoveResultItem does, with the locks of the results from `child` inwards held. What
  // was removed is released after them: the destructor of an item may come back to any of these
  // results.
  // Unchecked: the locks are taken one result after the other, and released together.
  void TakeOut(const CCapturedResultItem* face, Level* child) VELMORA_UNCHECKED_LOCKING;

  std::unique_ptr<CImageTag> sourceImageTag_;
  std::int32_t errorCode_ = 0;
  void* productResult_ = nullptr;
  mutable Mutex itemsLock_;  // a parent's is only taken while the child's is held
  double sourceImageRotationMatrix_[9] = {};
  ResultImpBase* captureResult_ = nullptr;
  std::vector<NxRef<NxvItemBase>> items_ VELMORA_GUARDED_BY(itemsLock_);  // in order of arrival
  std::string sourceImageHashId_;
  std::string errorString_;
};

}  // namespace velmora::basic_structures
