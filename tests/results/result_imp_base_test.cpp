#include "velmora/results/result_imp_base.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <numeric>
#include <string>

#include "tests/results/test_item.h"
#include "tests/support/barrier.h"
#include "tests/support/virtual_slots.h"
#include "velmora/image/image_tag.h"
#include "velmora/results/captured_result_base.h"

namespace velmora {
namespace {

using basic_structures::CCapturedResultBase;
using basic_structures::CFileImageTag;
using basic_structures::CImageTag;
using basic_structures::ResultImpBase;
using testing::NxvItemBase;
using testing::TestItem;

// The smallest result a product could write.
class TestResult final : public CCapturedResultBase, public ResultImpBase {
 public:
  TestResult(const char* hashId, const CImageTag* tag) : ResultImpBase(hashId, tag) {
    SetCProductResultPtr(this);
  }
  explicit TestResult(const TestResult* other) : ResultImpBase(other) {}

  const char* GetSourceImageHashId() const override { return GetSourceImageHashIdBase().c_str(); }
  const CImageTag* GetSourceImageTag() const override { return ResultImpBase::GetSourceImageTag(); }
  void GetSourceImageRotationMatrix(double matrix[9]) const override {
    ResultImpBase::GetSourceImageRotationMatrix(matrix);
  }
  int GetErrorCode() const override { return ResultImpBase::GetErrorCode(); }
  const char* GetErrorString() const override { return GetErrorStringBase().c_str(); }

