/// @file
/// Finds the parts of an image that could be codes.
#pragma once

#include <vector>

#include "modules/locator/min_rectangle.h"
#include "velmora_kit/pixels.h"

namespace velmora::modules {

/// What counts as a candidate. Lengths in pixels.
struct CandidateRules {
  int radius = 20;       ///< half the window of the threshold
  int offset = 6;        ///< how much darker than its window a dark pixel is
  int minArea = 6;       ///< smaller components are specks
  int minSide = 20;      ///< of a candidate's rectangle
  int minCrossings = 4;  ///< changes between dark and light along an average row or column
  int maxCandidates = 32;
  int maxArea = 60;  ///< of all candidates together, in percent of the image
};

struct Candidate {
  Rectangle rectangle;
  int crossings;  ///< on an average row or column, the larger of the two
  double area;
};

/// Thresholds the image, groups neighbouring components and keeps the groups that look like codes:
/// large enough, with many changes between dark and light.
///
/// @param dark  receives the thresholded image, 1 dark and 0 light; may be null
/// @return the largest first; those that would exceed `maxCandidates` or `maxArea` are left out
std::vector<Candidate> FindCandidates(const kit::GreyView& grey, const CandidateRules& rules,
                                      kit::GreyImage* dark = nullptr);

}  // namespace velmora::modules
