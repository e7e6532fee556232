// The operations of objects, images, geometry, results and regions without memory.
#include "examples/module_author/spot_item.h"
#include "examples/module_author/spot_region.h"
#include "examples/module_author/spot_result.h"
#include "examples/module_author/spots_unit.h"
#include "tests/memory/core_objects.h"

namespace velmora::testing {
namespace {

using namespace basic_structures;
using namespace intermediate_results;
using std::to_string;

std::string Str(const char* text) {
  return text == nullptr ? "null" : text;
}

std::string Look(const CImageTag* tag) {
  const auto* file = dynamic_cast<const CFileImageTag*>(tag);
  return file == nullptr ? "no tag" : "tag " + Str(file->GetFilePath());
}

std::string Look(const CImageData* image) {
  if (image == nullptr) return "null";
  return to_string(image->GetWidth()) + "x" + to_string(image->GetHeight()) + " " +
         NxHashAlgorithm::Generate_BKDRHash(image->GetBytes(),
                                            static_cast<std::uint32_t>(image->GetBytesLength())) +
         " " + Look(image->GetImageTag());
}

template <typename T>
std::string LookAll(const T* begin, std::size_t count) {
  std::string text;
  for (std::size_t i = 0; i < count; ++i) text += to_string(begin[i]) + " ";
  return text;
}

std::string LookPoints(const NxPoint_<int>* points, std::size_t count) {
  std::string text;
  for (const auto* p = points; p != points + count; ++p) {
    text += to_string((*p)[0]) + "," + to_string((*p)[1]) + " ";
  }
  return text;
}

std::string LookPoints(const std::vector<NxPoint_<int>>& points) {
  return LookPoints(points.data(), points.size());
}

std::unique_ptr<CImageData> MakePicture(ImagePixelFormat format) {
  return std::make_unique<CImageData>(sizeof kPixels, kPixels, nullptr, 16, 16, 128, format, 0,
                                      &Tag());
}

TEST(Memory, OfTheFoundation) {
  const auto text = [](const auto& array) { return std::string(array->GetData()); };
  const long points = RunOutOfMemory(
      "foundation",
      {
          Giving(
              "NxArray<char>", [] { return NxArrayRef<char>(new NxArray<char>("text", 4)); }, text),
          Giving(
              "NxArray<int>", [] { return NxArrayRef<int>(new NxArray<int>(20)); },
              [](const auto& array) { return LookAll(array->GetData(), array->GetCount()); }),
          Giving(
              "GenerateHash", [] { return NxHashAlgorithm::GenerateHash("a long text", 11); },
              text),
          Giving(
              "AllocateBytes",
              [] {
                unsigned char* bytes = CCoreModule::AllocateBytes(100);
                CCoreModule::FreeBytes(bytes);
                return bytes != nullptr;
              },
              [](bool is) { return is ? "a block" : "none"; }, {"none"}),
          // The pointer is null after a failure, as documented.
          {"Nx_CopyCharArray", kUsable,
           [] {
             auto copy = std::shared_ptr<char*>(new char*(nullptr), [](char** held) {
               Nx_DeleteCharArray(held);
               delete held;
             });
             Nx_CopyCharArray("old", copy.get());
             return Trial{[=] { Nx_CopyCharArray("new text", copy.get()); },
                          [=] { return Str(*copy); }};
           }},
          Changing(
              "NxObjectBase::SetObjectId", kUnchanged, [] { return new NxObjectBase; },
              [](auto& object) { object.SetObjectId(kLong); },
              [](auto& object) { return object.GetObjectId() + to_string(object.HasObjectId()); }),
          Changing(
              "NxObjectBase::operator=", kUnchanged, [] { return new NxObjectBase; },
              [](auto& object) {
                static NxObjectBase* const other = [] {
                  auto* made = new NxObjectBase;
                  made->SetObjectId(kLong);
                  return made;
                }();
                object = *other;
              },
              [](auto& object) { return object.GetObjectId() + to_string(object.HasObjectId()); }),
          Changing(
              "NxSafeString::SetString", kUnchanged, [] { return new NxSafeString; },
              [](auto& string) { string.SetString(kLong); },
              [](auto& string) { return string.GetString(); }),
          Giving(
              "NxSemaphore", [] { return std::make_shared<NxSemaphore>(3); },
              [](const auto& semaphore) { return to_string(semaphore->GetValue()); }),
      });
  EXPECT_GT(points, 20);
}

const NxPoint_<int> kSquare[4] = {{10, 10}, {60, 12}, {58, 55}, {12, 50}};
const NxPoint_<int> kShifted[4] = {{30, 30}, {90, 32}, {88, 75}, {32, 70}};

std::string LookQuad(const Nx_Quad& quad) {
  return quad.toString() + quad.GetObjectId() + LookPoints(quad.GetVertices(), 4);
}

TEST(Memory, OfTheGeometry) {
  const auto makeQuad = [] { return new Nx_Quad(kSquare); };
  const auto points = [](const auto& list) { return LookPoints(list); };
  const auto contour = [](const CContour& c) {
    return LookPoints(c.GetPoints(), static_cast<std::size_t>(c.GetPointsCount()));
  };
  static CContour full;
  full.SetPoints(4, kSquare, nullptr);
  const long count = RunOutOfMemory(
      "geometry",
      {
          Giving(
              "Nx_Quad(vertices)", [] { return NxRef<Nx_Quad>(new Nx_Quad(kSquare)); },
              [](const auto& quad) { return LookQuad(*quad); }),
          Giving(
              "Nx_Quad::toString", [] { return Nx_Quad(kSquare).toString(); },
              [](const std::string& text) { return text; }),
          Changing(
              "Nx_Quad::SetVertices", kUnchanged, makeQuad,
              [](Nx_Quad& quad) { quad.SetVertices(kShifted), quad.CalcHashID(); },
              [](const Nx_Quad&) { return ""; }),
          Giving(
              "GetOverlappingPolygonPointsWithOtherQuad",
              [] {
                std::vector<NxPoint_<int>> out;
                const Nx_Quad other(kShifted);
                Nx_Quad(kSquare).GetOverlappingPolygonPointsWithOtherQuad(&other, out);
                return out;
              },
              points),
          Giving(
              "GetAllPixels",
              [] {
                std::vector<NxPoint_<int>> out;
                Nx_Quad(kSquare).GetAllPixels(out, PXM_CHAIN, 2, 100, 100);
                return out;
              },
              points),
          Giving(
              "Pixelate",
              [] {
                std::vector<NxPoint_<int>> out;
                Nx_LineSegmentEnhanced(kSquare[0], kSquare[1]).Pixelate(out, PXM_CHAIN, 1, 100);
                return out;
              },
              points),
          Giving(
              "CContour(other)", [] { return CContour(full); }, contour),
          Changing(
              "CContour::operator=", kUnchanged, [] { return new CContour; },
              [](CContour& c) { c = full; }, contour),
      });
  EXPECT_GT(count, 20);
}

struct Source : CImageSourceAdapter {
  explicit Source(BufferOverflowProtectionMode mode) {
    SetMaxImageCount(2);
    SetBufferOverflowProtectionMode(mode);
    StartFetching();
    for (int id = 0; id < 2; ++id) Add(id);
  }
  bool HasMoreImages() const override { return true; }
  void Add(int id) {
    CFileImageTag tag("a name", 0, 1);
    tag.SetImageId(id);
    const CImageData image(sizeof kPixels, kPixels, nullptr, 16, 16, 128, PXF_Colour888, 0, &tag);
    AddImageToBuffer(&image, true);
  }
};

std::string LookSource(const Source& source) {
  const ImageSourceStatistics s = source.GetStatistics();
  std::string ids;
  for (int id = 0; id < 5; ++id) ids += source.HasImage(id) ? to_string(id) : "";
  EXPECT_EQ(s.offered, s.delivered + s.dropped + s.refused + s.buffered);
  return ids + " of " + to_string(source.GetImageCount()) + ", dropped " + to_string(s.dropped) +
         ", delivered " + to_string(s.delivered);
}

TEST(Memory, OfImages) {
  const auto look = [](const auto& image) { return Look(image.get()); };
  std::vector<Operation> operations{
      Giving(
          "CFileImageTag::Clone", [] { return std::unique_ptr<CImageTag>(Tag().Clone()); },
          [](const auto& tag) { return Look(tag.get()); }),
      Giving(
          "CVideoFrameTag::Clone",
          [] {
            const CRect crop(1, 2, 3, 4);
            const CVideoFrameTag tag({}, true, &crop, 5, 6, 7);
            return std::unique_ptr<CImageTag>(tag.Clone());
          },
          [](const auto& tag) {
            return to_string(static_cast<CVideoFrameTag&>(*tag).GetCropRegion()->left);
          }),
      Changing(
          "CFileImageTag::operator=", kUnchanged, [] { return new CFileImageTag("old", 0, 1); },
          [](CFileImageTag& tag) { tag = static_cast<const CFileImageTag&>(Tag()); },
          [](const CFileImageTag& tag) { return Look(&tag) + to_string(tag.GetTotalPages()); }),
      Giving(
          "CopyImage", [] { return CopyImage(*MakePicture(PXF_Grayscale8)); }, look),
      Changing(
          "CImageData::SetImageTag", kUnchanged, [] { return new CImageData; },
          [](CImageData& image) { image.SetImageTag(&Tag()); },
          [](const CImageData& image) { return Look(&image); }),
      Giving(
          "CImageDataWrapper::DeepCopy",
          [] {
            auto picture = MakePicture(PXF_Colour888);
            const NxRef<CImageDataWrapper> wrapper = new CImageDataWrapper(picture.get());
            picture.release();
            return NxRef<CImageDataWrapper>(wrapper->DeepCopy());
          },
          [](const auto& wrapper) { return Look(wrapper->GetImageData()); }),
      Giving(
          "NxImageDataInner",
          [] { return std::make_unique<NxImageDataInner>(kPixels, 8, 8, 64, PXF_Grayscale8); },
          look),
      Giving(
          "NxImageDataInner::CreateUninitialised",
          [] {
            return std::unique_ptr<NxImageDataInner>(
                NxImageDataInner::CreateUninitialised(8, 8, 64, PXF_Grayscale8));
          },
          [](const auto& image) { return to_string(image->GetWidth()); }),
      Changing(
          "NxImageData::SetHashID", kUnchanged, [] { return new NxImageData; },
          [](NxImageData& image) { image.SetHashID(kLong); },
          [](const NxImageData& image) { return image.GetObjectId(); }),
      Changing(
          "NxImageData::SetImageRois", kUnchanged, [] { return new NxImageData; },
          [](NxImageData& image) { image.SetImageRois(std::vector<Nx_Quad>(2, Nx_Quad(kSquare))); },
          [](const NxImageData& image) {
            NxArrayRef<Nx_Quad> rois;
            image.GetPDFImageROIs(rois);
            return rois ? LookPoints((*rois)[1].GetVertices(), 4) : "none";
          }),
      Changing(
          "NxImageData::SetBarcodeTextBlocks", kUnchanged, [] { return new NxImageData; },
          [](NxImageData& image) { image.SetBarcodeTextBlocks(std::vector<TextBlock>(2)); },
          [](const NxImageData& image) {
            NxArrayRef<TextBlock> blocks;
            image.GetPDFTextBlocks(blocks);
            return to_string(blocks ? blocks->GetCount() : 0);
          }),
      Giving(
          "ConvertData",
          [] {
            ConvertData data(kPixels, 16, 16, 128, 1, 0, 0, false, false, false, false,
                             CCU_Unrestricted);
            data.UpdateByFormat(PXF_BinaryPacked);
            const ConvertData copy = data;
            return std::unique_ptr<CImageData>(Nx_ConvertToRGB(&data));
          },
          look),
  };
  for (const auto mode : {BOP_Block, BOP_DropOldest}) {
    operations.push_back(Changing(
        "AddImageToBuffer", kUnchanged,
        [=] {
          auto* source = new Source(mode);
          if (mode == BOP_Block) source->ClearBuffer();
          return source;
        },
        [](Source& source) { source.Add(4); }, LookSource));
  }
  const auto makeSource = [] { return new Source(BOP_DropOldest); };
  // The image that cannot be converted is gone, as documented.
  operations.push_back(Changing(
      "GetImage", kUsable, makeSource,
      [](Source& source) { std::unique_ptr<CImageData>(source.GetImage()); }, LookSource));
  for (int format = 0; format <= 15; ++format) {
    for (const auto usage : {CCU_AllChannels, CCU_Luminance, CCU_Red}) {
      const auto convert = [=] {
        return std::unique_ptr<CImageData>(
            Nx_ConvertImageData(MakePicture(static_cast<ImagePixelFormat>(format)).get(), usage));
      };
      if (convert()) operations.push_back(Giving("Nx_ConvertImageData", convert, look));
    }
  }
  EXPECT_GT(RunOutOfMemory("image", operations), 200);
}

CQuadrilateral MakeLocation(const NxPoint_<int>* points = kSquare) {
  CQuadrilateral location;
  std::copy_n(points, 4, location.points);
  return location;
}

std::string LookZone(const CTextZone& zone) {
  int* indices = nullptr;
  int count = 0;
  zone.GetCharContoursIndices(&indices, &count);
  return LookAll(indices, static_cast<std::size_t>(count)) +
         LookPoints(zone.GetLocation().points, 4);
}

using spots::SpotItem;
using spots::SpotRegion;
using spots::SpotResult;
using spots::SpotsUnit;

NxRef<NxRegionImageInfo> MakeInfo() {
  return new NxRegionImageInfo(MakeImage().get(), nullptr);
}

NxRef<SpotRegion> MakeSpot() {
  return new SpotRegion(MakeSource().get(), MakeInfo(), Nx_Quad(kSquare));
}

std::string LookResult(const ResultImpBase& result) {
  return to_string(result.GetResultItems().size()) + " items, error " +
         to_string(result.GetErrorCode()) + result.GetErrorStringBase() +
         result.GetSourceImageHashIdBase() + Look(result.GetSourceImageTag());
}

TEST(Memory, OfResults) {
  static const int kIndices[] = {1, 2, 3};
  static const CTextZone* const zone = new CTextZone(MakeLocation(kShifted), kIndices, 3);
  const auto makeResult = [] { return new SpotResult("hash of the source image", &Tag()); };
  const auto makeUnit = [] { return new SpotsUnit(MakeSource().get(), MakeInfo().get()); };
  const auto lookUnit = [](const CIntermediateResultUnit& unit) {
    return Str(unit.GetHashId()) + Str(unit.GetOriginalImageHashId()) +
           Look(unit.GetOriginalImageTag());
  };
  const auto lookRegions = [=](const SpotsUnit& unit) {
    std::string text = lookUnit(unit);
    for (int i = 0; i < unit.GetCount(); ++i) {
      text += LookPoints(unit.GetPredetectedRegion(i)->GetLocation().points, 4);
    }
    return text;
  };
  // Shared objects are held by one reference; the table's objects are destroyed plainly.
  const auto lookItem = [](const SpotItem& item) {
    return item.GetTargetName() + item.GetTaskName() +
           to_string(item.GetReferenceItem() != nullptr);
  };
  const long points = RunOutOfMemory(
      "results",
      {
          Giving(
              "CTextZone(other)", [] { return CTextZone(*zone); }, LookZone),
          Changing(
              "CTextZone::operator=", kUnchanged, [] { return new CTextZone; },
              [](CTextZone& z) { z = *zone; }, LookZone),
          Changing(
              "CTextZone::SetCharContoursIndices", kUnchanged, [] { return new CTextZone(*zone); },
              [](CTextZone& z) { z.SetCharContoursIndices(kIndices, 2); }, LookZone),
          Giving(
              "ResultImpBase", [=] { return NxRef<SpotResult>(makeResult()); },
              [](const auto& result) { return LookResult(*result); }),
          Giving(
              "ResultImpBase(other)",
              [=] {
                const NxRef<SpotResult> other = makeResult();
                return NxRef<ResultImpBase>(new ResultImpBase(other.get()));
              },
              [](const auto& result) { return LookResult(*result); }),
          Changing(
              "ResultImpBase::AddResultItem", kUnchanged, makeResult,
              [](SpotResult& result) {
                result.AddResultItem(NxRef<NxvItemBase>(new SpotItem(MakeLocation())));
              },
              LookResult),
          Changing(
              "ResultImpBase::AddResultItems", kUsable, makeResult,
              [](SpotResult& result) {
                result.AddResultItems({new SpotItem(MakeLocation()), new SpotItem({})});
              },
              LookResult),
          Changing(
              "ResultImpBase::SetErrorCode", kUnchanged, makeResult,
              [](SpotResult& result) { result.SetErrorCode(EC_NoMemory); }, LookResult),
          Changing(
              "ResultImpBase::SetErrorString", kUnchanged, makeResult,
              [](SpotResult& result) { result.SetErrorString(kLong); }, LookResult),
          Changing(
              "ResultImpBase::CopySourceImageInfoTo", kUsable,
              [] { return new SpotResult("", nullptr); },
              [=](SpotResult& result) {
                const NxRef<SpotResult> other = makeResult();
                other->CopySourceImageInfoTo(&result);
              },
              LookResult),
          Changing(
              "NxvItemBase::SetTargetAndTaskName", kUnchanged,
              [] { return new SpotItem(MakeLocation()); },
              [](SpotItem& item) { item.SetTargetAndTaskName(kLong, kOther); }, lookItem),
          Changing(
              "NxvItemBase::SetReferenceItem", kUnchanged,
              [] { return new SpotItem(MakeLocation()); },
              [](SpotItem& item) { item.SetReferenceItem(new SpotItem({})); }, lookItem),
          Giving(
              "CCapturedResultItem::Clone",
              [] {
                const NxRef<SpotItem> item = new SpotItem(MakeLocation());
                item->SetTargetAndTaskName(kLong, kOther);
                return std::shared_ptr<CCapturedResultItem>(
                    item->Clone(), [](CCapturedResultItem* face) { face->Release(); });
              },
              [](const auto& item) { return std::string(item->GetTargetROIDefName()); }),
          Changing(
              "CIntermediateResultUnit::SetHashId", kUnchanged, makeUnit,
              [](SpotsUnit& unit) { unit.SetHashId(kLong.c_str()); }, lookUnit),
          Changing(
              "CIntermediateResultUnit::SetOriginalImageHashId", kUnchanged, makeUnit,
              [](SpotsUnit& unit) { unit.SetOriginalImageHashId(kLong.c_str()); }, lookUnit),
          Changing(
              "CIntermediateResultUnit::SetOriginalImageTag", kUnchanged, makeUnit,
              [](SpotsUnit& unit) { unit.SetOriginalImageTag(&Tag()); }, lookUnit),
          Changing(
              "NxUnitBase::CopySourceInfoFromImage", kUsable, makeUnit,
              [](SpotsUnit& unit) { unit.CopySourceInfoFromImage(MakeImage().get()); }, lookUnit),
          Changing(
              "AddPredetectedRegion", kUnchanged, makeUnit,
              [](SpotsUnit& unit) { unit.AddPredetectedRegion(MakeSpot().get()); }, lookRegions),
          Giving(
              "CIntermediateResultUnit::Clone",
              [=] {
                const NxRef<SpotsUnit> unit = makeUnit();
                unit->SetHashId(kLong.c_str()), unit->SetOriginalImageTag(&Tag());
                unit->AddPredetectedRegion(MakeSpot().get());
                return std::shared_ptr<CIntermediateResultUnit>(
                    unit->Clone(), [](CIntermediateResultUnit* face) { face->Release(); });
              },
              [=](const auto& unit) { return lookRegions(static_cast<SpotsUnit&>(*unit)); }),
          Changing(
              "CIntermediateResultUnit::Replace", kUsable, makeUnit,
              [=](SpotsUnit& unit) {
                const NxRef<SpotsUnit> other = makeUnit();
                other->AddPredetectedRegion(MakeSpot().get());
                other->SetHashId(kLong.c_str());
                unit.Replace(other.get());
              },
              lookRegions),
          Changing(
              "AddObservedTask", kUnchanged,
              [] {
                auto* parameters = new CObservationParametersImp;
                parameters->AddObservedTask(kOther.c_str());
                return parameters;
              },
              [](auto& parameters) { parameters.AddObservedTask(kLong.c_str()); },
              [](const auto& parameters) {
                return to_string(parameters.IsTaskObserved(kLong.c_str())) +
                       to_string(parameters.IsTaskObserved(kOther.c_str()));
              }),
      });
  EXPECT_GT(points, 50);
}

std::string LookRegion(NxRegionObject& region) {
  return LookPoints(region.GetVertices(), 4) + region.GetRegionHashId() +
         region.GetTargetROIDefName() + to_string(region.GetRegionImage() != nullptr) +
         to_string(region.IsUpload());
}

TEST(Memory, OfRegions) {
  const auto makeRegion = [] { return new NxRegionObject; };
  const auto lookTips = [](const NxRegionImageInfo& info) {
    return to_string(info.GetTipsData(kLong).size());
  };
  const auto lookElements = [](const SectionResultUnitBase& unit) {
    return to_string(unit.GetElementsVec().size());
  };
  const auto makeUnit = [] { return new SpotsUnit(MakeSource().get(), MakeInfo().get()); };
  const std::vector<std::string> modes{kLong, kOther};
  const long points = RunOutOfMemory(
      "region",
      {
          Giving(
              "NxRegionObject",
              [] {
                const Nx_Quad quad(kSquare);
                return NxRef<NxRegionObject>(
                    new NxRegionObject(MakeSource().get(), ROET_Default, MakeInfo(), &quad));
              },
              [](const auto& region) { return LookRegion(*region); }),
          Giving(
              "NxRegionObject(other)",
              [] {
                const NxRef<NxRegionObject> other = MakeRegion(kLong);
                other->InitWorkModesState(1, {kLong});
                return NxRef<NxRegionObject>(new NxRegionObject(*other));
              },
              [](const auto& region) { return LookRegion(*region); }),
          Changing(
              "NxRegionObject::operator=", kUsable, makeRegion,
              [](NxRegionObject& region) { region = *MakeRegion(kLong); }, LookRegion),
          Changing(
              "InitNxRegionObject", kUsable, makeRegion,
              [](NxRegionObject& region) {
                const Nx_Quad quad(kShifted);
                region.InitNxRegionObject(MakeInfo(), &quad);
              },
              LookRegion),
          Changing(
              "GetRegionHashId", kUnchanged,
              [] {
                const Nx_Quad quad(kSquare);
                return new NxRegionObject(nullptr, ROET_Default, MakeInfo(), &quad);
              },
              [](NxRegionObject& region) { region.GetRegionHashId(); },
              [](NxRegionObject&) { return ""; }),
          Changing(
              "SetRegionHashId", kUnchanged, makeRegion,
              [](NxRegionObject& region) { region.SetRegionHashId(kLong); }, LookRegion),
          Changing(
              "InitWorkModesState", kUnchanged, makeRegion,
              [=](NxRegionObject& region) { region.InitWorkModesState(2, modes); },
              [](NxRegionObject& region) {
                return region.AlreadyInitWorkModesState() ? to_string(region.GetStates().size())
                                                          : "none";
              }),
          Changing(
              "SetWorkModeState", kUnchanged,
              [=] {
                auto* region = new NxRegionObject;
                region->InitWorkModesState(2, modes);
                return region;
              },
              [](NxRegionObject& region) {
                region.SetWorkModeState(std::string(50, 'z'), WMS_Finished);
              },
              [](NxRegionObject& region) { return to_string(region.GetStates().size()); }),
          Changing(
              "NxRegionImageInfo::AddTipsData", kUnchanged,
              [] { return new NxRegionImageInfo(nullptr, nullptr); },
              [](NxRegionImageInfo& info) {
                info.AddTipsData(kLong, {MakeRegion("a"), MakeRegion("b")});
              },
              lookTips),
          Changing(
              "NxRegionObjectManager::AddRegionObject", kUnchanged,
              [] { return new NxRegionObjectManager; },
              [](NxRegionObjectManager& manager) {
                manager.AddRegionObject(MakeRegion("a").get(), kLong.c_str(), "b", kOther.c_str(),
                                        1);
              },
              [](NxRegionObjectManager& manager) {
                return to_string(manager.GetRegionObjects(1).size());
              }),
          Giving(
              "NxSourceImageObject",
              [] {
                return NxRef<NxSourceImageObject>(
                    new NxSourceImageObject(MakeImage().get(), 1, 10));
              },
              [](const auto& source) { return source->GetHashID(); }),
          Changing(
              "AddErrorCodeInfo", kUnchanged,
              [] { return new NxSourceImageObject(nullptr, 1, 10); },
              [](NxSourceImageObject& source) {
                source.AddErrorCodeInfo(EC_Timeout, kLong.c_str(), "", "", kOther.c_str());
              },
              [](NxSourceImageObject& source) {
                return to_string(source.GetErrorRecords().size()) +
                       to_string(source.GetErrorCode());
              }),
          Giving(
              "GetErrorRecords",
              [] {
                const NxRef<NxSourceImageObject> source = MakeSource();
                source->AddErrorCodeInfo(EC_Timeout, kLong.c_str(), "", "", kOther.c_str());
                return source->GetErrorRecords();
              },
              [](const auto& records) { return records[0].texts[3]; }),
          Changing(
              "AddElement", kUnchanged, makeUnit,
              [](SpotsUnit& unit) { unit.AddElement(MakeSpot()); }, lookElements),
          Changing(
              "NxIntermediateResult::AddUnit", kUnchanged, [] { return new NxIntermediateResult; },
              [=](NxIntermediateResult& result) { result.AddUnit(NxRef<SpotsUnit>(makeUnit())); },
              [](NxIntermediateResult& result) { return to_string(result.GetCount()); }),
          Changing(
              "SetCropROI", kUsable, [] { return MakeSpot().get() ? new NxRegionObject : nullptr; },
              [](NxRegionObject& region) {
                int width = 0, height = 0;
                const NxRef<NxRegionObject> spot = MakeSpot();
                spot->GetCropROITransMat(MakeImage().get(), width, height);
                region.SetReferenceRegion(spot);
              },
              [](NxRegionObject& region) {
                return to_string(region.GetReferenceRegion() != nullptr);
              }),
      });
  EXPECT_GT(points, 50);
}

}  // namespace
}  // namespace velmora::testing
