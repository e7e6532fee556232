/// @file
/// Settings for reading PDF input.
#pragma once

#include <cstdint>

namespace velmora::basic_structures {

/// Settings that travel to the PDF reading module, which gives the numbers their meaning; this
/// library stores and copies them. A plain value.
class CPDFReadingParameter {
 public:
  std::int32_t mode = 3;
  std::int32_t resolution = 300;
  std::int32_t sourceKind = 0;
};

}  // namespace velmora::basic_structures
