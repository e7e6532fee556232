#include "modules/locator/candidates.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <utility>

#include "modules/locator/components.h"
#include "modules/locator/threshold.h"

namespace velmora::modules {

using namespace kit;

namespace {

// How far apart the components of one code may lie. Bars stand closer than a quarter of their
// height; the modules of a matrix, closer than their size.
constexpr int kReachDivisor = 4;
constexpr int kModuleReach = 12;

// A noisy image needs a larger offset, or specks of noise join everything; one without noise keeps
// the rule's.
constexpr int kMaxOffset = 24;

int LongSide(const Box& box) {
  return std::max(box.Width(), box.Height());
}

// The middle one of all differences between pixels side by side: nearly 0 in a clean picture, since
// edges are few, and about the spread of the noise in a noisy one.
int MedianDifference(const GreyView& grey) {
  std::array<std::int64_t, 256> counts{};
  for (int y = 0; y < grey.height; ++y) {
    const std::uint8_t* row = grey.Row(y);
    for (int x = 1; x < grey.width; ++x) {
      ++counts[static_cast<std::size_t>(std::abs(row[x] - row[x - 1]))];
    }
  }
  std::int64_t rest = std::int64_t{grey.width - 1} * grey.height / 2;
  std::size_t difference = 0;
  while (difference < 255 && rest >= counts[difference]) rest -= counts[difference++];
  return static_cast<int>(difference);
}

// Whether a component is the outline of something large, a label or the edge of a sheet, which
// would tie together all that lies inside.
bool IsFrame(const Component& component, const GreyImage& image) {
  const std::int64_t width = component.box.Width();
  const std::int64_t height = component.box.Height();
  return width * 2 > image.width && height * 2 > image.height &&
         component.area * 100 < width * height * 15;
}

int Reach(const Box& box) {
  return std::min(LongSide(box), std::max(kModuleReach, LongSide(box) / kReachDivisor)) + 1;
}

// Pixels between two boxes, along the axis where they lie farther apart; below 1 if they touch.
int Gap(const Box& a, const Box& b) {
  return std::max(std::max(a.left, b.left) - std::min(a.right, b.right),
                  std::max(a.top, b.top) - std::min(a.bottom, b.bottom));
}

bool AreNeighbours(const Box& a, const Box& b) {
  return Gap(a, b) <= std::min(Reach(a), Reach(b));
}

// Groups the components that reach each other. Sorted by their left sides, a component can only
// reach those that begin before its own right side plus its reach.
DisjointSets GroupNeighbours(const std::vector<Component>& components, int minArea) {
  std::vector<int> order;
  for (std::size_t i = 0; i < components.size(); ++i) {
    if (components[i].area >= minArea) order.push_back(static_cast<int>(i));
  }
  const auto box = [&](int i) -> const Box& { return components[static_cast<std::size_t>(i)].box; };
  std::sort(order.begin(), order.end(), [&](int a, int b) {
    return box(a).left != box(b).left ? box(a).left < box(b).left : a < b;
  });
  DisjointSets groups(static_cast<int>(components.size()));
  for (std::size_t i = 0; i < order.size(); ++i) {
    const Box& a = box(order[i]);
    const int limit = a.right + Reach(a);
    for (std::size_t j = i + 1; j < order.size() && box(order[j]).left <= limit; ++j) {
      if (AreNeighbours(a, box(order[j]))) groups.Merge(order[i], order[j]);
    }
  }
  return groups;
}

struct Group {
  Box box;
  std::vector<PointD> outline;  // the ends of its rows, all that the hull can touch

  // Runs come row by row, from left to right.
  void Add(const Run& run) {
    const auto y = static_cast<double>(run.y);
    if (outline.empty() || outline.back().y != y) {
      outline.push_back({static_cast<double>(run.first), y});
      outline.push_back({static_cast<double>(run.last), y});
    } else {
      outline.back().x = static_cast<double>(run.last);
    }
  }
};

std::vector<Group> CollectGroups(const Components& found, int minArea) {
  DisjointSets sets = GroupNeighbours(found.list, minArea);
  std::vector<Group> groups;
  std::vector<int> numbers(found.list.size(), -1);
  for (const Run& run : found.runs) {
    if (found.list[static_cast<std::size_t>(run.component)].area < minArea) continue;
    int& number = numbers[static_cast<std::size_t>(sets.Find(run.component))];
    const Box box{run.first, run.y, run.last, run.y};
    if (number < 0) {
      number = static_cast<int>(groups.size());
      groups.push_back({box, {}});
    }
    Group& group = groups[static_cast<std::size_t>(number)];
    group.box.Include(box);
    group.Add(run);
  }
  return groups;
}

// Changes between dark and light within the box, on an average row or column: text and shapes have
// a few, codes have many in one direction at least.
int AverageCrossings(const GreyImage& dark, const Box& box) {
  std::int64_t along = 0;
  std::int64_t across = 0;
  for (int y = box.top; y <= box.bottom; ++y) {
    const std::uint8_t* row = dark.Row(y);
    const std::uint8_t* above = y > box.top ? dark.Row(y - 1) : row;
    for (int x = box.left; x <= box.right; ++x) {
      along += x > box.left && row[x] != row[x - 1] ? 1 : 0;
      across += row[x] != above[x] ? 1 : 0;
    }
  }
  return static_cast<int>(std::max(along / box.Height(), across / box.Width()));
}

// Many and large candidates narrow nothing down: looking at them costs more than at the whole
// image.
void KeepWithin(const CandidateRules& rules, double imageArea, std::vector<Candidate>& candidates) {
  double areaLeft = imageArea * rules.maxArea / 100;
  std::size_t kept = 0;
  for (const Candidate& candidate : candidates) {
    if (candidate.area > areaLeft) continue;
    areaLeft -= candidate.area;
    candidates[kept++] = candidate;
    if (kept == static_cast<std::size_t>(rules.maxCandidates)) break;
  }
  candidates.resize(kept);
}

}  // namespace

std::vector<Candidate> FindCandidates(const GreyView& grey, const CandidateRules& rules,
                                      GreyImage* darkOut) {
  const int offset = std::max(rules.offset, std::min(3 * MedianDifference(grey), kMaxOffset));
  GreyImage dark = AdaptiveThreshold(grey, rules.radius, offset);
  Components found = FindComponents(dark);
  for (Component& component : found.list) {
    if (IsFrame(component, dark)) component.area = 0;
  }  // counts as a speck from here on
  std::vector<Candidate> candidates;
  for (Group& group : CollectGroups(found, rules.minArea)) {
    if (std::min(group.box.Width(), group.box.Height()) < rules.minSide) continue;
    const int crossings = AverageCrossings(dark, group.box);
    if (crossings < rules.minCrossings) continue;
    candidates.push_back({MinAreaRectangle(group.outline), crossings,
                          static_cast<double>(group.box.Width()) * group.box.Height()});
  }
  std::stable_sort(candidates.begin(), candidates.end(),
                   [](const Candidate& a, const Candidate& b) { return a.area > b.area; });
  KeepWithin(rules, static_cast<double>(grey.width) * grey.height, candidates);
  if (darkOut != nullptr) *darkOut = std::move(dark);
  return candidates;
}

}  // namespace velmora::modules
