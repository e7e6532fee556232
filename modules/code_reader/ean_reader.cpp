#include "modules/code_reader/ean_reader.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <utility>

namespace velmora::modules {
namespace {

// Widths in modules of the four runs of a digit, as it stands in the left half with odd parity:
// light first. With even parity the runs come in reverse order; in the right half they are those of
// odd parity, dark first.
constexpr std::array<std::array<int, 4>, 10> kWidths = {{{3, 2, 1, 1},
                                                         {2, 2, 2, 1},
                                                         {2, 1, 2, 2},
                                                         {1, 4, 1, 1},
                                                         {1, 1, 3, 2},
                                                         {1, 2, 3, 1},
                                                         {1, 1, 1, 4},
                                                         {1, 3, 1, 2},
                                                         {1, 2, 1, 3},
                                                         {3, 1, 1, 2}}};

// Bit i from the left: whether digit i of the left half has even parity. Entry: the first digit.
constexpr std::array<int, 10> kEan13Parity = {0b000000, 0b001011, 0b001101, 0b001110, 0b010011,
                                              0b011001, 0b011100, 0b010101, 0b010110, 0b011010};
// UPC-E with number system 0; for 1 the bits are the other way. Entry: the check digit.
constexpr std::array<int, 10> kUpcEParity = {0b111000, 0b110100, 0b110010, 0b110001, 0b101100,
                                             0b100110, 0b100011, 0b101010, 0b101001, 0b100101};

constexpr float kNever = 1e9F;

// How badly the runs of one digit fit each digit, by parity: sums of squares, in modules.
struct DigitCosts {
  std::array<std::array<float, 10>, 2> of;
};

// What the runs of a digit measure, in modules of the digit's own width, so that a code on a curved
// surface reads as well. Dark runs are `gain` modules too wide, light ones as much too narrow.
DigitCosts Compare(const ScanLine& line, int first, float gain, bool startsDark) {
  const float module = line.Runs(first, 4) / 7;
  std::array<float, 4> widths{};
  for (int i = 0; i < 4; ++i) {
    const bool isDark = (i % 2 == 0) == startsDark;
    widths[static_cast<std::size_t>(i)] = line.Run(first + i) / module - (isDark ? gain : -gain);
  }
  DigitCosts costs{};
  for (std::size_t digit = 0; digit < 10; ++digit) {
    for (std::size_t i = 0; i < 4; ++i) {
      const float odd = widths[i] - static_cast<float>(kWidths[digit][i]);
      const float even = widths[i] - static_cast<float>(kWidths[digit][3 - i]);
      costs.of[0][digit] += odd * odd;
      costs.of[1][digit] += even * even;
    }
  }
  return costs;
}

// The digits that fit one place best, the best one first. Others would make no better text than the
// runner-up that these leave room for.
struct Choices {
  static constexpr int kCount = 3;
  std::array<int, kCount> digits{};
  std::array<float, kCount> costs{kNever, kNever, kNever};
};

Choices ChooseFrom(const std::array<float, 10>& costs) {
  Choices chosen;
  for (int digit = 0; digit < 10; ++digit) {
    int digitLeft = digit;
    float costLeft = costs[static_cast<std::size_t>(digit)];
    for (std::size_t i = 0; i < Choices::kCount; ++i) {
      if (costLeft < chosen.costs[i]) {
        std::swap(costLeft, chosen.costs[i]);
        std::swap(digitLeft, chosen.digits[i]);
      }
    }
  }
  return chosen;
}

// A text in the making: its cost and its digits as a decimal number.
struct Path {
  float cost = kNever;
  std::int64_t digits = 0;
};

// The two cheapest texts whose weighted sum of digits leaves a certain rest.
struct TwoPaths {
  Path best;
  Path next;

