#include "velmora/region/region_object.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>

#include "tests/region/kit.h"
#include "tests/support/barrier.h"
#include "tests/support/virtual_slots.h"
#include "velmora/region/nx_intermediate_result.h"

namespace velmora {
namespace {

using basic_structures::CQuadrilateral;
using testing::Counted;
using testing::CountVirtualOperations;
using testing::FoundRegion;
using testing::MakeImage;
using testing::RunTogether;
using testing::SlotOf;

using Points = std::array<NxPoint_<int>, 4>;

constexpr double kMatrix[9] = {1, 0, 5, 0, 1, 7, 0, 0, 1};
const Points kWhole = {{{0, 0}, {7, 0}, {7, 8}, {0, 8}}};  // of an image of 8 by 9
const Points kPart = {{{1, 2}, {5, 2}, {5, 6}, {1, 6}}};
const Points kWholeTurned = {{{7, 0}, {7, 8}, {0, 8}, {0, 0}}};

// Worked out apart from this library: the hash of "BKDR_3105" (the image "ab") followed by the hash
// of the text of the quadrilateral, which is BKDR_900904312 for kPart.
constexpr const char* kImageHashId = "BKDR_3105";
constexpr const char* kPartHashId = "BKDR_837275731";

NxRef<NxRegionImageInfo> InfoOf(const NxRef<NxImageData>& image) {
  return new NxRegionImageInfo(image.get(), kMatrix);
}

// A capture of 8 by 9 pixels, and regions on it.
class RegionObject : public ::testing::Test {
 protected:
  ~RegionObject() noexcept override = default;

  NxRef<NxRegionObject> MakeRegion(const Points* points) const {
    if (points == nullptr) return new NxRegionObject(source_.get(), {}, info_, nullptr);
    const Nx_Quad quad(points->data());
    return new NxRegionObject(source_.get(), {}, info_, &quad);
  }

