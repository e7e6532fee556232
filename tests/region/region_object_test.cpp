#include "examples/module_author/spot_region.h"
#include "tests/region/kit.h"

namespace velmora {
namespace {

using basic_structures::CQuadrilateral;
using spots::SpotRegion;

using Points = std::array<NxPoint_<int>, 4>;

const Points kWhole = {{{0, 0}, {7, 0}, {7, 8}, {0, 8}}};  // of an image of 8 by 9
const Points kWholeTurned = {{{7, 0}, {7, 8}, {0, 8}, {0, 0}}};
const Points kPart = {{{1, 2}, {5, 2}, {5, 6}, {1, 6}}};
const Points kElsewhere = {{{0, 0}, {3, 0}, {3, 3}, {0, 3}}};

// Worked out apart from this library. The image is "ab". The text of a quad hashes to
// BKDR_900904312 for kPart; "BKDR_3105BKDR_900904312" hashes to the id.
constexpr const char* kImageHashId = "BKDR_3105";
constexpr const char* kPartHashId = "BKDR_837275731";

CQuadrilateral Location(const Points& points) {
  CQuadrilateral location;
  std::copy(points.begin(), points.end(), location.points);
  return location;
}

// A capture, and regions on it.
class RegionObject : public ::testing::Test {
 protected:
  NxRef<NxRegionObject> MakeRegion(const Points* points) {
    if (points == nullptr) return new NxRegionObject(source_.get(), {}, info_, nullptr);
    const Nx_Quad quad(points->data());
    return new NxRegionObject(source_.get(), {}, info_, &quad);
  }

