#include "examples/module_author/spot_item.h"
#include "tests/support/test.h"

namespace velmora {
namespace {

using basic_structures::CFileImageTag;
using basic_structures::NxvItemBase;
using basic_structures::ResultImpBase;
using spots::SpotItem;

using Result = NxRef<ResultImpBase>;
Result NewResult() {
  return new ResultImpBase(nullptr, nullptr);
}

TEST(ResultBase, CopyTakesTheImageAndErrorsButImageInfoOnlyTheImage) {
  const CFileImageTag tag("page.pdf", 2, 9), replaced("old.pdf", 1, 9);
  const std::array<double, 9> matrix = {1, 2, 3, 4, 5, 6, 7, 8, 9};
  const Result parent = NewResult(), source = new ResultImpBase("BKDR_7", &tag);
  source->SetSourceImageRotationMatrix(matrix.data());
  source->SetErrorCode(-10026);
  EXPECT_EQ(source->GetErrorStringBase(), "Operation timeout.");
  source->SetErrorString("late");
  source->SetCaptureResultPointer(parent.get());
  source->AddResultItem(nullptr);

  const Result copy = new ResultImpBase(source.get());
  const Result target = new ResultImpBase("BKDR_2", &replaced);
  source->CopySourceImageInfoTo(target.get());
  target->CopySourceImageInfoTo(target.get());  // given its own content
  for (const Result& each : {copy, target}) {
    SCOPED_TRACE(each == copy ? "copy" : "target");
    EXPECT_EQ(each->GetSourceImageHashIdBase(), "BKDR_7");
    std::array<double, 9> copied;
    each->GetSourceImageRotationMatrix(copied.data());
    EXPECT_EQ(copied, matrix);
    EXPECT_EQ(dynamic_cast<const CFileImageTag&>(*each->GetSourceImageTag()).GetPageNumber(), 2);
    EXPECT_NE(each->GetSourceImageTag(), source->GetSourceImageTag());
    EXPECT_EQ(each->GetErrorCode(), each == copy ? -10026 : 0);
    EXPECT_EQ(each->GetErrorStringBase(), each == copy ? "late" : "Successful.");
    EXPECT_TRUE(each->GetResultItems().empty());
  }
  copy->AddResultItemExternal(new SpotItem({}));
  EXPECT_TRUE(parent->GetResultItems().empty());
  NewResult()->CopySourceImageInfoTo(target.get());
  EXPECT_EQ(target->GetSourceImageTag(), nullptr);
}

// Items by position, so that a test can say which are left.
class ResultItems : public ::testing::Test {
 protected:
  ~ResultItems() override {
    for (const NxRef<SpotItem>& item : items_) EXPECT_EQ(item->GetReferenceCount(), 1);
  }

  // "012" for the first three items; "-" for an empty reference.
  std::string Held(const ResultImpBase& result) const {
    std::string held;
    for (const NxRef<NxvItemBase>& item : result.GetResultItems()) {
      const auto at = std::find(items_.begin(), items_.end(), item);
      held += at == items_.end() ? '-' : static_cast<char>('0' + (at - items_.begin()));
    }
    return held;
  }