  const NxRef<NxImageData> image_ = MakeImage("ab", 8, 9);
  const NxRef<NxSourceImageObject> source_ = new NxSourceImageObject(image_.get(), 1, 10);
  const NxRef<NxRegionImageInfo> info_ = InfoOf(image_);
};

// Modules are compiled against this table.
TEST(RegionClasses, KeepTheOrderOfTheirVirtualOperations) {
  EXPECT_EQ(SlotOf(&NxRegionObject::GetCropROITransMat), 6);
  EXPECT_EQ(SlotOf(&NxRegionObject::CheckDuplicateStatusWithRegionObject), 7);
  EXPECT_EQ(SlotOf(&NxRegionObject::CalcRegionHashId), 8);
  EXPECT_EQ(CountVirtualOperations<NxRegionObject>(), 9);
  EXPECT_EQ(CountVirtualOperations<NxUnitBase>(), 1);
  EXPECT_EQ(CountVirtualOperations<NxIntermediateResult>(), 3);
}

// What the hooks do until a concrete region overrides them.
TEST(RegionClasses, HaveHooksThatDoNothing) {
  NxRegionObject region;
  int width = 3, height = 4;
  EXPECT_FALSE(region.GetCropROITransMat(nullptr, width, height));
  EXPECT_EQ(width + height, 7);
  EXPECT_EQ(region.CheckDuplicateStatusWithRegionObject(region, nullptr), 0);
}

TEST_F(RegionObject, KnowsTheWholeImageAndItsHashId) {
  struct Row {
    const char* name;
    const Points* points;
    bool isWhole;
    const char* hashId;
  };
  for (const Row& r : {Row{"no quad", nullptr, true, kImageHashId},
                       Row{"the corners", &kWhole, true, kImageHashId},
                       Row{"from another corner", &kWholeTurned, false, nullptr},
                       Row{"a part", &kPart, false, kPartHashId}}) {
    SCOPED_TRACE(r.name);
    const NxRef<NxRegionObject> region = MakeRegion(r.points);
    EXPECT_TRUE(region->IsTotSamePoints((r.points ? r.points : &kWhole)->data()));
    EXPECT_EQ(region->RegionIsWholeImage(), r.isWhole);
    if (r.hashId != nullptr)
      EXPECT_EQ(region->GetRegionHashId(), r.hashId);
    else
      EXPECT_NE(region->GetRegionHashId(), kImageHashId);
  }
}

TEST_F(RegionObject, StartsOnAnEmptyImageInfo) {
  const NxRef<NxRegionObject> region = new NxRegionObject;
  EXPECT_EQ(region->GetRegionImage(), nullptr);
  EXPECT_TRUE(region->GetRegionImageInfo());
  for (int i = 0; i < 9; ++i)
    EXPECT_EQ(region->GetTransMatFromOriginalToLocal()[i], i % 4 == 0 ? 1 : 0);
  EXPECT_FALSE(region->RegionIsWholeImage());
  EXPECT_TRUE(region->IsImageDataValid());
  EXPECT_FALSE(region->IsPDFVectorValid());
  EXPECT_EQ(region->GetRegionHashId(), "");

  // Without an image a null quad leaves the place alone.
  region->InitNxRegionObject(info_, nullptr);
  EXPECT_TRUE(region->RegionIsWholeImage());
  region->InitNxRegionObject(InfoOf(nullptr), nullptr);
  EXPECT_FALSE(region->RegionIsWholeImage());
  EXPECT_TRUE(region->IsTotSamePoints(kWhole.data()));
  EXPECT_FALSE(region->IsImageDataValid());
}

TEST_F(RegionObject, TakesTheValidityFlagsFromWhatWasExtracted) {
  const NxRef<NxRegionObject> region = new NxRegionObject;
  region->SetImageDataValidFlag(false);
  region->InitNxRegionObject(info_, nullptr);
  EXPECT_FALSE(region->IsImageDataValid());  // nothing extracted: as it was

  image_->SetImageRois({Nx_Quad(kPart.data())});
  image_->SetExtracted(true);
  region->InitNxRegionObject(info_, nullptr);
  EXPECT_TRUE(region->IsImageDataValid());
  EXPECT_FALSE(region->IsPDFVectorValid());

  const float ends[2] = {1, 2};
  image_->SetVectorLines(new NxArray<float>(ends, 2), new NxArray<float>(ends, 2), nullptr);
  region->InitNxRegionObject(info_, nullptr);
  EXPECT_TRUE(region->IsPDFVectorValid());
}

TEST_F(RegionObject, MovesToConvexQuadrilateralsOnly) {
  struct Row {
    const char* name;
    Points points;
    const Points* stored;  // null if refused
    int area;
    const char* hashId;
  };
  for (const Row& r :
       {Row{"clockwise", kPart, &kPart, 16, kPartHashId},
        Row{"counter-clockwise", {{{1, 6}, {5, 6}, {5, 2}, {1, 2}}}, &kPart, 16, kPartHashId},
        Row{"crossed, untied", {{{1, 2}, {5, 6}, {5, 2}, {1, 6}}}, &kPart, 16, kPartHashId},
        Row{"a vertex inside the others", {{{0, 0}, {8, 0}, {2, 2}, {0, 8}}}, nullptr, 56, ""},
        Row{"three in a line", {{{0, 0}, {4, 0}, {8, 0}, {0, 8}}}, nullptr, 56, ""},
        Row{"the whole image again", kWhole, &kWhole, 56, kImageHashId}}) {
    SCOPED_TRACE(r.name);
    const NxRef<NxRegionObject> region = MakeRegion(nullptr);
    EXPECT_EQ(region->GetArea(-1, -1), 56);  // fills the cache
    CQuadrilateral location;
    std::copy(r.points.begin(), r.points.end(), location.points);
    EXPECT_EQ(region->SetLocationWithQuadrilateral(location), r.stored ? 0 : -50057);
    EXPECT_TRUE(region->IsTotSamePoints((r.stored ? r.stored : &kWhole)->data()));
    EXPECT_EQ(region->RegionIsWholeImage(), r.stored != &kPart);
    EXPECT_EQ(region->GetRegionHashId(), r.stored ? r.hashId : kImageHashId);
    EXPECT_EQ(region->GetArea(-1, -1), r.area);
  }
}

// A region without a capture has no hash id until it is asked, and then keeps it when it moves.
TEST_F(RegionObject, ComputesTheHashIdOnDemandWithoutACapture) {
  const Nx_Quad part(kPart.data());
  const NxRef<NxRegionObject> region = new NxRegionObject(nullptr, {}, info_, &part);
  const NxRef<NxRegionObject> copy = new NxRegionObject(*region);
  EXPECT_EQ(region->GetRegionHashId(), kPartHashId);
  CQuadrilateral whole;
  std::copy(kWhole.begin(), kWhole.end(), whole.points);
  region->SetLocationWithQuadrilateral(whole);
  EXPECT_EQ(region->GetRegionHashId(), kPartHashId);

  copy->SetSourceImageObject(source_);
  EXPECT_EQ(NxRegionObject(*copy).GetRegionHashId(), kPartHashId);
}

TEST_F(RegionObject, CopyingAndAssigningDifferInElementAndHashId) {
  const NxRef<FoundRegion> found = new FoundRegion(nullptr, info_, Nx_Quad(kPart.data()));
  found->SetSourceImageObject(source_);
  found->SetTargetROIDefName("definition");
  found->SetProductTaskName("task");
  found->SetRegionScore(9);
  found->SetReferenceRegion(MakeRegion(nullptr));

  const NxRegionObject copy(*found);
  EXPECT_EQ(copy.GetCRegionObjectElementPtr(), nullptr);
  NxRegionObject assigned;
  assigned = *found;
  EXPECT_EQ(assigned.GetCRegionObjectElementPtr(), found.get());
  for (const NxRegionObject* same : {&copy, &static_cast<const NxRegionObject&>(assigned)}) {
    EXPECT_TRUE(same->IsTotSamePoints(kPart.data()));
    EXPECT_EQ(same->GetTargetROIDefName(), "definition");
    EXPECT_EQ(same->GetProductTaskName(), "task");
    EXPECT_EQ(same->GetRegionScore(), 9);
    EXPECT_EQ(same->GetSourceImageObject(), source_);
    EXPECT_EQ(same->GetReferenceRegion(), found->GetReferenceRegion());
    EXPECT_EQ(same->GetRegionImageInfo(), info_);
  }
  // Assigning takes the empty hash id over; copying has filled its own.
  found->SetRegionHashId("other");
  EXPECT_EQ(NxRegionObject(copy).GetRegionHashId(), kPartHashId);
}

TEST_F(RegionObject, MayBeAssignedItsOwnReferenceRegion) {
  NxRegionObject region;
  region.SetReferenceRegion(MakeRegion(&kPart));
  region.GetReferenceRegion()->SetReferenceRegion(MakeRegion(nullptr));
  region = *region.GetReferenceRegion();
  EXPECT_TRUE(region.IsTotSamePoints(kPart.data()));
  EXPECT_TRUE(region.GetReferenceRegion()->RegionIsWholeImage());
}

TEST_F(RegionObject, SharesItsStatusWithCopiesAndAssignedRegions) {
  const NxRef<NxRegionObject> region = MakeRegion(nullptr);
  const NxRef<NxRegionObject> copy = new NxRegionObject(*region);
  NxRegionObject assigned;
  assigned.SetChecked();
  assigned = *copy;
  EXPECT_FALSE(assigned.IsChecked());
  EXPECT_FALSE(region->IsUpload());
  copy->SetUpload();
  EXPECT_TRUE(region->IsUpload());
  EXPECT_TRUE(region->IsValid());
  assigned.SetInvalid();
  EXPECT_FALSE(region->IsValid());
  EXPECT_FALSE(region->IsChecked());
  region->SetChecked();
  EXPECT_TRUE(copy->IsChecked() && assigned.IsChecked());
}

TEST_F(RegionObject, SearchesTheChainForTheSlotThatHoldsARegion) {
  const NxRef<NxRegionObject> root = new NxRegionObject;
  const NxRef<NxRegionObject> middle = new NxRegionObject;
  const NxRef<NxRegionObject> leaf = new NxRegionObject;
  root->SetTargetROIDefName("page");
  middle->SetTargetROIDefName("line");
  leaf->SetTargetROIDefName("own");
  EXPECT_FALSE(leaf->GetCertainReferenceRegionByTargetName(""));
  leaf->SetReferenceRegion(middle);
  middle->SetReferenceRegion(root);

  struct Row {
    const char* name;
    const NxRef<NxRegionObject>* slot;
  };
  for (const Row& r :
       {Row{"line", &leaf->GetReferenceRegion()}, Row{"page", &middle->GetReferenceRegion()},
        Row{"Page", &root->GetReferenceRegion()}, Row{"own", &root->GetReferenceRegion()}}) {
    SCOPED_TRACE(r.name);
    EXPECT_EQ(&leaf->GetCertainReferenceRegionByTargetName(r.name), r.slot);
  }
}

TEST_F(RegionObject, NamesTheElementOfItsReferenceUnlessThatKindHasNone) {
  const NxRef<FoundRegion> found = new FoundRegion(source_.get(), info_, Nx_Quad(kPart.data()));
  const NxRef<NxRegionObject> region = new NxRegionObject;
  EXPECT_EQ(region->ConvertReferenceRegionToElement(), nullptr);
  region->SetReferenceRegion(found);
  for (int type = 0; type < 10; ++type) {
    found->SetRegionType(static_cast<intermediate_results::RegionObjectElementType>(type));
    EXPECT_EQ(region->ConvertReferenceRegionToElement() != nullptr, type != 7 && type != 8) << type;
  }
}

// A cycle of reference regions keeps itself alive; cutting it lets all of it go.
TEST_F(RegionObject, DiesWithItsLastReference) {
  std::atomic<int> live{0};
  info_->AddTipsData("witness", {new Counted(&live)});
  NxRegionObject* borrowed = nullptr;
  {
    const NxRef<NxRegionObject> a = MakeRegion(&kPart);
    const NxRef<NxRegionObject> b = new NxRegionObject(*a);
    a->SetReferenceRegion(b);
    b->SetReferenceRegion(a);
    borrowed = a.get();
  }
  EXPECT_EQ(info_->GetReferenceCount(), 3);
  borrowed->SetReferenceRegion(nullptr);
  EXPECT_EQ(info_->GetReferenceCount(), 1);
  EXPECT_EQ(source_->GetReferenceCount(), 1);
}

TEST_F(RegionObject, IsMarkedReadAndRetainedByManyThreads) {
  NxRef<FoundRegion> found = new FoundRegion(source_.get(), info_, Nx_Quad(kPart.data()));
  found->SetReferenceRegion(MakeRegion(nullptr));
  RunTogether(8, [&](int thread) {
    for (int i = 0; i < 200; ++i) {
      const NxRef<NxRegionObject> copy = new NxRegionObject(*found);
      if (thread == 0) copy->SetUpload();
      if (thread == 1) copy->SetInvalid();
      if (thread == 2) found->SetChecked();
      EXPECT_EQ(copy->GetRegionHashId(), kPartHashId);
      EXPECT_EQ(found->GetRegionHashId(), kPartHashId);
      copy->IsValid();
      EXPECT_EQ(found->RetainCache(), found.get());
      found->ReleaseCache();
    }
  });
  EXPECT_TRUE(found->IsUpload() && !found->IsValid() && found->IsChecked());
  EXPECT_EQ(found->GetReferenceCount(), 1);
}

}  // namespace
}  // namespace velmora
