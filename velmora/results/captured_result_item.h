/// @file
/// One thing found in an image, as an application sees it.
#pragma once

#include <cstdint>

#include "velmora/platform/export.h"

namespace velmora::basic_structures {

class CImageData;

/// Kind of a captured result item. The numbers beyond the one listed belong to the modules that
/// produce such items; this library stores and returns them without interpreting them.
enum CapturedResultItemType : std::int32_t {
  CRIT_OriginalImage = 1,  ///< a `COriginalImageResultItem`
};

/// The public face of a result item: what an application reads, whichever module produced it.
///
/// A module derives its own abstract item from this class and implements it in a class that derives
/// from `NxvItemBase` too, which holds what most of these operations answer with. This library
/// calls none of them.
///
/// Items are shared: an item lives as long as a result holds it or somebody has retained it. Who
/// wants to keep one beyond the life of its result calls `Retain()` and later `Release()`.
///
/// @threadsafety Retain() and Release() from any thread; the rest is read-only once the item is in
///               a result
class VELMORA_EXPORT CCapturedResultItem {
 protected:
  // The first virtual operation: modules are compiled against the order of this table.
  virtual ~CCapturedResultItem();

 public:
  CCapturedResultItem() = default;
  CCapturedResultItem(const CCapturedResultItem&) = default;
  CCapturedResultItem& operator=(const CCapturedResultItem&) = default;

  /// What the item is, so that the caller knows which class to cast it to.
  virtual CapturedResultItemType GetType() const = 0;

  /// The item that this one was derived from, for example the text line that a parsed code was read
  /// from.
  /// @return borrowed, alive as long as this item; null if there is none
  virtual const CCapturedResultItem* GetReferenceItem() const = 0;

  /// Name of the target-ROI definition whose task produced the item.
  /// @return never null; alive and unchanged as long as this item
  virtual const char* GetTargetROIDefName() const = 0;

  /// Name of the task that produced the item.
  /// @return never null; alive and unchanged as long as this item
  virtual const char* GetTaskName() const = 0;

  /// An independent copy with one reference.
  /// @return to be given back with `Release()`
  [[nodiscard]] virtual CCapturedResultItem* Clone() const = 0;

  /// Adds a reference: the item outlives its result. `const`, since sharing an item does not
  /// change it.
  virtual void Retain() const = 0;

  /// Drops a reference and destroys the item with the last one.
  /// @throws int 4711 if the item is released more often than retained
  virtual void Release() const = 0;
};

/// The image itself as a result item: what the other items of a result were found in.
class VELMORA_EXPORT COriginalImageResultItem : public CCapturedResultItem {
 public:
  COriginalImageResultItem() = default;
  COriginalImageResultItem(const COriginalImageResultItem&) = default;
  COriginalImageResultItem& operator=(const COriginalImageResultItem&) = default;

  /// @return borrowed, alive as long as this item; null if there is no image
  virtual const CImageData* GetImageData() const = 0;

 protected:
  ~COriginalImageResultItem() override;
};

}  // namespace velmora::basic_structures
