#include "modules/code_reader/ean_search.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <map>
#include <tuple>
#include <utility>

#include "modules/code_reader/scan_line.h"

namespace velmora::modules {

using namespace kit;

namespace {

// Scan lines in each direction: first a few, and if these find nothing, all of them. The lowest
// codes that people print are a sixth as high as they are wide: one that fills a fifth of the
// image's width is met by one line of the few and by five of all.
constexpr int kFewLines = 60;
constexpr int kTimesAsMany = 4;

// What a line, and all lines together, must say for a text.
constexpr float kLeastCertainty = 3;
constexpr float kEnoughCertainty = 20;
constexpr float kNoDoubt = 25;

// Columns are copied side by side before they are read, as many as fit into a few cache lines.
constexpr int kColumnsAtOnce = 32;

// A code on one line, in pixels of the image.
struct Segment {
  int line;
  int first;
  int last;
};

struct Votes {
  float certainty = 0;
  float bestLine = 0;
  std::vector<Segment> rows;
  std::vector<Segment> columns;
  std::map<std::string, int> addOns;

  // The left half of an EAN-13 code that a scan line leaves through its side may be a whole UPC-E.
  bool IsEnough(EanKind kind) const {
    return (bestLine >= kNoDoubt && kind != EanKind::kUpcE) ||
           (certainty >= kEnoughCertainty && rows.size() + columns.size() > 1);
  }
};

using Text = std::pair<EanKind, std::string>;

class Ballot {
 public:
  // Reads one line in both directions.
  void Read(const std::uint8_t* pixels, int count, std::ptrdiff_t step, int divisor, int at,
            bool isRow) {
    finder_.Find(pixels, count, step, divisor, line_);
    if (line_.edges.empty()) return;
    for (const bool isReversed : {false, true}) {
      if (isReversed) line_.Reverse();
      readings_.clear();
      ReadEan(line_, readings_);
      for (const EanReading& reading : readings_) Count(reading, at, isReversed, isRow);
    }
  }

  const std::map<Text, Votes>& GetVotes() const { return votes_; }

 private:
  void Count(const EanReading& reading, int at, bool isReversed, bool isRow) {
    if (reading.certainty < kLeastCertainty) return;
    Votes& votes = votes_[{reading.kind, reading.digits}];
    votes.certainty += reading.certainty;
    votes.bestLine = std::max(votes.bestLine, reading.certainty);
    if (!reading.addOn.empty()) ++votes.addOns[reading.addOn];
    const auto length = static_cast<float>(line_.length);
    const float first = isReversed ? length - reading.last : reading.first;
    const float last = isReversed ? length - reading.first : reading.last;
    (isRow ? votes.rows : votes.columns)
        .push_back({at, static_cast<int>(std::lround(first)), static_cast<int>(std::lround(last))});
  }

  EdgeFinder finder_;
  ScanLine line_;
  std::vector<EanReading> readings_;
  std::map<Text, Votes> votes_;
};

// Every other line looks for faint bars, the ones between them for noisy bars.
int DivisorFor(int index) {
  return index % 2 == 0 ? 7 : 4;
}

// Where the lines of a pass run.
std::vector<int> LinesOf(int length, bool isFirstPass) {
  const int step = std::max(1, length / (kFewLines * kTimesAsMany));
  const int count = (length - 1 - step / 2) / step + 1;
  const int chosen = std::min(kTimesAsMany / 2, count - 1);
  std::vector<int> lines;
  for (int i = 0; i < count; ++i) {
    if ((i % kTimesAsMany == chosen) == isFirstPass) lines.push_back(step / 2 + i * step);
  }
  return lines;
}

void ReadRows(const GreyView& image, const std::vector<int>& rows, Ballot& ballot) {
  int index = 0;
  for (const int y : rows) ballot.Read(image.Row(y), image.width, 1, DivisorFor(index++), y, true);
}

void ReadColumns(const GreyView& image, const std::vector<int>& columns, Ballot& ballot) {
  const auto height = static_cast<std::size_t>(image.height);
  std::vector<std::uint8_t> copies(height * kColumnsAtOnce);
  for (std::size_t begin = 0; begin < columns.size(); begin += kColumnsAtOnce) {
    const std::size_t end = std::min(columns.size(), begin + kColumnsAtOnce);
    for (int y = 0; y < image.height; ++y) {
      const std::uint8_t* row = image.Row(y);
      std::uint8_t* to = &copies[static_cast<std::size_t>(y)];
      for (std::size_t i = begin; i < end; ++i, to += height) *to = row[columns[i]];
    }
    for (std::size_t i = begin; i < end; ++i) {
      ballot.Read(&copies[(i - begin) * height], image.height, 1, DivisorFor(static_cast<int>(i)),
                  columns[i], false);
    }
  }
}

void SetCorners(const Votes& votes, EanCode& code) {
  const bool isRows = votes.rows.size() >= votes.columns.size();
  const std::vector<Segment>& lines = isRows ? votes.rows : votes.columns;
  const auto [low, high] =
      std::minmax_element(lines.begin(), lines.end(),
                          [](const Segment& a, const Segment& b) { return a.line < b.line; });
  const Segment begin = *low;
  Segment end = *high;
  if (end.line == begin.line) ++end.line;
  if (isRows) {
    code.corners[0].Set(begin.first, begin.line);
    code.corners[1].Set(begin.last, begin.line);
    code.corners[2].Set(end.last, end.line);
    code.corners[3].Set(end.first, end.line);
  } else {
    code.corners[0].Set(begin.line, begin.first);
    code.corners[1].Set(end.line, end.first);
    code.corners[2].Set(end.line, end.last);
    code.corners[3].Set(begin.line, begin.last);
  }
}

// The upright box around a code.
struct Box {
  int low[2];
  int high[2];

