/// @file
/// Connected components of a binary image.
#pragma once

#include <cstdint>
#include <vector>

#include "velmora_kit/pixels.h"

namespace velmora::modules {

/// An upright box of pixels; all four sides belong to it.
struct Box {
  int left = 0;
  int top = 0;
  int right = -1;
  int bottom = -1;

  int Width() const { return right - left + 1; }
  int Height() const { return bottom - top + 1; }
  /// Grows until it covers @p other too.
  void Include(const Box& other);
};

/// Dark pixels side by side in one row, and the component they belong to.
struct Run {
  int y;
  int first;
  int last;
  int component;
};

struct Component {
  Box box;
  std::int64_t area = 0;  ///< number of its pixels
};

struct Components {
  std::vector<Run> runs;  ///< row by row, from left to right
  std::vector<Component> list;
};

/// Finds the sets of pixels with value 1 that touch each other, corners included.
Components FindComponents(const kit::GreyImage& dark);

/// Sets of numbers 0 to n - 1 that are merged step by step; each has its smallest member as its
/// name.
class DisjointSets {
 public:
  explicit DisjointSets(int count = 0);
  int Add();
  int Find(int member);
  void Merge(int a, int b);

 private:
  std::vector<int> parents_;
};

}  // namespace velmora::modules
