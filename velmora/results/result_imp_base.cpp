#include "velmora/results/result_imp_base.h"

#include <algorithm>

#include "velmora/foundation/error_code.h"
#include "velmora/image/image_tag.h"

namespace velmora::basic_structures {
namespace {

using Items = std::vector<NxRef<NxvItemBase>>;

CImageTag* CloneOf(const CImageTag* tag) {
  return tag == nullptr ? nullptr : tag->Clone();
}

// The first entry with this public face. Empty references are passed over.
Items::const_iterator Find(const Items& items, const CCapturedResultItem* face) {
  return std::find_if(items.begin(), items.end(), [face](const NxRef<NxvItemBase>& item) {
    return item && item->GetCCapturedResultItemPtr() == face;
  });
}

}  // namespace

ResultImpBase::ResultImpBase(const char* sourceImageHashId, const CImageTag* tag)
    : sourceImageTag_(CloneOf(tag)),
      sourceImageHashId_(sourceImageHashId == nullptr ? "" : sourceImageHashId),
      errorString_(Nc_GetErrorString(EC_Ok)) {}

ResultImpBase::ResultImpBase(const ResultImpBase* other)
    : sourceImageTag_(CloneOf(other->sourceImageTag_.get())),
      errorCode_(other->errorCode_),
      sourceImageHashId_(other->sourceImageHashId_),
      errorString_(other->errorString_) {
  SetSourceImageRotationMatrix(other->sourceImageRotationMatrix_);
}

ResultImpBase::~ResultImpBase() = default;

void ResultImpBase::AddResultItems(const Items& items) {
  const std::lock_guard lock(itemsLock_);
  items_.insert(items_.end(), items.begin(), items.end());
}

void ResultImpBase::ClearAllItems() {
  Items dropped;  // dies behind the lock: an item's destructor may come back to this result
  const std::lock_guard lock(itemsLock_);
  dropped.swap(items_);
}

void ResultImpBase::AddResultItem(NxRef<NxvItemBase> item) {
  const std::lock_guard lock(itemsLock_);
  items_.push_back(std::move(item));
}

int ResultImpBase::AddResultItemExternal(NxvItemBase* item) {
  if (item == nullptr) return EC_NullPointer;
  // Held while the parent is told, so that both see additions and removals in one order.
  const std::lock_guard lock(itemsLock_);
  items_.emplace_back(item);
  if (captureResult_ != nullptr) captureResult_->AddResultItemExternal(item);
  return EC_Ok;
}

int ResultImpBase::RemoveResultItem(const CCapturedResultItem* item) {
  Items taken;  // dies behind the locks, as in ClearAllItems
  if (item != nullptr) TakeOut(item, taken);
  return EC_Ok;
}

void ResultImpBase::TakeOut(const CCapturedResultItem* face, Items& taken) {
  const std::lock_guard lock(itemsLock_);
  const auto found = Find(items_, face);
  if (found != items_.end()) {
    taken.push_back(*found);
    items_.erase(found);
  }
  if (captureResult_ != nullptr) captureResult_->TakeOut(face, taken);
}

bool ResultImpBase::HasResultItem(const CCapturedResultItem* item) const {
  if (item == nullptr) return false;
  const std::lock_guard lock(itemsLock_);
  return Find(items_, item) != items_.end();
}

void ResultImpBase::SetErrorCode(int code) {
  errorCode_ = code;
  errorString_ = Nc_GetErrorString(code);
}

void ResultImpBase::SetSourceImageRotationMatrix(const double matrix[9]) {
  std::copy_n(matrix, 9, sourceImageRotationMatrix_);
}

void ResultImpBase::GetSourceImageRotationMatrix(double out[9]) const {
  std::copy_n(sourceImageRotationMatrix_, 9, out);
}

void ResultImpBase::CopySourceImageInfoTo(ResultImpBase* target) const {
  target->SetSourceImageTag(sourceImageTag_.get());
  target->sourceImageHashId_ = sourceImageHashId_;
  if (target != this) target->SetSourceImageRotationMatrix(sourceImageRotationMatrix_);
}

// reset() deletes the old tag after the clone was made: `tag` may be the one that is held.
void ResultImpBase::SetSourceImageTag(const CImageTag* tag) {
  sourceImageTag_.reset(CloneOf(tag));
}

}  // namespace velmora::basic_structures
