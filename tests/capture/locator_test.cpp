// The algorithms of the Locator against slow obvious twins, and what it takes for a code.

#include "modules/locator/candidates.h"
#include "modules/locator/components.h"
#include "modules/locator/min_rectangle.h"
#include "modules/locator/threshold.h"
#include "tests/support/test.h"

namespace velmora::modules {

using namespace kit;

namespace {

GreyImage RandomImage(int width, int height, std::mt19937& random, int values) {
  GreyImage image(width, height);
  for (auto& pixel : image.pixels) {
    pixel = static_cast<std::uint8_t>(random() % static_cast<unsigned>(values));
  }
  return image;
}

bool IsDarkByDefinition(const GreyView& grey, int x, int y, int radius, int offset) {
  std::int64_t sum = 0;
  std::int64_t count = 0;
  for (int v = std::max(0, y - radius); v <= std::min(grey.height - 1, y + radius); ++v) {
    for (int u = std::max(0, x - radius); u <= std::min(grey.width - 1, x + radius); ++u, ++count) {
      sum += grey.Row(v)[u];
    }
  }
  return (grey.Row(y)[x] + offset) * count < sum;
}

// The image is a window of a wider one: its rows stand farther apart than they are long.
TEST(AdaptiveThreshold, EqualsItsDefinition) {
  std::mt19937 random(7);
  for (const auto& [width, height] : {std::pair{1, 1}, {17, 5}, {5, 17}, {30, 31}}) {
    for (int radius : {0, 1, 4, 40}) {
      SCOPED_TRACE(::testing::Message() << width << "x" << height << " radius " << radius);
      const GreyImage wide = RandomImage(width + 9, height, random, 256);
      const GreyView grey{wide.pixels.data() + 5, width, height, wide.width};
      const GreyImage dark = AdaptiveThreshold(grey, radius, 3);
      for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
          ASSERT_EQ(dark.Row(y)[x] != 0, IsDarkByDefinition(grey, x, y, radius, 3));
        }
      }
    }
  }
}

// Pixels reached from (x, y) one neighbour at a time.
Component FloodFill(GreyImage& dark, int x, int y) {
  Component component{{x, y, x, y}, 0};
  std::vector<std::pair<int, int>> todo{{x, y}};
  dark.Row(y)[x] = 0;
  while (!todo.empty()) {
    const auto [px, py] = todo.back();
    todo.pop_back();
    component.box.Include({px, py, px, py});
    ++component.area;
    for (int v = std::max(0, py - 1); v <= std::min(dark.height - 1, py + 1); ++v) {
      for (int u = std::max(0, px - 1); u <= std::min(dark.width - 1, px + 1); ++u) {
        if (std::exchange(dark.Row(v)[u], std::uint8_t{0}) != 0) todo.emplace_back(u, v);
      }
    }
  }
  return component;
}

using Numbers = std::vector<std::int64_t>;

void Append(const Component& component, Numbers& to) {
  const Box& box = component.box;
  to.insert(to.end(), {box.left, box.top, box.right, box.bottom, component.area});
}

TEST(FindComponents, EqualsFloodFill) {
  std::mt19937 random(9);
  for (int values : {2, 3, 4}) {
    for (int round = 0; round < 20; ++round) {
      SCOPED_TRACE(::testing::Message() << values << " values, round " << round);
      GreyImage dark = RandomImage(1 + static_cast<int>(random() % 40), 23, random, values);
      for (auto& pixel : dark.pixels) pixel = pixel == 1 ? 1 : 0;
      Numbers got;
      for (const Component& component : FindComponents(dark).list) Append(component, got);
      Numbers want;
      for (int y = 0; y < dark.height; ++y) {
        for (int x = 0; x < dark.width; ++x) {
          if (dark.Row(y)[x] != 0) Append(FloodFill(dark, x, y), want);
        }
      }
      EXPECT_EQ(got, want);
    }
  }
}

