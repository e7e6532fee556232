#include "modules/code_reader/scan_line.h"

#include <algorithm>
#include <cstdlib>

namespace velmora::modules {
namespace {

// Smaller changes of the grey value are noise, whatever the contrast. Bars out of focus on a glossy
// package differ from their ground by as little as 6.
constexpr int kLeastSwing = 5;

// How many turns to each side have a say in what is light and what is dark near an edge: enough to
// reach a wide run, few enough to follow a change of the lighting.
constexpr int kReach = 4;

}  // namespace

void ScanLine::Reverse() {
  std::reverse(edges.begin(), edges.end());
  for (float& edge : edges) edge = static_cast<float>(length) - edge;
}

void EdgeFinder::Find(const std::uint8_t* pixels, int count, std::ptrdiff_t step, int divisor,
                      ScanLine& line) {
  line.edges.clear();
  line.length = count;
  turns_.clear();
  if (count > 1) FindTurns(pixels, count, step, divisor);
  if (turns_.size() < 2) return;
  if (turns_[0].value < turns_[1].value) line.edges.push_back(0);
  const std::size_t last = turns_.size() - 1;
  for (std::size_t i = 0; i < last; ++i) {
    const Turn& from = turns_[i];
    const Turn& to = turns_[i + 1];
    int light = 0;
    int dark = 255;
    for (std::size_t k = i + 1 < kReach ? 0 : i + 1 - kReach; k <= std::min(last, i + kReach);
         ++k) {
      light = std::max(light, turns_[k].value);
      dark = std::min(dark, turns_[k].value);
    }
    const bool falls = to.value < from.value;
    line.edges.push_back(
        StepPosition(pixels, step, from, to, falls ? light : dark, falls ? dark : light));
  }
  if (turns_[last].value < turns_[last - 1].value) line.edges.push_back(static_cast<float>(count));
}

void EdgeFinder::FindTurns(const std::uint8_t* pixels, int count, std::ptrdiff_t step,
                           int divisor) {
  Turn lightest{0, pixels[0]};
  Turn darkest = lightest;
  int i = 1;
  for (; i < count && lightest.value - darkest.value < kLeastSwing; ++i) {
    const int value = pixels[i * step];
    if (value > lightest.value) lightest = {i, value};
    if (value < darkest.value) darkest = {i, value};
  }
  if (lightest.value - darkest.value < kLeastSwing) return;
  bool falls = darkest.at > lightest.at;
  turns_.push_back(falls ? lightest : darkest);
  Turn extreme = falls ? darkest : lightest;
  int averageSwing = 0;
  int least = kLeastSwing;
  for (; i < count; ++i) {
    const int value = pixels[i * step];
    const int back = falls ? value - extreme.value : extreme.value - value;
    if (back <= 0) {
      extreme = {i, value};
    } else if (back >= least) {
      averageSwing += (std::abs(turns_.back().value - extreme.value) - averageSwing) / 4;
      least = std::max(kLeastSwing, averageSwing / divisor);
      turns_.push_back(extreme);
      extreme = {i, value};
      falls = !falls;
    }
  }
  turns_.push_back(extreme);
}

// Where a step from one level to the other has the same area below it as the slope between two
// turns. Blur moves light and dark about but keeps their amounts, so that even a run too thin to
// reach its level measures what it should; halfway between the turns, thin runs would measure too
// wide.
float EdgeFinder::StepPosition(const std::uint8_t* pixels, std::ptrdiff_t step, const Turn& from,
                               const Turn& to, int fromLevel, int toLevel) {
  // Only the slope itself: on a long way to the turn, little differences would add up.
  const int tolerance = std::abs(from.value - to.value) / 16;
  int begin = to.at;
  while (begin > from.at && std::abs(pixels[begin * step] - from.value) > tolerance) --begin;
  int end = begin;
  while (end < to.at && std::abs(pixels[end * step] - to.value) > tolerance) ++end;
  int doubledArea = 0;
  for (int i = begin; i < end; ++i) doubledArea += pixels[i * step] + pixels[(i + 1) * step];
  const float above =
      static_cast<float>(doubledArea) / 2 - static_cast<float>(toLevel * (end - begin));
  return static_cast<float>(begin) + above / static_cast<float>(fromLevel - toLevel) + 0.5F;
}

}  // namespace velmora::modules