  using ResultImpBase::SetSourceImageTag;
  void Retain() { RetainCache(); }
  void Release() { ReleaseCache(); }
};

using Result = NxRef<TestResult>;
Result NewResult() {
  return new TestResult("", nullptr);
}

std::array<double, 9> MatrixOf(const CCapturedResultBase& result) {
  std::array<double, 9> matrix;
  result.GetSourceImageRotationMatrix(matrix.data());
  return matrix;
}

const CFileImageTag& FileTagOf(const CCapturedResultBase& result) {
  return dynamic_cast<const CFileImageTag&>(*result.GetSourceImageTag());
}

// Items by position, so that a test can say which are left.
class ResultBase : public ::testing::Test {
 protected:
  ResultBase() {
    for (NxRef<TestItem>& item : items_) item = new TestItem;
  }
  ~ResultBase() noexcept override {
    for (NxRef<TestItem>& item : items_) item.reset();
    EXPECT_EQ(TestItem::alive, 0);
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

  std::array<NxRef<TestItem>, 4> items_;
};

TEST_F(ResultBase, StartsSuccessfulEmptyAndWithAnAllZeroMatrix) {
  const Result result = new TestResult(nullptr, nullptr);
  EXPECT_EQ(result->GetErrorCode(), 0);
  EXPECT_STREQ(result->GetErrorString(), "Successful.");
  EXPECT_STREQ(result->GetSourceImageHashId(), "");
  EXPECT_EQ(result->GetSourceImageTag(), nullptr);
  EXPECT_EQ(MatrixOf(*result), (std::array<double, 9>{}));
  EXPECT_EQ(Held(*result), "");
  EXPECT_EQ(result->GetCProductResultPtr(), result.get());
  EXPECT_EQ(testing::CountVirtualOperations<ResultImpBase>(), 3);
  EXPECT_EQ(testing::SlotOf(&ResultImpBase::AddResultItems), 1);
  EXPECT_EQ(testing::SlotOf(&ResultImpBase::ClearAllItems), 2);
}

TEST_F(ResultBase, ErrorStringFollowsTheCodeUnlessSetAlone) {
  const Result result = NewResult();
  result->SetErrorCode(-10026);
  EXPECT_STREQ(result->GetErrorString(), "Operation timeout.");
  result->SetErrorCode(-1);
  EXPECT_EQ(result->GetErrorCode(), -1);
  EXPECT_STREQ(result->GetErrorString(), "Unknown error.");
  result->SetErrorString("own words");
  EXPECT_EQ(result->GetErrorCode(), -1);
  EXPECT_STREQ(result->GetErrorString(), "own words");
}

TEST_F(ResultBase, CopyTakesTheImageAndErrorsAndNothingElse) {
  const CFileImageTag tag("page.pdf", 2, 9);
  const Result parent = NewResult();
  const Result source = new TestResult("BKDR_7", &tag);
  std::array<double, 9> matrix;
  std::iota(matrix.begin(), matrix.end(), 1.0);
  source->SetSourceImageRotationMatrix(matrix.data());
  source->SetErrorCode(-10026);
  source->SetErrorString("late");
  source->SetCaptureResultPointer(parent.get());
  source->AddResultItem(items_[0]);

  const Result copy = new TestResult(source.get());
  EXPECT_STREQ(copy->GetSourceImageHashId(), "BKDR_7");
  EXPECT_EQ(MatrixOf(*copy), matrix);
  EXPECT_EQ(copy->GetErrorCode(), -10026);
  EXPECT_STREQ(copy->GetErrorString(), "late");
  EXPECT_EQ(FileTagOf(*copy).GetPageNumber(), 2);
  EXPECT_NE(copy->GetSourceImageTag(), source->GetSourceImageTag());
  EXPECT_NE(source->GetSourceImageTag(), &tag);
  EXPECT_EQ(Held(*copy), "");
  EXPECT_EQ(copy->GetCProductResultPtr(), nullptr);
  copy->AddResultItemExternal(items_[1].get());
  EXPECT_EQ(Held(*parent), "");
}

TEST_F(ResultBase, ImageInfoReplacesThatOfTheTarget) {
  const CFileImageTag first("first", 0, 1);
  const CFileImageTag second("second", 0, 1);
  const Result source = new TestResult("BKDR_1", &first);
  const Result target = new TestResult("BKDR_2", &second);
  const double matrix[9] = {0, 1, 0, -1, 0, 5, 0, 0, 1};
  source->SetSourceImageRotationMatrix(matrix);
  source->CopySourceImageInfoTo(target.get());
  EXPECT_STREQ(target->GetSourceImageHashId(), "BKDR_1");
  EXPECT_STREQ(FileTagOf(*target).GetFilePath(), "first");
  EXPECT_NE(target->GetSourceImageTag(), source->GetSourceImageTag());
  EXPECT_EQ(MatrixOf(*target), MatrixOf(*source));

  target->CopySourceImageInfoTo(target.get());
  target->SetSourceImageTag(target->GetSourceImageTag());
  EXPECT_STREQ(FileTagOf(*target).GetFilePath(), "first") << "given its own content";

  NewResult()->CopySourceImageInfoTo(target.get());
  EXPECT_EQ(target->GetSourceImageTag(), nullptr);
  EXPECT_STREQ(target->GetSourceImageHashId(), "");
}

TEST_F(ResultBase, OnlyExternalChangesReachTheEnclosingResults) {
  const Result top = NewResult();
  const Result middle = NewResult();
  const Result child = NewResult();
  child->SetCaptureResultPointer(middle.get());
  middle->SetCaptureResultPointer(top.get());

  child->AddResultItem(items_[0]);
  child->AddResultItem(nullptr);
  child->AddResultItems({items_[1], nullptr, items_[0]});
  EXPECT_EQ(Held(*child), "0-1-0");
  EXPECT_EQ(child->AddResultItemExternal(items_[2].get()), 0);
  EXPECT_EQ(child->AddResultItemExternal(nullptr), -10002);
  EXPECT_EQ(Held(*child), "0-1-02");
  EXPECT_EQ(Held(*middle), "2");
  EXPECT_EQ(Held(*top), "2");
  EXPECT_EQ(child->GetResultItem(5), items_[2]);

  child->ClearAllItems();
  EXPECT_EQ(Held(*child), "");
  EXPECT_EQ(Held(*middle), "2");
  EXPECT_EQ(child->RemoveResultItem(items_[2].get()), 0);
  EXPECT_EQ(Held(*middle) + Held(*top), "") << "removed though the child did not hold it";
}

TEST_F(ResultBase, RemovesTheFirstWithThatFaceAndKeepsTheOrder) {
  const Result result = NewResult();
  result->AddResultItems({nullptr, items_[0], items_[1], items_[2], items_[1]});
  const TestItem faceless(*items_[3]);
  EXPECT_EQ(result->RemoveResultItem(nullptr), 0) << "an empty reference has no face to match";
  EXPECT_FALSE(result->HasResultItem(nullptr));
  EXPECT_EQ(result->RemoveResultItem(&faceless), 0);
  EXPECT_EQ(Held(*result), "-0121");
  result->RemoveResultItem(items_[1].get());
  EXPECT_EQ(Held(*result), "-021");
  EXPECT_TRUE(result->HasResultItem(items_[1].get()));
  result->RemoveResultItem(items_[1].get());
  EXPECT_EQ(Held(*result), "-02");
  EXPECT_FALSE(result->HasResultItem(items_[1].get()));
  EXPECT_EQ(items_[1]->GetReferenceCount(), 1);
}

TEST_F(ResultBase, ReleasesItsItemsWhenItDies) {
  auto* result = new TestResult("", nullptr);
  result->Retain();
  result->AddResultItems({items_[0], items_[1]});
  EXPECT_EQ(items_[0]->GetReferenceCount(), 2);
  result->Release();
  EXPECT_EQ(items_[0]->GetReferenceCount(), 1);
}

// Half of the threads work on the child, the other half on its parent, each with items of its own
// of which it removes every second one again; two more look on.
TEST_F(ResultBase, ChildAndParentFillUpTogether) {
  constexpr int kWriters = 8;
  constexpr int kItems = 400;
  const Result parent = NewResult();
  const Result child = NewResult();
  child->SetCaptureResultPointer(parent.get());
  testing::RunTogether(kWriters + 2, [&](int thread) {
    if (thread >= kWriters) {
      for (int i = 0; i < kItems; ++i) EXPECT_FALSE(parent->HasResultItem(items_[0].get()));
      return;
    }
    ResultImpBase& result = thread % 2 == 0 ? *child : *parent;
    for (int i = 0; i < kItems; ++i) {
      auto* item = new TestItem;
      item->SetModuleID(thread * kItems + i);
      result.AddResultItemExternal(item);
      if (i % 2 == 0) result.RemoveResultItem(item->GetCCapturedResultItemPtr());
    }
  });
  EXPECT_EQ(child->GetResultItems().size(), std::size_t{kWriters / 2 * kItems / 2});
  EXPECT_EQ(parent->GetResultItems().size(), std::size_t{kWriters * kItems / 2});
  for (const ResultImpBase* result : {child.get(), parent.get()}) {
    std::array<int, kWriters> last;
    last.fill(-1);
    for (const NxRef<NxvItemBase>& item : result->GetResultItems()) {
      int& before = last[static_cast<std::size_t>(item->GetModuleID() / kItems)];
      EXPECT_LT(before, item->GetModuleID()) << "out of its thread's order, or twice";
      before = item->GetModuleID();
    }
  }
}

}  // namespace
}  // namespace velmora
