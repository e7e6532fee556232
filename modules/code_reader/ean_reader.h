/// @file
/// Reads EAN and UPC codes off scan lines.
#pragma once

#include <string>
#include <vector>

#include "modules/code_reader/scan_line.h"

namespace velmora::modules {

enum class EanKind { kEan13, kEan8, kUpcE };  // UPC-A is EAN-13 with a leading zero

/// What one scan line says.
struct EanReading {
  EanKind kind = EanKind::kEan13;
  std::string digits;  ///< with the check digit; UPC-E: number system, six digits, check digit
  std::string addOn;   ///< two or five digits, or nothing
  float first = 0;     ///< where the code begins, in pixels
  float last = 0;      ///< where it ends, without the add-on
  float certainty =
      0;  ///< logarithm of how much likelier it is than the next valid text; up to 100
};

/// Appends what the line holds, read from left to right, in dark bars on light or light bars on
/// dark.
///
/// A code's text is the likeliest of all valid ones, given how wide the runs are: digits are not
/// decided one by one, so that a check digit does not only refuse what is wrong but helps to find
/// what is right.
void ReadEan(const ScanLine& line, std::vector<EanReading>& readings);

}  // namespace velmora::modules
