#include "tools/capture/intermediate_writer.h"

#include <json/value.h>
#include <json/writer.h>

#include <cstdio>
#include <utility>
#include <vector>

#include "tools/capture/output_file.h"
#include "velmora/geometry/quadrilateral.h"
#include "velmora/image/image_data.h"
#include "velmora/results/detection_units.h"
#include "velmora/results/image_units.h"
#include "velmora/results/region_object_element.h"
#include "velmora_capture/image_file/image_file.h"

namespace velmora::capture {

using namespace intermediate_results;

namespace {

// The image of a unit that has one; each class of such units stands for itself.
const basic_structures::CImageData* ImageOf(const CIntermediateResultUnit& unit) {
  if (const auto* binary = dynamic_cast<const CBinaryImageUnit*>(&unit)) {
    return binary->GetImageData();
  }
  if (const auto* grey = dynamic_cast<const CGrayscaleImageUnit*>(&unit)) {
    return grey->GetImageData();
  }
  if (const auto* colour = dynamic_cast<const CColourImageUnit*>(&unit)) {
    return colour->GetImageData();
  }
  return nullptr;
}

std::string ToJson(const CPredetectedRegionsUnit& unit) {
  Json::Value regions(Json::arrayValue);
  for (int i = 0; i < unit.GetCount(); ++i) {
    const CPredetectedRegionElement& region = *unit.GetPredetectedRegion(i);
    Json::Value value;
    for (const auto& corner : region.GetLocation().points) {
      Json::Value point(Json::arrayValue);
      point.append(corner[0]);
      point.append(corner[1]);
      value["corners"].append(point);
    }
    value["score"] = region.GetConfidence();
    regions.append(value);
  }
  Json::Value root;
  root["image"] = unit.GetOriginalImageHashId() != nullptr ? unit.GetOriginalImageHashId() : "";
  root["regions"] = regions;
  Json::StreamWriterBuilder builder;
  builder["indentation"] = "  ";
  return Json::writeString(builder, root) + "\n";
}

}  // namespace

IntermediateWriter::IntermediateWriter(std::string folder,
                                       std::function<void(const std::string&)> onFailure)
    : folder_(std::move(folder)), onFailure_(std::move(onFailure)) {}

void IntermediateWriter::OnUnitResultReceived(CIntermediateResultUnit* unit,
                                              const IntermediateResultInfo* info) {
  if (const basic_structures::CImageData* image = ImageOf(*unit)) {
    const std::vector<unsigned char> png = EncodePng(*image);
    Write(NextFile(*unit, *info, ".png"), reinterpret_cast<const char*>(png.data()), png.size());
  } else if (const auto* regions = dynamic_cast<const CPredetectedRegionsUnit*>(unit)) {
    const std::string json = ToJson(*regions);
    Write(NextFile(*unit, *info, ".json"), json.data(), json.size());
  }
}

void IntermediateWriter::Write(const std::string& file, const char* bytes, std::size_t size) const {
  try {
    WriteFile(file, "the intermediate file",
              [&](std::ostream& out) { out.write(bytes, static_cast<std::streamsize>(size)); });
  } catch (const OutputError& error) {
    onFailure_(error.what());
  }
}

std::string IntermediateWriter::NextFile(const CIntermediateResultUnit& unit,
                                         const IntermediateResultInfo& info,
                                         const char* extension) {
  const basic_structures::CImageTag* tag = unit.GetOriginalImageTag();
  char numbers[48];
  {
    const MutexLock lock(mutex_);
    std::snprintf(numbers, sizeof numbers, "%04d-%03d-", tag != nullptr ? tag->GetImageId() : 0,
                  written_++);
  }
  const std::string name =
      std::string(numbers) + info.targetROIDefName + "-" + info.taskName + extension;
  return (ToPath(folder_) / ToPath(name)).u8string();
}

}  // namespace velmora::capture
