#include "velmora/results/item_base.h"

namespace velmora::basic_structures {

// The object base is left out on purpose: a copy of an item is a new object with a new identity.
// NOLINTNEXTLINE(bugprone-copy-constructor-init)
NxvItemBase::NxvItemBase(const NxvItemBase& other)
    : NxObjectBase(),
      upload_(other.upload_),
      valid_(other.valid_),
      moduleID_(other.moduleID_),
      targetName_(other.targetName_),
      taskName_(other.taskName_) {}

NxvItemBase& NxvItemBase::operator=(const NxvItemBase& other) {
  // An item may be given its own reference item, which must then live until all is copied.
  const NxRef<NxvItemBase> oldReferenceItem = referenceItem_;
  NxObjectBase::operator=(other);
  referenceItem_ = other.referenceItem_;
  upload_ = other.upload_;
  valid_ = other.valid_;
  moduleID_ = other.moduleID_;
  capturedResultItem_ = other.capturedResultItem_;
  if (this != &other) {
    targetName_ = other.targetName_;
    taskName_ = other.taskName_;
  }
  return *this;
}

NxvItemBase::~NxvItemBase() = default;

void NxvItemBase::SetReferenceItem(const NxRef<NxvItemBase>& item) {
  // The old one goes last, from outside of this object: cutting a ring may destroy this item.
  NxRef<NxvItemBase> other = item;
  referenceItem_.swap(other);
}

void NxvItemBase::SetTargetAndTaskName(const std::string& target, const std::string& task) {
  std::string newTarget = target, newTask = task;  // both, before anything changes
  targetName_.swap(newTarget);
  taskName_.swap(newTask);
}

CCapturedResultItem* NxvItemBase::RetainCache() noexcept {
  retain();
  return capturedResultItem_;
}

}  // namespace velmora::basic_structures