  const NxRef<NxImageData> image_ = testing::MakeImage("ab", 8, 9);
  NxRef<NxSourceImageObject> source_ = new NxSourceImageObject(image_.get(), 1, 10);
  NxRef<NxRegionImageInfo> info_ = new NxRegionImageInfo(image_.get(), nullptr);
};

TEST_F(RegionObject, TakesItsFlagsFromTheImageItIsGiven) {
  NxRegionObject region;
  double identity[9];
  NxRegionObject::GetIdentityMatrix(identity);
  for (int i = 0; i < 9; ++i) EXPECT_EQ(identity[i], i % 4 == 0);
  EXPECT_EQ(region.GetTransMatFromOriginalToLocal()[8], 1);
  region.InitNxRegionObject(info_, nullptr);
  EXPECT_TRUE(region.IsImageDataValid()) << "nothing extracted: as it was";
  region.InitNxRegionObject(new NxRegionImageInfo(nullptr, nullptr), nullptr);
  EXPECT_FALSE(region.RegionIsWholeImage() || region.IsImageDataValid());
  EXPECT_TRUE(region.IsTotSamePoints(kWhole.data())) << "the old place stays";

  region.InitNxRegionObject(info_, nullptr);
  EXPECT_FALSE(region.IsImageDataValid()) << "nothing extracted: as it was";
  image_->SetImageRois({Nx_Quad(kPart.data())});
  image_->SetExtracted(true);
  region.InitNxRegionObject(info_, nullptr);
  EXPECT_TRUE(region.IsImageDataValid() && !region.IsPDFVectorValid());
  image_->SetVectorLines(new NxArray<float>(2), new NxArray<float>(2), nullptr);
  region.InitNxRegionObject(info_, nullptr);
  EXPECT_TRUE(region.IsPDFVectorValid());
}

// Counts how often its concrete class was told that it moved.
struct WatchedRegion : NxRegionObject {
  using NxRegionObject::NxRegionObject;
  void Init() override { ++moves; }
  int moves = 0;
};

TEST_F(RegionObject, MovesToConvexQuadrilateralsOnly) {
  const Nx_Quad elsewhere(kElsewhere.data());
  struct Row {
    const char* name;
    Points points;
    const Points* stored;  // null if refused
  };
  for (const Row& r : {Row{"clockwise", kPart, &kPart},
                       Row{"counter-clockwise", {{{1, 6}, {5, 6}, {5, 2}, {1, 2}}}, &kPart},
                       Row{"crossed, untied", {{{1, 2}, {5, 6}, {5, 2}, {1, 6}}}, &kPart},
                       Row{"one inside the others", {{{0, 0}, {8, 0}, {2, 2}, {0, 8}}}, nullptr},
                       Row{"three in a line", {{{0, 0}, {4, 0}, {8, 0}, {0, 8}}}, nullptr},
                       Row{"from another corner", kWholeTurned, &kWholeTurned},
                       Row{"the whole image", kWhole, &kWhole}}) {
    SCOPED_TRACE(r.name);
    const NxRef<WatchedRegion> region = new WatchedRegion(source_.get(), {}, info_, &elsewhere);
    EXPECT_EQ(region->GetArea(-1, -1), 9);  // and fills the cache
    EXPECT_EQ(region->SetLocationWithQuadrilateral(Location(r.points)), r.stored ? 0 : -50057);
    EXPECT_EQ(region->moves, r.stored ? 1 : 0);
    const NxRef<NxRegionObject> twin = MakeRegion(r.stored ? r.stored : &kElsewhere);
    EXPECT_TRUE(region->IsTotSamePoints(twin->GetVertices()));
    EXPECT_EQ(region->RegionIsWholeImage(), twin->RegionIsWholeImage());
    EXPECT_EQ(region->GetRegionHashId(), twin->GetRegionHashId());
    EXPECT_EQ(region->GetArea(-1, -1), twin->GetArea(-1, -1));
  }
  const Points bent = {{{0, 0}, {7, 0}, {7, 8}, {1, 8}}};
  EXPECT_FALSE(MakeRegion(&bent)->RegionIsWholeImage()) << "all corners but the last";
}

// A region without a capture has no hash id until it is asked, and then keeps it when it moves.
TEST_F(RegionObject, ComputesTheHashIdOnDemandWithoutACapture) {
  const Nx_Quad part(kPart.data());
  NxRegionObject region(nullptr, {}, info_, &part);
  NxRegionObject idless(region);
  EXPECT_EQ(region.GetRegionHashId(), kPartHashId);
  region.SetLocationWithQuadrilateral(Location(kWhole));
  EXPECT_EQ(region.GetRegionHashId(), kPartHashId);

  // Copying fills an empty id in, assigning takes it as it is: the move then shows.
  idless.SetSourceImageObject(source_);
  NxRegionObject copy(idless), assigned;
  assigned = idless;
  for (NxRegionObject* each : {&copy, &assigned}) {
    each->SetSourceImageObject(nullptr);
    each->SetLocationWithQuadrilateral(Location(kWhole));
  }
  EXPECT_EQ(copy.GetRegionHashId(), kPartHashId);
  EXPECT_EQ(assigned.GetRegionHashId(), kImageHashId);
}

TEST_F(RegionObject, SharesItsStatusWithCopiesAndKeepsTheElementWhenAssigned) {
  SpotRegion spot(source_.get(), info_, Nx_Quad(kWhole.data()));
  spot.SetObjectId("object");
  spot.SetRegionHashId("region");
  spot.SetTargetROIDefName("definition");
  spot.SetProductTaskName("task");
  spot.SetRegionScore(9);
  spot.SetPDFVectorValidFlag(true);
  spot.SetImageDataValidFlag(false);
  spot.InitWorkModesState(0, {"A"});
  spot.SetReferenceRegion(MakeRegion(nullptr));
  NxRegionObject copy(spot), assigned;
  assigned.SetChecked();
  assigned = spot;
  EXPECT_EQ(copy.GetCRegionObjectElementPtr(), nullptr);
  EXPECT_EQ(assigned.GetCRegionObjectElementPtr(), &spot);
  EXPECT_FALSE(assigned.IsChecked());
  copy.SetUpload();
  EXPECT_TRUE(spot.IsUpload() && spot.IsValid());
  assigned.SetInvalid();
  EXPECT_FALSE(spot.IsValid() || spot.IsChecked());
  for (NxRegionObject* same : {&copy, &assigned}) {
    EXPECT_TRUE(same->IsUpload() && !same->IsValid() && !same->IsChecked());
    EXPECT_TRUE(same->IsTotSamePoints(kWhole.data()) && same->RegionIsWholeImage());
    EXPECT_TRUE(same->IsPDFVectorValid() && !same->IsImageDataValid());
    EXPECT_EQ(same->GetObjectId() + same->GetRegionHashId(), "objectregion");
    EXPECT_EQ(same->GetTargetROIDefName() + same->GetProductTaskName(), "definitiontask");
    EXPECT_EQ(&same->GetStates(), &spot.GetStates());
    EXPECT_EQ(same->GetRegionScore(), 9);
    EXPECT_EQ(same->GetRegionType(), spots::kSpotRegion);
    EXPECT_EQ(same->GetSourceImageObject(), source_);
    EXPECT_EQ(same->GetReferenceRegion(), spot.GetReferenceRegion());
    EXPECT_EQ(same->GetRegionImageInfo(), info_);
  }
}

TEST_F(RegionObject, SearchesTheChainForTheSlotThatHoldsARegion) {
  const NxRef<NxRegionObject> root = new NxRegionObject, middle = new NxRegionObject;
  NxRegionObject leaf;
  root->SetTargetROIDefName("page");
  middle->SetTargetROIDefName("line");
  leaf.SetTargetROIDefName("own");
  leaf.SetReferenceRegion(middle);
  middle->SetReferenceRegion(root);
  const auto slot = [&](const char* name) {
    return &leaf.GetCertainReferenceRegionByTargetName(name);
  };
  EXPECT_EQ(slot("line"), &leaf.GetReferenceRegion());
  EXPECT_EQ(slot("page"), &middle->GetReferenceRegion());
  for (const char* absent : {"Page", "own"}) EXPECT_EQ(slot(absent), &root->GetReferenceRegion());
}

TEST_F(RegionObject, NamesTheElementOfItsReferenceUnlessThatKindHasNone) {
  const NxRef<SpotRegion> spot = new SpotRegion(source_.get(), info_, Nx_Quad(kPart.data()));
  NxRegionObject region;
  EXPECT_EQ(region.ConvertReferenceRegionToElement(), nullptr);
  region.SetReferenceRegion(spot);
  for (int type = 0; type < 10; ++type) {
    spot->SetRegionType(static_cast<intermediate_results::RegionObjectElementType>(type));
    EXPECT_EQ(region.ConvertReferenceRegionToElement() != nullptr, type != 7 && type != 8) << type;
  }
}

TEST_F(RegionObject, MayBeAssignedWhatItAloneKeepsAlive) {
  NxRegionObject inTips;
  inTips.GetRegionImageInfo()->AddTipsData("", {MakeRegion(&kPart)});
  const NxObjectBase& tip = *inTips.GetRegionImageInfo()->GetTipsData("")[0];  // borrowed
  inTips = static_cast<const NxRegionObject&>(tip);
  EXPECT_TRUE(inTips.IsTotSamePoints(kPart.data()));
  EXPECT_EQ(inTips.GetRegionHashId(), kPartHashId);

  NxRegionObject region;
  region.SetReferenceRegion(MakeRegion(&kPart));
  region.GetReferenceRegion()->SetReferenceRegion(MakeRegion(nullptr));
  region = *region.GetReferenceRegion();
  EXPECT_TRUE(region.IsTotSamePoints(kPart.data()));
  EXPECT_TRUE(region.GetReferenceRegion()->RegionIsWholeImage());
}

// A ring keeps itself alive; cutting it destroys the very region whose setter cuts it.
TEST_F(RegionObject, MayCutTheRingItIsIn) {
  NxRegionObject* inRing = nullptr;
  {
    const NxRef<NxRegionObject> a = MakeRegion(&kPart), b = MakeRegion(nullptr);
    a->SetReferenceRegion(b);
    b->SetReferenceRegion(a);
    inRing = a.get();
  }
  EXPECT_EQ(info_->GetReferenceCount(), 3);
  inRing->SetReferenceRegion(nullptr);
  EXPECT_EQ(info_->GetReferenceCount(), 1);
}

// Without a capture a region has no hash id until the first thread asks.
TEST_F(RegionObject, IsMarkedCopiedReadAndRetainedByManyThreads) {
  for (int i = 0; i < 100; ++i) {
    const NxRef<SpotRegion> spot = new SpotRegion(nullptr, info_, Nx_Quad(kPart.data()));
    testing::RunTogether(4, [&](int thread) {
      if (thread == 3) {
        NxRegionObject assigned;
        assigned = *spot;
        EXPECT_EQ(assigned.GetRegionHashId(), kPartHashId);
        return;
      }
      NxRegionObject copy(*spot);
      if (thread == 0) copy.SetUpload();
      if (thread == 1) copy.SetInvalid();
      if (thread == 2) spot->SetChecked();
      EXPECT_EQ((thread == 0 ? copy : *spot).GetRegionHashId(), kPartHashId);
      EXPECT_EQ(spot->RetainCache(), spot.get());
      spot->ReleaseCache();
    });
    EXPECT_TRUE(spot->IsUpload() && !spot->IsValid() && spot->IsChecked());
    EXPECT_EQ(spot->GetReferenceCount(), 1);
  }
}

}  // namespace
}  // namespace velmora
