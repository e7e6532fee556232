#include "tools/capture/intermediate_writer.h"

#include <json/value.h>
#include <json/writer.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <utility>
#include <vector>

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
  if (const auto* binary = dynamic_cast<const CBinaryImageUnit*>(&unit))
    return binary->GetImageData();
  if (const auto* grey = dynamic_cast<const CGrayscaleImageUnit*>(&unit))
    return grey->GetImageData();
  if (const auto* colour = dynamic_cast<const CColourImageUnit*>(&unit))
    return colour->GetImageData();
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

void WriteFile(const std::string& file, const char* bytes, std::size_t size) {
  std::ofstream out(file, std::ios::binary);
  out.write(bytes, static_cast<std::streamsize>(size));
  out.close();
  if (!out) std::cerr << file << " could not be written\n";
}

}  // namespace

IntermediateWriter::IntermediateWriter(std::string folder) : folder_(std::move(folder)) {}

void IntermediateWriter::OnUnitResultReceived(CIntermediateResultUnit* unit,
                                              const IntermediateResultInfo* info) {
  if (const basic_structures::CImageData* image = ImageOf(*unit)) {
    const std::vector<unsigned char> png = EncodePng(*image);
    WriteFile(NextFile(*unit, *info, ".png"), reinterpret_cast<const char*>(png.data()),
              png.size());
  } else if (const auto* regions = dynamic_cast<const CPredetectedRegionsUnit*>(unit)) {
    const std::string json = ToJson(*regions);
    WriteFile(NextFile(*unit, *info, ".json"), json.data(), json.size());
  }
}

std::string IntermediateWriter::NextFile(const CIntermediateResultUnit& unit,
                                         const IntermediateResultInfo& info,
                                         const char* extension) {
  const basic_structures::CImageTag* tag = unit.GetOriginalImageTag();
  char numbers[48];
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    std::snprintf(numbers, sizeof numbers, "%04d-%03d-", tag != nullptr ? tag->GetImageId() : 0,
                  written_++);
  }
  const std::string name =
      std::string(numbers) + info.targetROIDefName + "-" + info.taskName + extension;
  return (std::filesystem::path(folder_) / name).string();
}

}  // namespace velmora::capture
