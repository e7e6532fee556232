#include "velmora/geometry/internal/quad_pixels.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <stdexcept>

#include "velmora/geometry/internal/line_math.h"
#include "velmora/geometry/internal/pixel_walk.h"

namespace velmora::internal {
namespace {

using basic_structures::CRect;

// Pixels of a row, both ends included; empty at first.
struct Run {
  std::int32_t first = std::numeric_limits<std::int32_t>::max();
  std::int32_t last = std::numeric_limits<std::int32_t>::min();

  void Include(std::int32_t x) {
    first = std::min(first, x);
    last = std::max(last, x);
  }
};

bool operator<(const Run& a, const Run& b) {
  return a.first < b.first;
}

// For the handful of elements that a row has.
template <typename T>
void InsertSorted(T* elements, int& count, const T& element) {
  int i = count++;
  for (; i > 0 && element < elements[i - 1]; --i) elements[i] = elements[i - 1];
  elements[i] = element;
}

// The pixels of one edge, a run a row of the window: those of an edge in one row hang together.
class EdgeRuns {
 public:
  EdgeRuns(const NxPoint_<int>& start, const NxPoint_<int>& end, Nx_Pixelate_Mode mode,
           const CRect& window)
      : window_(window),
        runs_(static_cast<std::size_t>(Difference(window.bottom, window.top)) + 1) {
    const PixelWalk walk(start, end);
    const bool walksRows = walk.GetAxis() == 1;
    const std::int64_t a = walk.StepAt(walksRows ? window.top : window.left);
    const std::int64_t b = walk.StepAt(walksRows ? window.bottom : window.right);
    // Steps outside the window are left out, for an edge may be longer than any image; but for one
    // more, because the chain of a step reaches back to the one before it.
    const std::int64_t first = std::max<std::int64_t>(std::min(a, b), 0);
    const std::int64_t last = std::min(std::max(a, b) + 1, walk.GetLastStep());
    walk.ForEachPixel(first, last, mode == PXM_CHAIN, [&](const NxPoint_<int>& p) { Add(p); });
  }

  const Run& InRow(std::int32_t y) const { return runs_[Index(y)]; }

 private:
  std::size_t Index(std::int32_t y) const {
    return static_cast<std::size_t>(Difference(y, window_.top));
  }
  void Add(const NxPoint_<int>& p) {
    const bool isInside = p[0] >= window_.left && p[0] <= window_.right && p[1] >= window_.top &&
                          p[1] <= window_.bottom;
    if (isInside) runs_[Index(p[1])].Include(p[0]);
  }

  CRect window_;
  std::vector<Run> runs_;
};

// Where an edge crosses a row, as the ints on either side (equal if it crosses at an int).
struct Crossing {
  std::int64_t floor;
  std::int64_t ceiling;
};

bool operator<(const Crossing& a, const Crossing& b) {
  return a.floor != b.floor ? a.floor < b.floor : a.ceiling < b.ceiling;
}

// Exact: the product of two differences of 32-bit numbers fits in 64 bits without a sign.
Crossing CrossingAt(const NxPoint_<int>& start, const NxPoint_<int>& end, std::int32_t y) {
  const auto magnitude = [](std::int64_t d) { return static_cast<std::uint64_t>(std::abs(d)); };
  const std::int64_t dx = Difference(end[0], start[0]);
  const std::uint64_t height = magnitude(Difference(end[1], start[1]));
  const std::uint64_t product = magnitude(dx) * magnitude(Difference(y, start[1]));
  const auto whole = static_cast<std::int64_t>(product / height);
  const std::int64_t rest = product % height == 0 ? 0 : 1;
  return dx < 0 ? Crossing{start[0] - whole - rest, start[0] - whole}
                : Crossing{start[0] + whole, start[0] + whole + rest};
}

// The runs of one row, sorted: at most four edges, four vertices and two stretches between
// crossings.
class Row {
 public:
  void Add(const Run& run) {
    if (run.first <= run.last) InsertSorted(runs_, count_, run);
  }

  // The vertices themselves: at negative coordinates a walk may be a pixel away from its ends.
  void AddVertices(const NxPoint_<int>* v, std::int32_t y, const CRect& window) {
    for (int i = 0; i < 4; ++i) {
      if (v[i][1] == y && v[i][0] >= window.left && v[i][0] <= window.right) {
        Add({v[i][0], v[i][0]});
      }
    }
  }

  // What lies between the first and second, third and fourth crossing of the row, by the even-odd
  // rule. An edge belongs to the rows from its upper end down to above its lower end.
  void AddInterior(const NxPoint_<int>* v, std::int32_t y, const CRect& window) {
    Crossing crossings[4];
    int count = 0;
    for (int i = 0; i < 4; ++i) {
      const NxPoint_<int>& end = v[(i + 1) % 4];
      if ((v[i][1] <= y) != (end[1] <= y)) InsertSorted(crossings, count, CrossingAt(v[i], end, y));
    }
    for (int i = 0; i + 1 < count; i += 2) {
      const std::int64_t first = std::max<std::int64_t>(crossings[i].ceiling, window.left);
      const std::int64_t last = std::min<std::int64_t>(crossings[i + 1].floor, window.right);
      if (first <= last) Add({static_cast<std::int32_t>(first), static_cast<std::int32_t>(last)});
    }
  }

  // Appends every pixel of the row once, from left to right.
  void AppendTo(std::vector<NxPoint_<int>>& out, std::int32_t y) const {
    std::int64_t next = std::numeric_limits<std::int64_t>::min();
    for (int i = 0; i < count_; ++i) {
      next = std::max<std::int64_t>(next, runs_[i].first);
      for (; next <= runs_[i].last; ++next) out.emplace_back(static_cast<std::int32_t>(next), y);
    }
  }

 private:
  Run runs_[10];
  int count_ = 0;
};

}  // namespace

void CollectQuadPixels(const NxPoint_<int>* vertices, Nx_Pixelate_Mode mode, const CRect& window,
                       std::vector<NxPoint_<int>>& out) {
  out.clear();
  if (mode != PXM_CHAIN && mode != PXM_SAMPLED) return;
  if (window.left > window.right || window.top > window.bottom) return;
  // Only a window that no image bounds is so tall: each of its rows has pixels, more than can be
  // returned, and 2^32 rows would be none in a 32-bit size.
  if (Difference(window.bottom, window.top) >= std::numeric_limits<std::int32_t>::max()) {
    throw std::length_error("Nx_Quad::GetAllPixels");
  }
  const EdgeRuns edges[] = {EdgeRuns(vertices[0], vertices[1], mode, window),
                            EdgeRuns(vertices[1], vertices[2], mode, window),
                            EdgeRuns(vertices[2], vertices[3], mode, window),
                            EdgeRuns(vertices[3], vertices[0], mode, window)};
  for (std::int64_t y = window.top; y <= window.bottom; ++y) {
    const auto rowY = static_cast<std::int32_t>(y);
    Row row;
    for (const EdgeRuns& edge : edges) row.Add(edge.InRow(rowY));
    row.AddVertices(vertices, rowY, window);
    row.AddInterior(vertices, rowY, window);
    row.AppendTo(out, rowY);
  }
}

}  // namespace velmora::internal
