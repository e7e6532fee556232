#include "tests/support/test.h"

namespace velmora {
namespace {

using basic_structures::CapturedResultItemType;
using basic_structures::CCapturedResultItem;
using basic_structures::NxvItemBase;

class BareItem : public NxvItemBase {
 public:
  using NxvItemBase::ReleaseCache;
  using NxvItemBase::RetainCache;
  using NxvItemBase::SetCCapturedResultItemPtr;
  CapturedResultItemType GetType() const override { return basic_structures::CRIT_OriginalImage; }
};

// Notes whether it still holds an item when it dies.
class RingItem final : public BareItem {
 public:
  explicit RingItem(std::vector<bool>& held) : held_(held) {}
  ~RingItem() override { held_.push_back(GetReferenceItem() != nullptr); }

 private:
  std::vector<bool>& held_;
};

// Any address serves as a public face.
CCapturedResultItem* const kFace = reinterpret_cast<CCapturedResultItem*>(0x1000);

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
  EXPECT_TRUE(item.IsUpload() && !item.IsValid());
  EXPECT_EQ(item.GetModuleID(), 7);
  EXPECT_EQ(item.GetTargetName() + item.GetTaskName(), "targettask");
}

TEST(ItemBase, AssignmentCarriesTheIdentityThatCopiesLeaveBehind) {
  const NxRef<NxvItemBase> reference = new BareItem;
  const NxRef<BareItem> source = FullItem(reference);
  const BareItem copy(*source);
  BareItem assigned;
  assigned = *source;
  assigned = *&assigned;
  ExpectCopiedFields(copy);
  ExpectCopiedFields(assigned);
  EXPECT_FALSE(copy.HasObjectId());
  EXPECT_EQ(assigned.GetObjectId(), "id");
  EXPECT_EQ(copy.GetReferenceItem(), nullptr);
  EXPECT_EQ(assigned.GetReferenceItem(), reference);
  EXPECT_EQ(reference->GetReferenceCount(), 3);
  EXPECT_EQ(copy.GetCCapturedResultItemPtr(), nullptr);
  EXPECT_EQ(assigned.GetCCapturedResultItemPtr(), kFace);
  EXPECT_EQ(source->RetainCache(), kFace);
  EXPECT_EQ(source->GetReferenceCount(), 2);
  source->ReleaseCache();
}

TEST(ItemBase, MayBeAssignedItsOwnReferenceItem) {
  BareItem item;
  item.SetReferenceItem(FullItem(new BareItem).get());
  item = dynamic_cast<BareItem&>(*item.GetReferenceItem());
  ExpectCopiedFields(item);
  EXPECT_FALSE(item.GetReferenceItem()->IsUpload()) << "now that of its reference item";
}

TEST(ItemBase, MayCutTheRingItIsIn) {
  std::vector<bool> held;
  NxvItemBase* inRing = nullptr;
  {
    const NxRef<NxvItemBase> a = new RingItem(held), b = new RingItem(held);
    a->SetReferenceItem(b);
    b->SetReferenceItem(a);
    inRing = a.get();
  }
  inRing->SetReferenceItem(nullptr);
  EXPECT_EQ(held, (std::vector<bool>{true, false})) << "the one that lets go dies last";
}

}  // namespace
}  // namespace velmora