  void Offer(const Path& path) {
    if (path.cost < best.cost) {
      next = best;
      best = path;
    } else if (path.cost < next.cost) {
      next = path;
    }
  }
};

using PathsBySum = std::array<TwoPaths, 10>;

PathsBySum StartPaths(int sum) {
  PathsBySum sums;
  sums[static_cast<std::size_t>(sum)].best.cost = 0;
  return sums;
}

// Extends all texts by one digit whose weight in the sum is 1 or 3.
void Extend(PathsBySum& sums, const Choices& choices, int weight) {
  PathsBySum extended;
  for (int sum = 0; sum < 10; ++sum) {
    for (std::size_t i = 0; i < Choices::kCount; ++i) {
      const TwoPaths& from = sums[static_cast<std::size_t>(sum)];
      const int digit = choices.digits[i];
      TwoPaths& to = extended[static_cast<std::size_t>((sum + digit * weight) % 10)];
      for (const Path* path : {&from.best, &from.next}) {
        if (path->cost < kNever) {
          to.Offer({path->cost + choices.costs[i], path->digits * 10 + digit});
        }
      }
    }
  }
  sums = extended;
}

using AllChoices = std::array<std::array<Choices, 2>, 12>;

TwoPaths DecodeEan13(const AllChoices& choices) {
  TwoPaths decoded;
  for (int first = 0; first < 10; ++first) {
    PathsBySum sums = StartPaths(first);
    for (std::size_t i = 0; i < 12; ++i) {
      const bool isEven =
          i < 6 && (kEan13Parity[static_cast<std::size_t>(first)] >> (5 - i) & 1) != 0;
      Extend(sums, choices[i][isEven ? 1 : 0], i % 2 == 0 ? 3 : 1);
    }
    for (const Path* path : {&sums[0].best, &sums[0].next}) {
      decoded.Offer({path->cost, first * std::int64_t{1000000000000} + path->digits});
    }
  }
  return decoded;
}

TwoPaths DecodeEan8(const AllChoices& choices) {
  PathsBySum sums = StartPaths(0);
  for (std::size_t i = 0; i < 8; ++i) Extend(sums, choices[i][0], i % 2 == 0 ? 3 : 1);
  return sums[0];
}

// The check digit that a UPC-E code with these six digits and this number system should have: that
// of the UPC-A code that it stands for.
int UpcECheckDigit(int system, const std::array<int, 6>& d) {
  // The number of the manufacturer and that of the item, with the zeros that UPC-E leaves out.
  std::array<int, 11> full{system, d[0], d[1]};
  if (d[5] <= 2) {
    full[3] = d[5];
    std::copy(&d[2], &d[5], &full[8]);
  } else if (d[5] == 3) {
    full[3] = d[2];
    std::copy(&d[3], &d[5], &full[9]);
  } else if (d[5] == 4) {
    std::copy(&d[2], &d[4], &full[3]);
    full[10] = d[4];
  } else {
    std::copy(&d[2], &d[5], &full[3]);
    full[10] = d[5];
  }
  int sum = 0;
  for (std::size_t i = 0; i < full.size(); ++i) sum += full[i] * (i % 2 == 0 ? 3 : 1);
  return (10 - sum % 10) % 10;
}

// The parities of the six digits tell number system and check digit. The digits' two best fits with
// each of these parities are tried in all combinations.
TwoPaths DecodeUpcE(const AllChoices& choices) {
  TwoPaths decoded;
  for (int text = 0; text < 20 * 64; ++text) {
    const int system = text & 1;
    const int check = text / 128;
    const int parity = kUpcEParity[static_cast<std::size_t>(check)] ^ (system == 0 ? 0 : 0b111111);
    std::array<int, 6> digits{};
    Path path{0, system};
    for (std::size_t i = 0; i < 6; ++i) {
      const Choices& of = choices[i][static_cast<std::size_t>(parity >> (5 - i) & 1)];
      const auto which = static_cast<std::size_t>(text >> (1 + i) & 1);
      digits[i] = of.digits[which];
      path = {path.cost + of.costs[which], path.digits * 10 + digits[i]};
    }
    path.digits = path.digits * 10 + check;
    if (path.cost < decoded.next.cost && UpcECheckDigit(system, digits) == check) {
      decoded.Offer(path);
    }
  }
  return decoded;
}

// The parities of an add-on follow from its digits.
constexpr std::array<int, 10> kAddOnParity = {0b11000, 0b10100, 0b10010, 0b10001, 0b01100,
                                              0b00110, 0b00011, 0b01010, 0b01001, 0b00101};

int AddOnParity(std::int64_t digits, int count) {
  if (count == 2) return static_cast<int>(digits % 4);
  int sum = 0;
  for (int i = 0; i < 5; ++i, digits /= 10) {
    sum += static_cast<int>(digits % 10) * (i % 2 == 0 ? 3 : 9);
  }
  return kAddOnParity[static_cast<std::size_t>(sum % 10)];
}

TwoPaths DecodeAddOn(const AllChoices& choices, int count) {
  TwoPaths decoded;
  for (int text = 0; text < 1 << (2 * count); ++text) {
    const int parity = text & ((1 << count) - 1);
    Path path{0, 0};
    for (int i = 0; i < count; ++i) {
      const Choices& of = choices[static_cast<std::size_t>(i)]
                                 [static_cast<std::size_t>(parity >> (count - 1 - i) & 1)];
      const auto which = static_cast<std::size_t>(text >> (count + i) & 1);
      path = {path.cost + of.costs[which], path.digits * 10 + of.digits[which]};
    }
    if (path.cost < decoded.next.cost && AddOnParity(path.digits, count) == parity) {
      decoded.Offer(path);
    }
  }
  return decoded;
}

std::string ToText(std::int64_t digits, int length) {
  const std::string text = std::to_string(digits);
  return std::string(static_cast<std::size_t>(length) - text.size(), '0') + text;
}

// How badly the digits may fit: the mean square of what the runs are off, in modules. Random runs
// that passed for guards come to 0.2 and more, codes out of focus to 0.05.
constexpr float kMostVariance = 0.09F;
// No line is measured better than this; a certainty based on less would mean nothing.
constexpr float kLeastVariance = 0.005F;
constexpr float kMostCertainty = 100;

// How far the best valid text is ahead of the next, less how far it is behind the best text of all:
// where a clean print says something invalid, no digit is to be bent until it fits.
float Certainty(const TwoPaths& decoded, float freeCost, int digitCount) {
  const auto runs = static_cast<float>(4 * digitCount);
  if (decoded.best.cost > kMostVariance * runs) return 0;
  const float ahead = decoded.next.cost - decoded.best.cost;
  const float behind = decoded.best.cost - freeCost;
  return std::min((ahead - behind) / (2 * std::max(freeCost / runs, kLeastVariance)),
                  kMostCertainty);
}

// A kind of code as runs: guard, digits, guard, digits, guard.
struct Layout {
  EanKind kind;
  int leftDigits;
  int rightDigits;
  int endGuard;
  int textLength;
  int quiet;  // modules that must be light before and after; EAN-13 has runs of up to 4 inside