TEST(MinAreaRectangle, FindsTurnedRectangles) {
  for (int degrees = -44; degrees <= 44; degrees += 4) {
    SCOPED_TRACE(degrees);
    const double c = std::cos(degrees * 3.14159265358979 / 180);
    const double s = std::sin(degrees * 3.14159265358979 / 180);
    const auto turned = [&](double x, double y) { return PointD{x * c - y * s, x * s + y * c}; };
    std::vector<PointD> points;
    for (int x = 0; x <= 60; x += 5) {
      for (int y = 0; y <= 20; y += 5) points.push_back(turned(x, y));
    }
    const Rectangle rectangle = MinAreaRectangle(points);
    const PointD want[] = {turned(0, 0), turned(60, 0), turned(60, 20), turned(0, 20)};
    for (int i = 0; i < 4; ++i) {
      EXPECT_NEAR(rectangle[static_cast<std::size_t>(i)].x, want[i].x, 1e-9);
      EXPECT_NEAR(rectangle[static_cast<std::size_t>(i)].y, want[i].y, 1e-9);
    }
  }
}

TEST(MinAreaRectangle, TakesPointsWithoutArea) {
  std::vector<PointD> one{{3, 4}};
  for (const PointD& corner : MinAreaRectangle(one)) EXPECT_EQ(corner.x + corner.y, 7);
  std::vector<PointD> line{{0, 0}, {4, 4}, {2, 2}};
  const Rectangle rectangle = MinAreaRectangle(line);
  EXPECT_NEAR(rectangle[1].x - rectangle[0].x, 4, 1e-9);
  EXPECT_NEAR(rectangle[2].x - rectangle[1].x, 0, 1e-9);
}

struct Filled {
  Box box;
  std::uint8_t value;
};

struct Bars {
  int left;
  int top;
  int count;
  int height;
};

// Boxes, then dark bars, 3 pixels wide and as far apart, on a bright ground.
GreyImage Draw(const std::vector<Filled>& boxes, const std::vector<Bars>& codes) {
  GreyImage image(300, 200);
  std::vector<Filled> all = {{{0, 0, 299, 199}, 200}};
  all.insert(all.end(), boxes.begin(), boxes.end());
  for (const Bars& bars : codes) {
    for (int x = bars.left; x < bars.left + 6 * bars.count; x += 6) {
      all.push_back({{x, bars.top, x + 2, bars.top + bars.height - 1}, 60});
    }
  }
  for (const auto& [box, value] : all) {
    for (int y = box.top; y <= box.bottom; ++y) {
      std::fill_n(image.Row(y) + box.left, box.Width(), value);
    }
  }
  return image;
}

TEST(FindCandidates, TakesManyCrossingsForACode) {
  struct Row {
    const char* name;
    std::vector<Filled> boxes;
    std::vector<Bars> codes;
    std::size_t want;
  };
  for (const Row& row : {
           Row{"nothing", {}, {}, 0},
           Row{"a dark block", {{{50, 50, 120, 120}, 30}}, {}, 0},
           Row{"bars", {}, {{40, 40, 20, 60}}, 1},
           Row{"bars too low", {}, {{40, 40, 20, 19}}, 0},
           Row{"two codes apart", {}, {{20, 20, 15, 50}, {170, 120, 15, 50}}, 2},
           Row{"two codes near the edge of a label",
               {{{10, 10, 289, 189}, 30}, {{12, 12, 287, 187}, 200}},
               {{20, 20, 15, 50}, {192, 130, 15, 50}},
               2},
       }) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(FindCandidates(Draw(row.boxes, row.codes).View(), {}).size(), row.want);
  }
}

TEST(FindCandidates, GivesTheLargestWithItsCorners) {
  CandidateRules rules;
  rules.maxCandidates = 1;
  const GreyImage image = Draw({}, {{170, 120, 10, 30}, {20, 20, 15, 50}});
  const std::vector<Candidate> largest = FindCandidates(image.View(), rules);
  ASSERT_EQ(largest.size(), 1U);
  const Rectangle& corners = largest[0].rectangle;
  EXPECT_NEAR(corners[0].x, 20, 1e-9);
  EXPECT_NEAR(corners[0].y, 20, 1e-9);
  EXPECT_NEAR(corners[2].x, 20 + 6 * 14 + 2, 1e-9);
  EXPECT_NEAR(corners[2].y, 69, 1e-9);
  EXPECT_EQ(largest[0].crossings, 28);
}

}  // namespace
}  // namespace velmora::modules
