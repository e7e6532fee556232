/// @file
/// What is told about one image.
#pragma once

#include <array>
#include <string>
#include <vector>

#include "velmora/foundation/ref.h"
#include "velmora/image/image_data.h"
#include "velmora_capture/capture_result.h"

namespace velmora::capture {

struct Point {
  int x = 0;
  int y = 0;
};

using Corners = std::array<Point, 4>;  ///< clockwise, in pixels of the image

/// An error that a task or the reading of the file reported.
struct ErrorReport {
  int code = 0;
  std::string text;        ///< more than the code's message; may be empty
  std::string definition;  ///< empty if no task reported it
  std::string task;
};

struct CodeReport {
  std::string symbology;
  std::string text;
  Corners corners{};
  std::string definition;
  std::string task;
};

/// A region that a task found for others to work on.
struct RegionReport {
  Corners corners{};
  std::string definition;
  std::string task;
};

struct ImageReport {
  int id = 0;
  std::string name;
  int width = 0;
  int height = 0;
  std::vector<CodeReport> codes;
  std::vector<RegionReport> regions;
  std::vector<ErrorReport> errors;
  int errorCode = 0;                                      ///< of the image; 0 if all went well
  const basic_structures::CImageData* picture = nullptr;  ///< as captured; of the result
};

/// @param result  outlives the report
ImageReport Describe(const CaptureResult& result, std::string name);

}  // namespace velmora::capture
