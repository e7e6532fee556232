#include "velmora/results/item_base.h"

#include <gtest/gtest.h>

#include "tests/results/test_item.h"

namespace velmora {
namespace {

using testing::CCapturedResultItem;
using testing::NxvItemBase;
using testing::TestItem;

class ItemBase : public ::testing::Test {
 protected:
  ~ItemBase() override { EXPECT_EQ(TestItem::alive, 0); }
};

TEST_F(ItemBase, StartsValidNotUploadedAndNameless) {
  const NxRef<TestItem> item = new TestItem;
  EXPECT_TRUE(item->IsValid());
  EXPECT_FALSE(item->IsUpload());
  EXPECT_EQ(item->GetModuleID(), 0);
  EXPECT_STREQ(item->GetTargetROIDefName(), "");
  EXPECT_STREQ(item->GetTaskName(), "");
  EXPECT_EQ(item->GetReferenceItem(), nullptr);
  EXPECT_EQ(item->GetCCapturedResultItemPtr(), item.get());
}

// An item with every field away from its default.
NxRef<TestItem> FullItem(NxRef<NxvItemBase> reference) {
  NxRef<TestItem> item = new TestItem;
  item->SetObjectId("id");
  item->SetReferenceItem(reference);
  item->SetUpload();
  item->SetInvalid();
  item->SetModuleID(7);
  item->SetTargetAndTaskName("target", "task");
  return item;
}

void ExpectCopiedFields(const NxvItemBase& item) {
  EXPECT_TRUE(item.IsUpload());
  EXPECT_FALSE(item.IsValid());
  EXPECT_EQ(item.GetModuleID(), 7);
  EXPECT_EQ(item.GetTargetName(), "target");
  EXPECT_EQ(item.GetTaskName(), "task");
}

TEST_F(ItemBase, CopyConstructionLeavesIdentityBehind) {
  const NxRef<TestItem> reference = new TestItem;
  const NxRef<TestItem> source = FullItem(reference);
  const NxRef<TestItem> copy = new TestItem(*source);
  ExpectCopiedFields(*copy);
  EXPECT_FALSE(copy->HasObjectId());
  EXPECT_EQ(copy->NxvItemBase::GetReferenceItem(), nullptr);
  EXPECT_EQ(copy->GetCCapturedResultItemPtr(), nullptr);
  EXPECT_EQ(reference->GetReferenceCount(), 2) << "the source's and ours";
}

TEST_F(ItemBase, AssignmentCarriesMoreThanCopyConstruction) {
  const NxRef<TestItem> reference = new TestItem;
  const NxRef<TestItem> source = FullItem(reference);
  TestItem target;
  target.retain();
  target = *source;
  ExpectCopiedFields(target);
  EXPECT_EQ(target.GetReferenceCount(), 0);
  EXPECT_EQ(target.GetObjectId(), "id");
  EXPECT_EQ(target.GetReferenceItem(), reference.get());
  EXPECT_EQ(target.GetCCapturedResultItemPtr(), source.get()) << "the source's own face";
  EXPECT_EQ(reference->GetReferenceCount(), 3);
  EXPECT_EQ(source->GetReferenceCount(), 1);

  target = *&target;
  ExpectCopiedFields(target);
  EXPECT_EQ(target.GetReferenceItem(), reference.get());
}

TEST_F(ItemBase, ReferenceItemIsSharedUntilReplaced) {
  const NxRef<TestItem> item = new TestItem;
  auto* first = new TestItem;
  NxRef<NxvItemBase> reference = first;
  item->SetReferenceItem(reference);
  item->SetReferenceItem(reference);
  EXPECT_EQ(first->GetReferenceCount(), 2);
  reference = new TestItem;
  EXPECT_EQ(TestItem::alive, 3) << "the item alone keeps the first one";
  item->SetReferenceItem(reference);
  EXPECT_EQ(TestItem::alive, 2);
}

TEST_F(ItemBase, ApplicationsKeepItemsThroughTheirPublicFace) {
  NxRef<TestItem> item = FullItem(nullptr);
  const CCapturedResultItem* face = item->GetCCapturedResultItemPtr();
  face->Retain();
  CCapturedResultItem* clone = face->Clone();
  item.reset();
  EXPECT_EQ(TestItem::alive, 2);
  EXPECT_STREQ(clone->GetTaskName(), "task");
  EXPECT_EQ(dynamic_cast<NxvItemBase*>(clone)->GetCCapturedResultItemPtr(), clone);
  clone->Release();
  face->Release();
}

}  // namespace
}  // namespace velmora
