// Calls of regions, of what they share and of what files them, beside what is to be found there.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/operations/counted.h"
#include "velmora/image/nx_image_data.h"
#include "velmora/region/region_object.h"
#include "velmora/region/region_object_manager.h"
#include "velmora/region/unit_base.h"

namespace velmora::testing {

class RegionsScript {
 public:
  explicit RegionsScript(Bytes& script) : script_(script) {
    for (Region& region : regions_) region = NewRegion();
  }
  // A tip that is measured in its own image info keeps that alive.
  ~RegionsScript() {
    for (const NxRef<NxRegionImageInfo>& info : infos_) info->ClearAllTipsData();
  }
  RegionsScript(const RegionsScript&) = delete;
  RegionsScript& operator=(const RegionsScript&) = delete;

  void Run() {
    while (!script_.IsEmpty()) {
      Region& region = regions_[script_.Below(kRegions)];
      Step(region);
      Check(region);
    }
  }

 private:
  using Object = Counted<NxRegionObject>;
  static constexpr int kRegions = 5, kInfos = 3;

  struct Region {
    NxRef<Object> object;
    std::shared_ptr<int> status;  // shared with the copies
  };

  Region NewRegion() { return {MakeRef<Object>(alive_), std::make_shared<int>(0)}; }

  NxRef<NxRegionImageInfo> NewInfo() {
    const int width = script_.Int();
    const NxRef<NxImageData> image =
        MakeRef<NxImageData>(4ULL, reinterpret_cast<const unsigned char*>("abcd"), width,
                             script_.Int(), width, basic_structures::PXF_Grayscale8, 0, nullptr);
    image->SetExtracted(script_.Coin());
    return MakeRef<NxRegionImageInfo>(script_.Below(4) == 0 ? nullptr : image.get(), nullptr);
  }

  basic_structures::CQuadrilateral NewQuad() {
    basic_structures::CQuadrilateral quad;
    for (NxPoint_<int>& point : quad.points) {
      const int x = script_.Int();
      point = {x, script_.Int()};
    }
    return quad;
  }

  void Step(Region& region) {
    Region& other = regions_[script_.Below(kRegions)];
    switch (script_.Below(12)) {
      case 0:
        region = NewRegion();
        break;
      case 1:
        region = {MakeRef<Object>(*other.object), other.status};
        break;
      case 2: {
        auto object = std::make_unique<Object>(alive_);  // assigned to while no reference holds it
        object->InitNxRegionObject(infos_[0], nullptr);
        *object = *other.object;
        region = {object.release(), other.status};
        break;
      }
      case 3: {
        const Nx_Quad quad(NewQuad().points);
        region.object->InitNxRegionObject(infos_[script_.Below(kInfos)],
                                          script_.Coin() ? &quad : nullptr);
        break;
      }
      case 4:
        return Move(*region.object, NewQuad());
      case 5:
        if (!DescendsFrom(other.object.get(), region.object.get())) {
          region.object->SetReferenceRegion(other.object);
        }
        break;
      case 6:
        region.object->SetTargetROIDefName(
            std::string(1, static_cast<char>('a' + script_.Below(3))));
        break;
      case 7:
        return Mark(region, script_.Below(3));
      case 8:
        return WorkModes(*region.object);
      case 9:
        return File(region.object);
      case 10:
        return Tips(*infos_[script_.Below(kInfos)], region.object);
      default:
        return Unit(region.object);
    }
  }

  static bool DescendsFrom(const NxRegionObject* region, const NxRegionObject* ancestor) {
    while (region != nullptr && region != ancestor) region = region->GetReferenceRegion().get();
    return region != nullptr;
  }

  static void Move(NxRegionObject& region, const basic_structures::CQuadrilateral& quad) {
    const std::vector<NxPoint_<int>> before(region.GetVertices(), region.GetVertices() + 4);
    const int code = region.SetLocationWithQuadrilateral(quad);
    VELMORA_REQUIRE(code == EC_Ok || code == EC_QuadrilateralInvalid);
    VELMORA_REQUIRE(code == EC_Ok || region.IsTotSamePoints(before.data()));
  }

  static void Mark(Region& region, int bit) {
    if (bit == 0) region.object->SetUpload();
    if (bit == 1) region.object->SetInvalid();
    if (bit == 2) region.object->SetChecked();
    *region.status |= 1 << bit;
  }

