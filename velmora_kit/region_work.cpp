#include "velmora_kit/region_work.h"

#include <algorithm>

#include "velmora/engine/task_output.h"
#include "velmora/engine/work_output.h"
#include "velmora/foundation/error_code.h"
#include "velmora/geometry/quadrilateral.h"
#include "velmora/results/intermediate_result_receiver.h"

namespace velmora::kit {

using namespace basic_structures;
using namespace intermediate_results;

namespace {

GreyView ViewOf(const NxRegionObject& region) {
  const NxImageData* image = region.GetRegionImage();
  if (image == nullptr) return {};
  if (image->GetImagePixelFormat() != PXF_Grayscale8 &&
      image->GetImagePixelFormat() != PXF_Binary8) {
    return {};
  }
  return {image->GetBytes(), image->GetWidth(), image->GetHeight(), image->GetStride()};
}

}  // namespace

RegionWork::RegionWork(NxWorkOutput& output, const Nx_WorkObjectBase& task)
    : output_(output), task_(task), image_(ViewOf(*output.GetRegion())) {}

const NxRegionObject& RegionWork::GetRegion() const {
  return *output_.GetRegion();
}

const std::string& RegionWork::GetMode() const {
  return output_.GetWorkMode();
}

Window RegionWork::GetWindow(int margin) const {
  const Corner* corners = GetRegion().GetVertices();
  int left = image_.width;
  int top = image_.height;
  int right = -1;
  int bottom = -1;
  for (int i = 0; i < 4; ++i) {
    left = std::min(left, corners[i][0] - margin);
    top = std::min(top, corners[i][1] - margin);
    right = std::max(right, corners[i][0] + margin);
    bottom = std::max(bottom, corners[i][1] + margin);
  }
  left = std::max(left, 0);
  top = std::max(top, 0);
  right = std::min(right, image_.width - 1);
  bottom = std::min(bottom, image_.height - 1);
  return {left, top, std::max(right - left + 1, 0), std::max(bottom - top + 1, 0)};
}

GreyView RegionWork::GetPixels(const Window& window) const {
  return {image_.Row(window.top) + window.left, window.width, window.height, image_.stride};
}

bool RegionWork::MustStop(int& code) const {
  return output_.GetRegion()->GetSourceImageObject()->IsCheckPointNeedExit(&code,
                                                                           CheckPointLevel{});
}

NxRef<CandidateRegion> RegionWork::MakeCandidate(const Corner (&corners)[4], int score) const {
  CQuadrilateral place;
  std::copy_n(corners, 4, place.points);
  NxRef<CandidateRegion> region = new CandidateRegion(GetRegion().GetSourceImageObject().get(),
                                                      GetRegion().GetRegionImageInfo());
  if (region->SetLocationWithQuadrilateral(place) != EC_Ok) return nullptr;
  region->SetRegionScore(score);
  return region;
}

bool RegionWork::LiesInFoundCode(const CQuadrilateral& place) const {
  Corner middle(0, 0);
  for (int axis = 0; axis < 2; ++axis) {
    for (const Corner& corner : place.points) middle[axis] += corner[axis] / 4;
  }
  const auto& found = output_.GetTaskOutput()->GetResultsToFilter();
  return std::any_of(found.begin(), found.end(), [&](const NxRef<NxRegionObject>& region) {
    CQuadrilateral other;
    std::copy_n(region->GetVertices(), 4, other.points);
    return other.Contains(&middle);
  });
}

bool RegionWork::AddCode(const std::string& symbology, const std::string& text,
                         const Corner (&corners)[4], const std::string& bytes) {
  CQuadrilateral place;
  std::copy_n(corners, 4, place.points);
  if (LiesInFoundCode(place)) return false;
  NxRef<CodeRegion> region =
      new CodeRegion(GetRegion().GetSourceImageObject().get(), GetRegion().GetRegionImageInfo(),
                     symbology, text, bytes.empty() ? text : bytes);
  if (region->SetLocationWithQuadrilateral(place) != EC_Ok) {
    std::copy_n(GetRegion().GetVertices(), 4, place.points);
    region->SetLocationWithQuadrilateral(place);
  }
  AddRegion(region);
  return true;
}

void RegionWork::AddRegion(NxRef<NxRegionObject> region) {
  region->SetTargetROIDefName(task_.GetTargetDefName());
  region->SetProductTaskName(task_.GetTaskName());
  output_.GetTaskOutput()->AddResult(new NxTaskOutputAtomResult(std::move(region)));
}

bool RegionWork::IsObserved(IntermediateResultUnitType type) const {
  const IntermediateResultReceiverVector* receivers = task_.GetIntermediateResultReceivers();
  return receivers != nullptr &&
         std::any_of(receivers->begin(), receivers->end(), [&](auto* receiver) {
           const auto* wanted = receiver->GetObservationParameters();
           return wanted->IsResultUnitTypeObserved(type) &&
                  wanted->IsTaskObserved(task_.GetTaskNamePtr());
         });
}

void RegionWork::Publish(CIntermediateResultUnit* unit) const {
  const IntermediateResultInfo info{task_.GetTargetDefNamePtr(), task_.GetTaskNamePtr(), -1};
  for (CAbstractIntermediateResultReceiver* receiver : *task_.GetIntermediateResultReceivers()) {
    const auto* wanted = receiver->GetObservationParameters();
    if (wanted->IsResultUnitTypeObserved(unit->GetUnitType()) &&
        wanted->IsTaskObserved(task_.GetTaskNamePtr())) {
      receiver->OnUnitResultReceived(unit, &info);
    }
  }
}

}  // namespace velmora::kit
