#include "tools/capture/reporters.h"

#include <json/value.h>
#include <json/writer.h>

#include <algorithm>
#include <iomanip>
#include <string>
#include <utility>

#include "tools/capture/system.h"
#include "velmora/foundation/error_code.h"

namespace velmora::capture {
namespace {

// A line stays a line, whatever a code holds.
std::string Printable(const std::string& text) {
  static constexpr char kHex[] = "0123456789abcdef";
  std::string out;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte >= 0x20 && byte != 0x7F) {
      out += c;
    } else {
      out += {'\\', 'x', kHex[byte >> 4], kHex[byte & 15]};
    }
  }
  return out;
}

Json::Value ToJson(const Corners& corners) {
  Json::Value points(Json::arrayValue);
  for (const Point& corner : corners) {
    Json::Value point(Json::arrayValue);
    point.append(corner.x);
    point.append(corner.y);
    points.append(point);
  }
  return points;
}

Json::Value ToJson(const CodeReport& code) {
  Json::Value value;
  value["symbology"] = code.symbology;
  value["text"] = code.text;
  value["corners"] = ToJson(code.corners);
  value["definition"] = code.definition;
  value["task"] = code.task;
  return value;
}

Json::Value ToJson(const RegionReport& region) {
  Json::Value value;
  value["corners"] = ToJson(region.corners);
  value["definition"] = region.definition;
  value["task"] = region.task;
  return value;
}

Json::Value ToJson(const ErrorReport& error) {
  Json::Value value;
  value["code"] = error.code;
  value["message"] = Nc_GetErrorString(error.code);
  if (!error.text.empty()) value["text"] = error.text;
  if (!error.task.empty()) value["definition"] = error.definition;
  if (!error.task.empty()) value["task"] = error.task;
  return value;
}

Corners CornersOf(const basic_structures::CQuadrilateral& location) {
  Corners corners;
  for (std::size_t i = 0; i < 4; ++i) corners[i] = {location.points[i][0], location.points[i][1]};
  return corners;
}

template <typename Reports>
Json::Value ToJsonArray(const Reports& reports) {
  Json::Value array(Json::arrayValue);
  for (const auto& report : reports) array.append(ToJson(report));
  return array;
}

}  // namespace

ImageReport Describe(const CaptureResult& result, std::string name) {
  ImageReport report;
  const basic_structures::CImageTag* tag = result.GetSourceImageTag();
  report.id = tag != nullptr ? tag->GetImageId() : -1;
  report.name = std::move(name);
  report.width = result.GetWidth();
  report.height = result.GetHeight();
  for (int i = 0; i < result.GetCodeCount(); ++i) {
    const CodeItem& code = result.GetCode(i);
    report.codes.push_back({code.GetSymbology(), code.GetText(), CornersOf(code.GetLocation()),
                            code.GetTargetROIDefName(), code.GetTaskName()});
  }
  for (const FoundRegion& region : result.GetRegions())
    report.regions.push_back({CornersOf(region.location), region.definition, region.task});
  for (const CaptureError& error : result.GetErrors())
    report.errors.push_back({error.code, error.text, error.definition, error.task});
  report.errorCode = result.GetErrorCode();
  report.picture = result.GetImage();
  return report;
}

void WriteText(std::ostream& out, const ImageReport& report) {
  if (report.errorCode != 0 && report.width == 0) return;  // there is nothing but its errors
  out << report.name << ": " << report.width << "x" << report.height << ", "
      << (report.codes.empty() ? "no code" : std::to_string(report.codes.size()) + " code")
      << (report.codes.size() > 1 ? "s" : "") << "\n";
  for (const CodeReport& code : report.codes)
    out << "    " << std::left << std::setw(11) << code.symbology << " " << Printable(code.text)
        << "\n";
}

void WriteJsonLine(std::ostream& out, const ImageReport& report) {
  Json::Value value;
  value["image"] = ToUtf8(report.name);
  value["id"] = report.id;
  value["width"] = report.width;
  value["height"] = report.height;
  value["codes"] = ToJsonArray(report.codes);
  value["regions"] = ToJsonArray(report.regions);
  value["errors"] = ToJsonArray(report.errors);
  Json::StreamWriterBuilder builder;
  builder["indentation"] = "";
  out << Json::writeString(builder, value) << "\n";
}

void WriteErrors(std::ostream& out, const ImageReport& report) {
  for (const ErrorReport& error : report.errors) {
    out << report.name << ": ";
    if (!error.task.empty()) out << "{" << error.definition << "}[" << error.task << "]: ";
    out << Nc_GetErrorString(error.code);
    if (!error.text.empty()) out << " " << error.text;
    out << " (" << error.code << ")\n";
  }
}

}  // namespace velmora::capture