  std::array<NxRef<SpotItem>, 3> items_{new SpotItem({}), new SpotItem({}), new SpotItem({})};
};

TEST_F(ResultItems, OnlyExternalChangesReachTheEnclosingResults) {
  const Result top = NewResult(), middle = NewResult(), child = NewResult();
  child->SetCaptureResultPointer(middle.get());
  middle->SetCaptureResultPointer(top.get());

  child->AddResultItem(items_[0]);
  child->AddResultItem(nullptr);
  child->AddResultItems({items_[1], nullptr, items_[0]});
  EXPECT_EQ(child->AddResultItemExternal(items_[2].get()), 0);
  EXPECT_EQ(child->AddResultItemExternal(nullptr), -10002);
  EXPECT_EQ(Held(*child), "0-1-02");
  child->AddResultItems(child->GetResultItems());
  EXPECT_EQ(Held(*child), "0-1-020-1-02");
  child->ClearAllItems();
  EXPECT_EQ(Held(*child), "");
  EXPECT_EQ(Held(*middle) + Held(*top), "22");
  EXPECT_EQ(child->RemoveResultItem(items_[2].get()), 0);
  EXPECT_EQ(Held(*middle) + Held(*top), "") << "removed though the child did not hold it";
}

// Looks for itself in a result while it dies.
struct FacedItem : NxvItemBase {
  explicit FacedItem(basic_structures::CCapturedResultItem* face) {
    SetCCapturedResultItemPtr(face);
  }
  basic_structures::CapturedResultItemType GetType() const override { return spots::kSpotItem; }
};
NxvItemBase* NewNosyItem(const Result& result, basic_structures::CCapturedResultItem* face) {
  const auto look = [result = result.get(), face] { EXPECT_FALSE(result->HasResultItem(face)); };
  return new testing::Asking<FacedItem>(look, face);
}

TEST_F(ResultItems, RemovesTheFirstWithThatFaceAndKeepsTheOrder) {
  const Result result = NewResult();
  result->AddResultItems(
      {nullptr, items_[0], items_[1], items_[2], items_[1], NewNosyItem(result, nullptr)});
  EXPECT_EQ(result->RemoveResultItem(nullptr), 0) << "no face is none to match";
  EXPECT_FALSE(result->HasResultItem(nullptr));
  const SpotItem stranger({});
  EXPECT_EQ(result->RemoveResultItem(&stranger), 0);
  for (const char* left : {"-0121-", "-021-", "-02-"}) {
    EXPECT_EQ(Held(*result), left);
    EXPECT_EQ(result->HasResultItem(items_[1].get()), left != std::string("-02-"));
    result->RemoveResultItem(items_[1].get());
  }
}

// With its lock held, the child would wait for itself.
TEST_F(ResultItems, DieBehindTheLocksOfAllResults) {
  const Result parent = NewResult(), child = NewResult();
  child->SetCaptureResultPointer(parent.get());
  child->AddResultItemExternal(NewNosyItem(child, items_[1].get()));
  child->RemoveResultItem(items_[1].get());
  child->AddResultItem(NewNosyItem(child, items_[2].get()));
  child->ClearAllItems();
  for (const Result& each : {child, parent})  // two items of one face, as assigning makes them
  {
    each->AddResultItem(NewNosyItem(child, items_[0].get()));
  }
  child->RemoveResultItem(items_[0].get());
}

TEST_F(ResultItems, Locks) {
  const Result parent = NewResult(), child = NewResult();
  child->SetCaptureResultPointer(parent.get());
  for (const Result& each : {child, parent}) {
    testing::CallTogether({[&] { each->AddResultItem(items_[0]); },
                           [&] {
                             each->AddResultItems({items_[1], nullptr});
                           },
                           [&] { each->AddResultItemExternal(items_[0].get()); },
                           [&] { each->RemoveResultItem(items_[0].get()); },
                           [&] { each->HasResultItem(items_[2].get()); },
                           [&] { each->ClearAllItems(); }});
    each->ClearAllItems();
  }
}

// Half of the threads work on the child, the other half on its parent, each with items of its own
// of which it removes every second one again.
TEST_F(ResultItems, ChildAndParentFillUpTogether) {
  constexpr int kWriters = 8;
  constexpr int kItems = 400;
  const Result parent = NewResult(), child = NewResult();
  child->SetCaptureResultPointer(parent.get());
  testing::RunTogether(kWriters, [&](int thread) {
    ResultImpBase& result = thread % 2 == 0 ? *child : *parent;
    for (int i = 0; i < kItems; ++i) {
      auto* item = new SpotItem({});
      item->SetModuleID(thread * kItems + i);
      result.AddResultItemExternal(item);
      EXPECT_FALSE(parent->HasResultItem(items_[0].get()));
      if (i % 2 == 0) result.RemoveResultItem(item->GetCCapturedResultItemPtr());
    }
  });
  EXPECT_EQ(parent->GetResultItems().size(), std::size_t{kWriters * kItems / 2});
  std::vector<NxRef<NxvItemBase>> forwarded;
  for (const NxRef<NxvItemBase>& item : parent->GetResultItems()) {
    if (item->GetModuleID() / kItems % 2 == 0) forwarded.push_back(item);
  }
  EXPECT_EQ(forwarded, child->GetResultItems()) << "told out of the child's lock";
}

}  // namespace
}  // namespace velmora