  int DigitCount() const { return leftDigits + rightDigits; }
  int DigitAt(int i) const { return 3 + 4 * i + (i >= leftDigits ? 5 : 0); }
  int MiddleGuardAt() const { return 3 + 4 * leftDigits; }
  int EndGuardAt() const { return DigitAt(DigitCount() - 1) + 4; }
  int RunCount() const { return EndGuardAt() + endGuard; }
};

constexpr Layout kLayouts[] = {{EanKind::kEan13, 6, 6, 3, 13, 3},
                               {EanKind::kEan8, 4, 4, 3, 8, 5},
                               {EanKind::kUpcE, 6, 0, 6, 8, 5}};
constexpr int kFewestRuns = 33;  // of UPC-E

// Two neighbouring runs of a guard are together as wide as they should be, whatever the ink has
// spread.
bool Measures(float width, float modules, float module) {
  return std::abs(width - modules * module) <= 0.7F * module;
}

bool IsGuard(const ScanLine& line, int first, int count, float module) {
  for (int i = first; i + 2 <= first + count; ++i) {
    if (!Measures(line.Runs(i, 2), 2, module)) return false;
  }
  return true;
}

// Guards where they belong, digits about as wide as their neighbours, and quiet zones. Less of
// these is asked for than the standard does: designers and photographers cut them.
bool HasShape(const ScanLine& line, int first, const Layout& layout) {
  float before = line.Runs(first + layout.DigitAt(0), 4);
  const float firstModule = before / 7;
  if (!IsGuard(line, first, 3, firstModule)) return false;
  if (first > 0 && line.Run(first - 1) < static_cast<float>(layout.quiet) * firstModule) {
    return false;
  }
  for (int i = 1; i < layout.DigitCount(); ++i) {
    const float width = line.Runs(first + layout.DigitAt(i), 4);
    if (width > before * 1.35F || before > width * 1.35F) return false;
    if (i == layout.leftDigits && !IsGuard(line, first + layout.MiddleGuardAt(), 5, width / 7)) {
      return false;
    }
    before = width;
  }
  const float lastModule = before / 7;
  const int after = first + layout.RunCount();
  return IsGuard(line, first + layout.EndGuardAt(), layout.endGuard, lastModule) &&
         (after >= line.RunCount() ||
          line.Run(after) >= static_cast<float>(layout.quiet) * lastModule);
}

// By how much of a module dark runs are too wide: in the guards all runs should be one wide.
float GuardGain(const ScanLine& line, int first, const Layout& layout) {
  float width[2] = {};  // dark, light
  float count[2] = {};
  const auto add = [&](int begin, int runs) {
    for (int i = begin; i < begin + runs; ++i) {
      width[i % 2] += line.Run(first + i);
      ++count[i % 2];
    }
  };
  add(0, 3);
  if (layout.rightDigits > 0) add(layout.MiddleGuardAt(), 5);
  add(layout.EndGuardAt(), layout.endGuard);
  const float dark = width[0] / count[0];
  const float light = width[1] / count[1];
  return (dark - light) / (dark + light);
}

// What the places of a code may be, with the gain that fits best.
struct Fit {
  float cost = kNever;  // if each digit could be any
  float gain = 0;
  AllChoices choices;
};

Fit FitDigits(const ScanLine& line, int first, const Layout& layout) {
  const float guess = GuardGain(line, first, layout);
  Fit best;
  for (const float gain : {guess - 0.2F, guess - 0.1F, guess, guess + 0.1F, guess + 0.2F}) {
    Fit fit;
    fit.cost = 0;
    fit.gain = gain;
    for (int i = 0; i < layout.DigitCount(); ++i) {
      const bool isRight = i >= layout.leftDigits;
      const DigitCosts costs = Compare(line, first + layout.DigitAt(i), gain, isRight);
      auto& of = fit.choices[static_cast<std::size_t>(i)];
      of = {ChooseFrom(costs.of[0]), ChooseFrom(costs.of[1])};
      fit.cost += isRight || layout.kind == EanKind::kEan8
                      ? of[0].costs[0]
                      : std::min(of[0].costs[0], of[1].costs[0]);
    }
    if (fit.cost < best.cost) best = fit;
  }
  return best;
}

// The add-on whose first bar is the given run: guard of 1, 1, 2 modules, digits with a light and a
// dark module between them, quiet zone.
std::string ReadAddOn(const ScanLine& line, int first, float module, float gain) {
  for (const int count : {5, 2}) {
    const int runs = 1 + 6 * count;
    if (first + runs > line.RunCount() || !Measures(line.Runs(first, 2), 2, module) ||
        !Measures(line.Runs(first + 1, 2), 3, module)) {
      continue;
    }
    if (first + runs < line.RunCount() && line.Run(first + runs) < 4 * module) continue;
    bool fits = true;
    float freeCost = 0;
    AllChoices choices;
    for (int i = 0; i < count; ++i) {
      const int digit = first + 3 + 6 * i;
      fits = fits && Measures(line.Runs(digit, 4) / 7, 1, module) &&
             (i + 1 == count || Measures(line.Runs(digit + 4, 2), 2, module));
      const DigitCosts costs = Compare(line, digit, gain, false);
      auto& of = choices[static_cast<std::size_t>(i)];
      of = {ChooseFrom(costs.of[0]), ChooseFrom(costs.of[1])};
      freeCost += std::min(of[0].costs[0], of[1].costs[0]);
    }
    if (!fits) continue;
    const TwoPaths decoded = DecodeAddOn(choices, count);
    if (Certainty(decoded, freeCost, count) > 3) return ToText(decoded.best.digits, count);
  }
  return {};
}

bool Decode(const ScanLine& line, int first, const Layout& layout, EanReading& reading) {
  const int count = layout.DigitCount();
  const Fit fit = FitDigits(line, first, layout);
  if (fit.cost > kMostVariance * static_cast<float>(4 * count)) return false;
  const TwoPaths decoded = layout.kind == EanKind::kEan13  ? DecodeEan13(fit.choices)
                           : layout.kind == EanKind::kEan8 ? DecodeEan8(fit.choices)
                                                           : DecodeUpcE(fit.choices);
  reading.certainty = Certainty(decoded, fit.cost, count);
  if (reading.certainty <= 0) return false;
  reading.kind = layout.kind;
  reading.digits = ToText(decoded.best.digits, layout.textLength);
  const int after = first + layout.RunCount();
  reading.first = line.Edge(first);
  reading.last = line.Edge(after);
  const float module = (reading.last - reading.first) / static_cast<float>(7 * count + 11);
  reading.addOn.clear();
  if (layout.kind == EanKind::kEan13 && after < line.RunCount() && line.Run(after) < 16 * module) {
    reading.addOn = ReadAddOn(line, after + 1, module, fit.gain);
  }
  return true;
}

}  // namespace

void ReadEan(const ScanLine& line, std::vector<EanReading>& readings) {
  for (int first = 0; first + kFewestRuns <= line.RunCount(); ++first) {
    for (const Layout& layout : kLayouts) {
      if (first + layout.RunCount() > line.RunCount() || !HasShape(line, first, layout)) continue;
      EanReading reading;
      if (!Decode(line, first, layout, reading)) continue;
      readings.push_back(reading);
      break;
    }
  }
}

}  // namespace velmora::modules
