#include "velmora/results/item_base.h"

#include <gtest/gtest.h>

#include <utility>

namespace velmora {
namespace {

using basic_structures::CapturedResultItemType;
using basic_structures::CCapturedResultItem;
using basic_structures::NxvItemBase;

// Only what the base class does is of interest here; any address serves as a public face.
class BareItem final : public NxvItemBase {
 public:
  using NxvItemBase::ReleaseCache;
  using NxvItemBase::RetainCache;
  using NxvItemBase::SetCCapturedResultItemPtr;
  CapturedResultItemType GetType() const override { return basic_structures::CRIT_OriginalImage; }
};

CCapturedResultItem* const kFace = reinterpret_cast<CCapturedResultItem*>(0x1000);

TEST(ItemBase, StartsValidNotUploadedAndNameless) {
  const NxRef<BareItem> item = new BareItem;
  EXPECT_TRUE(item->IsValid());
  EXPECT_FALSE(item->IsUpload());
  EXPECT_EQ(item->GetModuleID(), 0);
  EXPECT_EQ(item->GetTargetName() + item->GetTaskName(), "");
  EXPECT_EQ(item->GetReferenceItem(), nullptr);
  EXPECT_EQ(item->GetCCapturedResultItemPtr(), nullptr);
}

// An item with every field away from its default.
NxRef<BareItem> FullItem(const NxRef<NxvItemBase>& reference) {
  NxRef<BareItem> item = new BareItem;
  item->SetObjectId("id");
  item->SetReferenceItem(reference);
  item->SetUpload();
  item->SetInvalid();
  item->SetModuleID(7);
  item->SetTargetAndTaskName("target", "task");
  item->SetCCapturedResultItemPtr(kFace);
  return item;
}

void ExpectCopiedFields(const NxvItemBase& item) {
  EXPECT_TRUE(item.IsUpload());
  EXPECT_FALSE(item.IsValid());
  EXPECT_EQ(item.GetModuleID(), 7);
  EXPECT_EQ(item.GetTargetName(), "target");
  EXPECT_EQ(item.GetTaskName(), "task");
}

TEST(ItemBase, CopyConstructionLeavesIdentityBehind) {
  const NxRef<NxvItemBase> reference = new BareItem;
  const NxRef<BareItem> source = FullItem(reference);
  const NxRef<BareItem> copy = new BareItem(*source);
  ExpectCopiedFields(*copy);
  EXPECT_FALSE(copy->HasObjectId());
  EXPECT_EQ(copy->GetReferenceItem(), nullptr);
  EXPECT_EQ(copy->GetCCapturedResultItemPtr(), nullptr);
  EXPECT_EQ(reference->GetReferenceCount(), 2) << "the source's and ours";
}

TEST(ItemBase, AssignmentCarriesMoreThanCopyConstruction) {
  const NxRef<NxvItemBase> reference = new BareItem;
  const NxRef<BareItem> source = FullItem(reference);
  BareItem target;
  target.retain();
  target = *source;
  target = *&target;
  ExpectCopiedFields(target);
  EXPECT_EQ(target.GetReferenceCount(), 0);
  EXPECT_EQ(target.GetObjectId(), "id");
  EXPECT_EQ(target.GetReferenceItem(), reference);
  EXPECT_EQ(target.GetCCapturedResultItemPtr(), kFace);
  EXPECT_EQ(reference->GetReferenceCount(), 3);
  EXPECT_EQ(source->GetReferenceCount(), 1);
}

TEST(ItemBase, MayBeAssignedItsOwnReferenceItem) {
  BareItem item;
  item.SetReferenceItem(FullItem(new BareItem).get());
  item = dynamic_cast<BareItem&>(*item.GetReferenceItem());
  ExpectCopiedFields(item);
  EXPECT_FALSE(item.GetReferenceItem()->IsUpload()) << "now that of its reference item";
}

TEST(ItemBase, ReferenceItemIsSharedUntilReplaced) {
  const NxRef<BareItem> item = new BareItem;
  NxRef<NxvItemBase> first = new BareItem;
  const NxRef<NxvItemBase> second = new BareItem;
  item->SetReferenceItem(first);
  item->SetReferenceItem(item->GetReferenceItem());
  EXPECT_EQ(first->GetReferenceCount(), 2);
  item->SetReferenceItem(second);
  EXPECT_EQ(first->GetReferenceCount(), 1);
}

TEST(ItemBase, HandsOutItsFaceWithAReference) {
  const NxRef<BareItem> item = FullItem(nullptr);
  EXPECT_EQ(item->RetainCache(), kFace);
  EXPECT_EQ(item->GetReferenceCount(), 2);
  item->ReleaseCache();
  EXPECT_EQ(item->GetReferenceCount(), 1);
}

}  // namespace
}  // namespace velmora
