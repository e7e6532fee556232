// What observers may do to the units of a module, and what their copies keep.

#include "examples/module_author/spots_unit.h"
#include "tests/support/test.h"
#include "velmora_kit/units.h"

namespace velmora::kit {
namespace {

using namespace basic_structures;
using namespace intermediate_results;

NxRef<CandidateRegion> MakeCandidate(int score, const char* mode) {
  NxRef<CandidateRegion> region =
      new CandidateRegion(nullptr, new NxRegionImageInfo(nullptr, nullptr));
  region->SetLocation({{{1, 2}, {11, 2}, {11, 12}, {1, 12}}, -1});
  region->SetConfidence(score);
  region->SetModeName(mode);
  return region;
}

std::string Scores(const CPredetectedRegionsUnit& unit) {
  std::string scores;
  for (int i = 0; i < unit.GetCount(); ++i) {
    scores += std::to_string(unit.GetPredetectedRegion(i)->GetConfidence()) + " ";
  }
  return scores;
}

// A region of another class than the unit's.
class Stranger final : public PredetectedRegionBase<Stranger> {
 public:
  Stranger()
      : PredetectedRegionBase(nullptr, kCandidateRegion, new NxRegionImageInfo(nullptr, nullptr),
                              nullptr) {}
};

TEST(CandidatesUnit, TakesCopiesOfItsOwnKindAlone) {
  const NxRef<CandidatesUnit> unit = new CandidatesUnit(nullptr, nullptr);
  const NxRef<CandidateRegion> region = MakeCandidate(7, "bars");
  const NxRef<Stranger> stranger = new Stranger;
  EXPECT_EQ(unit->AddPredetectedRegion(region.get()), EC_Ok);
  region->SetConfidence(8);
  EXPECT_EQ(unit->AddPredetectedRegion(region.get()), EC_Ok);
  EXPECT_EQ(Scores(*unit), "7 8 ");
  EXPECT_EQ(unit->AddPredetectedRegion(nullptr), EC_NullPointer);
  EXPECT_EQ(unit->AddPredetectedRegion(stranger.get()), EC_ResultTypeMismatchIrreplaceable);
  EXPECT_EQ(unit->SetPredetectedRegion(0, stranger.get()), EC_ResultTypeMismatchIrreplaceable);
  for (const int index : {-1, 2}) {
    EXPECT_EQ(unit->SetPredetectedRegion(index, region.get()), EC_IndexInvalid) << index;
    EXPECT_EQ(unit->GetPredetectedRegion(index), nullptr) << index;
  }
  EXPECT_EQ(unit->SetPredetectedRegion(0, region.get()), EC_Ok);
  EXPECT_EQ(unit->RemovePredetectedRegion(1), EC_Ok);
  EXPECT_EQ(Scores(*unit), "8 ");
  EXPECT_STREQ(unit->GetPredetectedRegion(0)->GetModeName(), "bars");
  EXPECT_EQ(unit->GetPredetectedRegion(0)->GetLocation().points[2][1], 12);
}

TEST(Units, CopiesAreDeepAndKeepWhereTheyCameFrom) {
  const NxRef<NxImageData> image = new NxImageData(
      4, reinterpret_cast<const unsigned char*>("wxyz"), 2, 2, 2, PXF_Binary8, 0, nullptr);
  const CFileImageTag tag("a.png", 0, 1);
  const NxRef<CandidatesUnit> list = new CandidatesUnit(nullptr, nullptr);
  const NxRef<BinaryImageUnit> picture = new BinaryImageUnit(nullptr, nullptr);
  list->AddPredetectedRegion(MakeCandidate(7, "bars").get());
  EXPECT_EQ(picture->SetImageData(image.get()), EC_Ok);
  for (NxUnitBase* unit :
       {static_cast<NxUnitBase*>(list.get()), static_cast<NxUnitBase*>(picture.get())}) {
    unit->CopySourceInfoFromImage(image.get());
  }
  list->SetOriginalImageTag(&tag);

  auto* listCopy = dynamic_cast<CandidatesUnit*>(list->Clone());
  auto* pictureCopy = dynamic_cast<BinaryImageUnit*>(picture->Clone());
  const_cast<CandidateRegion*>(list->GetPredetectedRegion(0))->SetConfidence(1);
  EXPECT_EQ(Scores(*listCopy), "7 ");
  EXPECT_STREQ(listCopy->GetOriginalImageHashId(), list->GetOriginalImageHashId());
  EXPECT_EQ(listCopy->GetOriginalImageTag()->GetImageId(), tag.GetImageId());
  EXPECT_NE(pictureCopy->GetImageData()->GetBytes(), picture->GetImageData()->GetBytes());
  EXPECT_EQ(pictureCopy->GetImageData()->GetBytes()[3], 'z');

  EXPECT_EQ(listCopy->Replace(pictureCopy), EC_ResultTypeMismatchIrreplaceable);
  EXPECT_EQ(listCopy->Replace(nullptr), EC_NullPointer);
  EXPECT_EQ(listCopy->Replace(list.get()), EC_Ok);
  EXPECT_EQ(listCopy->Replace(listCopy), EC_Ok);
  EXPECT_EQ(Scores(*listCopy), "1 ");
  EXPECT_EQ(
      pictureCopy->Replace(NxRef<BinaryImageUnit>(new BinaryImageUnit(nullptr, nullptr)).get()),
      EC_Ok);
  EXPECT_EQ(pictureCopy->GetImageData(), nullptr);
  listCopy->Release();
  pictureCopy->Release();
}

TEST(Units, ClonesHaveAllThatObserversRead) {
  const NxRef<spots::SpotsUnit> spots = new spots::SpotsUnit(nullptr, nullptr);
  const NxRef<CandidatesUnit> candidates = new CandidatesUnit(nullptr, nullptr);
  const NxRef<BinaryImageUnit> binary = new BinaryImageUnit(nullptr, nullptr);
  for (CIntermediateResultUnit* unit : std::initializer_list<CIntermediateResultUnit*>{
           spots.get(), candidates.get(), binary.get()}) {
    unit->SetUsageCount(3);
    for (const auto type : {TMT_OriginalToLocal, TMT_Matrix1, TMT_Matrix2}) {
      const double given[9] = {1, 0, static_cast<double>(7 + type), 0, 1, 0, 0, 0, 1};
      unit->SetTransformMatrix(type, given);
    }
    CIntermediateResultUnit* const clone = unit->Clone();
    EXPECT_EQ(clone->GetUsageCount(), 3);
    for (const auto type : {TMT_OriginalToLocal, TMT_Matrix1, TMT_Matrix2}) {
      double matrix[9];
      clone->GetTransformMatrix(type, matrix);
      EXPECT_EQ(matrix[2], static_cast<double>(7 + type));
    }
    clone->Release();
  }
}

TEST(BinaryImageUnit, RefusesOtherPixelFormats) {
  const CImageData grey(1, reinterpret_cast<const unsigned char*>("g"), 1, 1, 1, PXF_Grayscale8, 0,
                        nullptr);
  const NxRef<BinaryImageUnit> unit = new BinaryImageUnit(nullptr, nullptr);
  EXPECT_EQ(unit->SetImageData(&grey), EC_ImagePixelFormatNotMet);
  EXPECT_EQ(unit->SetImageData(nullptr), EC_NullPointer);
  EXPECT_EQ(unit->GetImageData(), nullptr);
}

}  // namespace
}  // namespace velmora::kit