  void WorkModes(NxRegionObject& region) {
    const std::string mode(1, static_cast<char>('a' + script_.Below(3)));
    if (script_.Below(4) == 0) region.InitWorkModesState(0, {"a", "b", "a"});
    region.SetWorkModeState(mode, static_cast<WorkModesState>(script_.Below(4)));
    if (!region.AlreadyInitWorkModesState()) return;
    bool noneInProgress = true;
    for (const auto& entry : region.GetStates()) noneInProgress &= entry.second != WMS_InProgress;
    VELMORA_REQUIRE(region.IsNoWorkModeInProgress() == noneInProgress);
    VELMORA_REQUIRE(region.IsCompletedBeforeCertainWorkMode("a"));
  }

  void File(const NxRef<Object>& region) {
    const int key = script_.Below(4);
    const char* const name = script_.Coin() ? "name" : nullptr;
    manager_->AddRegionObject(region.get(), "first", "second", name, key);
    if (name != nullptr) ++filed_[key];
    VELMORA_REQUIRE(manager_->GetRegionObjects(key).size() == filed_[key]);
  }

  void Tips(NxRegionImageInfo& info, const NxRef<Object>& region) {
    const std::string key = script_.Text(2);
    const std::size_t count = info.GetTipsData(key).size();
    if (script_.Below(4) == 0) {
      info.ClearTipsData(key);
      VELMORA_REQUIRE(info.GetTipsData(key).empty());
    } else {
      info.AddTipsData(key, {region, nullptr});
      VELMORA_REQUIRE(info.GetTipsData(key).size() == count + 2);
    }
  }

  void Unit(const NxRef<Object>& region) {
    const int count = static_cast<int>(unit_->GetElementsVec().size());
    const int index = script_.Int();
    const bool isThere = index >= 0 && index < count;
    switch (script_.Below(4)) {
      case 0:
        return unit_->AddElement(region);
      case 1:
        if (isThere) unit_->SetElement(index, region);
        break;
      case 2: {
        VELMORA_REQUIRE(unit_->RemoveElement(index) == (isThere ? EC_Ok : EC_IndexInvalid));
        const int left = static_cast<int>(unit_->GetElementsVec().size());
        VELMORA_REQUIRE(left == count - (isThere ? 1 : 0));
        break;
      }
      default:
        unit_ = MakeRef<SectionResultUnitBase>(*unit_);
        VELMORA_REQUIRE(static_cast<int>(unit_->GetElementsVec().size()) == count);
    }
  }

  static void Check(const Region& region) {
    NxRegionObject& object = *region.object;
    VELMORA_REQUIRE(object.IsUpload() == ((*region.status & 1) != 0));
    VELMORA_REQUIRE(object.IsValid() == ((*region.status & 2) == 0));
    VELMORA_REQUIRE(object.IsChecked() == ((*region.status & 4) != 0));
    const NxRef<NxRegionObject>& found = object.GetCertainReferenceRegionByTargetName("a");
    VELMORA_REQUIRE(!found || found->GetTargetROIDefName() == "a");
    VELMORA_REQUIRE(!found || DescendsFrom(&object, found.get()));
    const std::string hashId = object.GetRegionHashId();
    VELMORA_REQUIRE(hashId == object.GetRegionHashId());
    VELMORA_REQUIRE(!hashId.empty() || object.GetRegionImage() == nullptr);
    VELMORA_REQUIRE(!object.RegionIsWholeImage() || object.GetRegionImage() != nullptr);
  }

  Bytes& script_;
  AliveCount alive_;
  NxRef<NxRegionImageInfo> infos_[kInfos] = {NewInfo(), NewInfo(), NewInfo()};
  NxRef<NxRegionObjectManager> manager_ = MakeRef<NxRegionObjectManager>();
  std::map<int, std::size_t> filed_;
  NxRef<SectionResultUnitBase> unit_ = MakeRef<SectionResultUnitBase>(nullptr, infos_[0].get());
  Region regions_[kRegions];
};

inline void RunRegions(const std::uint8_t* bytes, std::size_t size) {
  Bytes script(bytes, size);
  RegionsScript(script).Run();
}

}  // namespace velmora::testing
