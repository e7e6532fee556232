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
  // A vector must not be given a range of its own.
  if (&items == &items_) return ResultImpBase::AddResultItems(Items(items));
  const MutexLock lock(itemsLock_);
  items_.insert(items_.end(), items.begin(), items.end());
}

void ResultImpBase::ClearAllItems() {
  Items dropped;  // dies behind the lock: an item's destructor may come back to this result
  const MutexLock lock(itemsLock_);
  dropped.swap(items_);
}

void ResultImpBase::AddResultItem(NxRef<NxvItemBase> item) {
  const MutexLock lock(itemsLock_);
  items_.push_back(std::move(item));
}

int ResultImpBase::AddResultItemExternal(NxvItemBase* item) {
  if (item == nullptr) return EC_NullPointer;
  const NxRef<NxvItemBase> added(item);  // released after the lock if it gets nowhere
  // Held while the parent is told, so that both see additions and removals in one order.
  const MutexLock lock(itemsLock_);
  items_.push_back(added);
  if (captureResult_ == nullptr) return EC_Ok;
  try {
    return captureResult_->AddResultItemExternal(item);
  } catch (...) {
    items_.pop_back();
    throw;
  }
}

// One for each result from the child to the outermost, on the stack: removing allocates nothing.
struct ResultImpBase::Level {
  NxRef<NxvItemBase> removed;  // released after all locks
  // plain: held until all are; released too if a parent's mutex cannot be taken
  std::unique_lock<std::mutex> lock;
  Level* child;
};

int ResultImpBase::RemoveResultItem(const CCapturedResultItem* item) {
  if (item != nullptr) TakeOut(item, nullptr);
  return EC_Ok;
}

void ResultImpBase::TakeOut(const CCapturedResultItem* face, Level* child) {
  Level level{nullptr, std::unique_lock<std::mutex>(itemsLock_), child};  // plain: see Level
  const auto found = Find(items_, face);
  if (found != items_.end()) {
    level.removed = *found;
    items_.erase(found);
  }
  if (captureResult_ != nullptr) return captureResult_->TakeOut(face, &level);
  for (Level* each = &level; each != nullptr; each = each->child) each->lock.unlock();
}

bool ResultImpBase::HasResultItem(const CCapturedResultItem* item) const {
  if (item == nullptr) return false;
  const MutexLock lock(itemsLock_);
  return Find(items_, item) != items_.end();
}

void ResultImpBase::SetErrorCode(int code) {
  errorString_ = Nc_GetErrorString(code);  // first: it may run out of memory
  errorCode_ = code;
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