  explicit Box(const EanCode& code) {
    for (int axis = 0; axis < 2; ++axis) {
      const auto& c = code.corners;
      std::tie(low[axis], high[axis]) =
          std::minmax({c[0][axis], c[1][axis], c[2][axis], c[3][axis]});
    }
  }
  bool Meets(const Box& other, int margin) const {
    for (int axis = 0; axis < 2; ++axis) {
      if (low[axis] > other.high[axis] + margin || high[axis] + margin < other.low[axis]) {
        return false;
      }
    }
    return true;
  }
};

// Whether a text is likely a misreading of a better founded one: it lies in its place, or close to
// it and half as certain, as where glare or a curve cuts off half of the bars.
bool IsMisreading(const EanCode& code, float certainty, const EanCode& better,
                  float betterCertainty) {
  const Box box(code);
  const Box betterBox(better);
  const int length =
      std::max(betterBox.high[0] - betterBox.low[0], betterBox.high[1] - betterBox.low[1]);
  return betterBox.Meets(box, 0) ||
         (certainty < betterCertainty / 2 && betterBox.Meets(box, length / 2));
}

struct Found {
  EanCode code;
  float certainty;
};

std::vector<Found> CountVotes(const Ballot& ballot) {
  std::vector<std::pair<Text, Votes>> texts(ballot.GetVotes().begin(), ballot.GetVotes().end());
  std::stable_sort(texts.begin(), texts.end(), [](const auto& a, const auto& b) {
    return a.second.certainty > b.second.certainty;
  });
  std::vector<Found> codes;
  for (auto& [text, votes] : texts) {
    if (!votes.IsEnough(text.first)) continue;
    EanCode code{text.first, text.second, {}, {}};
    SetCorners(votes, code);
    if (std::any_of(codes.begin(), codes.end(), [&, sum = votes.certainty](const Found& better) {
          return IsMisreading(code, sum, better.code, better.certainty);
        })) {
      continue;
    }
    const auto addOn =
        std::max_element(votes.addOns.begin(), votes.addOns.end(),
                         [](const auto& a, const auto& b) { return a.second < b.second; });
    if (addOn != votes.addOns.end() && addOn->second > 1) code.addOn = addOn->first;
    codes.push_back({code, votes.certainty});
  }
  return codes;
}

}  // namespace

std::vector<EanCode> FindEan(const GreyView& image, const std::function<bool()>& mustStop) {
  Ballot ballot;
  std::vector<Found> found;
  for (const bool isFirstPass : {true, false}) {
    ReadRows(image, LinesOf(image.height, isFirstPass), ballot);
    if (mustStop()) break;
    ReadColumns(image, LinesOf(image.width, isFirstPass), ballot);
    found = CountVotes(ballot);
    if (!found.empty() || mustStop()) break;
  }
  std::vector<EanCode> codes;
  codes.reserve(found.size());
  for (const Found& one : found) codes.push_back(one.code);
  return codes;
}

}  // namespace velmora::modules
