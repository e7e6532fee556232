#include "modules/locator/components.h"

#include <algorithm>
#include <cstddef>
#include <numeric>

namespace velmora::modules {

using namespace kit;

namespace {

void AppendRuns(const std::uint8_t* row, int width, int y, std::vector<Run>& runs) {
  for (int x = 0; x < width;) {
    if (row[x] == 0) {
      ++x;
      continue;
    }
    const int first = x;
    while (x < width && row[x] != 0) ++x;
    runs.push_back({y, first, x - 1, -1});
  }
}

// Gives the runs [begin, end) of a row the labels of the runs [above, begin) that they touch.
void LabelRow(std::vector<Run>& runs, std::size_t above, std::size_t begin, DisjointSets& labels) {
  for (std::size_t i = begin; i < runs.size(); ++i) {
    Run& run = runs[i];
    while (above < begin && runs[above].last < run.first - 1) ++above;
    for (std::size_t a = above; a < begin && runs[a].first <= run.last + 1; ++a) {
      if (run.component < 0) {
        run.component = runs[a].component;
      } else {
        labels.Merge(run.component, runs[a].component);
      }
    }
    if (run.component < 0) run.component = labels.Add();
  }
}

// Replaces the labels by numbers 0, 1, 2... of components, in the order in which they begin.
std::vector<Component> Summarise(std::vector<Run>& runs, DisjointSets& labels) {
  std::vector<Component> list;
  std::vector<int> numbers;
  for (Run& run : runs) {
    const auto label = static_cast<std::size_t>(labels.Find(run.component));
    if (label >= numbers.size()) numbers.resize(label + 1, -1);
    if (numbers[label] < 0) {
      numbers[label] = static_cast<int>(list.size());
      list.push_back({{run.first, run.y, run.last, run.y}, 0});
    }
    run.component = numbers[label];
    Component& component = list[static_cast<std::size_t>(run.component)];
    component.box.Include({run.first, run.y, run.last, run.y});
    component.area += run.last - run.first + 1;
  }
  return list;
}

}  // namespace

void Box::Include(const Box& other) {
  left = std::min(left, other.left);
  top = std::min(top, other.top);
  right = std::max(right, other.right);
  bottom = std::max(bottom, other.bottom);
}

DisjointSets::DisjointSets(int count) : parents_(static_cast<std::size_t>(count)) {
  std::iota(parents_.begin(), parents_.end(), 0);
}

int DisjointSets::Add() {
  parents_.push_back(static_cast<int>(parents_.size()));
  return parents_.back();
}

int DisjointSets::Find(int member) {
  auto at = static_cast<std::size_t>(member);
  while (parents_[at] != static_cast<int>(at)) {
    const auto parent = static_cast<std::size_t>(parents_[at]);
    parents_[at] = parents_[parent];  // halves the path for the next one
    at = parent;
  }
  return static_cast<int>(at);
}

void DisjointSets::Merge(int a, int b) {
  a = Find(a);
  b = Find(b);
  parents_[static_cast<std::size_t>(std::max(a, b))] = std::min(a, b);
}

Components FindComponents(const GreyImage& dark) {
  Components found;
  DisjointSets labels;
  std::size_t above = 0;
  for (int y = 0; y < dark.height; ++y) {
    const std::size_t begin = found.runs.size();
    AppendRuns(dark.Row(y), dark.width, y, found.runs);
    LabelRow(found.runs, above, begin, labels);
    above = begin;
  }
  found.list = Summarise(found.runs, labels);
  return found;
}

}  // namespace velmora::modules
