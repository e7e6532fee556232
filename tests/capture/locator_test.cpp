// The algorithms of the Locator against slow obvious twins, and what it takes for a code.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <random>
#include <set>
#include <utility>
#include <vector>

#include "examples/modules/locator/candidates.h"
#include "examples/modules/locator/components.h"
#include "examples/modules/locator/min_rectangle.h"
#include "examples/modules/locator/threshold.h"

namespace velmora::modules {
namespace {

GreyImage RandomImage(int width, int height, std::mt19937& random, int values) {
  GreyImage image(width, height);
  for (auto& pixel : image.pixels)
    pixel = static_cast<std::uint8_t>(random() % static_cast<unsigned>(values));
  return image;
}

bool IsDarkByDefinition(const GreyImage& grey, int x, int y, int radius, int offset) {
  std::int64_t sum = 0;
  std::int64_t count = 0;
  for (int v = std::max(0, y - radius); v <= std::min(grey.height - 1, y + radius); ++v)
    for (int u = std::max(0, x - radius); u <= std::min(grey.width - 1, x + radius); ++u, ++count)
      sum += grey.Row(v)[u];
  return (grey.Row(y)[x] + offset) * count < sum;
}

TEST(AdaptiveThreshold, EqualsItsDefinition) {
  std::mt19937 random(7);
  for (const auto& [width, height] : {std::pair{1, 1}, {17, 5}, {5, 17}, {30, 31}}) {
    for (int radius : {0, 1, 4, 40}) {
      SCOPED_TRACE(testing::Message() << width << "x" << height << " radius " << radius);
      const GreyImage grey = RandomImage(width, height, random, 256);
      const GreyImage dark = AdaptiveThreshold(grey.View(), radius, 3);
      for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
          ASSERT_EQ(dark.Row(y)[x] != 0, IsDarkByDefinition(grey, x, y, radius, 3));
    }
  }
}

TEST(AdaptiveThreshold, WalksRowsByStride) {
  GreyImage wide(40, 9);
  std::mt19937 random(8);
  for (auto& pixel : wide.pixels) pixel = static_cast<std::uint8_t>(random());
  GreyImage tight(11, 9);
  for (int y = 0; y < 9; ++y) std::copy_n(wide.Row(y) + 20, 11, tight.Row(y));
  const GreyView window{wide.pixels.data() + 20, 11, 9, 40};
  EXPECT_EQ(AdaptiveThreshold(window, 2, 4).pixels, AdaptiveThreshold(tight.View(), 2, 4).pixels);
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
        if (dark.Row(v)[u] == 0) continue;
        dark.Row(v)[u] = 0;
        todo.emplace_back(u, v);
      }
    }
  }
  return component;
}

TEST(FindComponents, EqualsFloodFill) {
  std::mt19937 random(9);
  for (int values : {2, 3, 4}) {
    for (int round = 0; round < 20; ++round) {
      SCOPED_TRACE(testing::Message() << values << " values, round " << round);
      GreyImage dark = RandomImage(1 + static_cast<int>(random() % 40), 23, random, values);
      for (auto& pixel : dark.pixels) pixel = pixel == 1 ? 1 : 0;
      const Components found = FindComponents(dark);
      std::size_t next = 0;
      for (int y = 0; y < dark.height; ++y) {
        for (int x = 0; x < dark.width; ++x) {
          if (dark.Row(y)[x] == 0) continue;
          const Component want = FloodFill(dark, x, y);
          ASSERT_LT(next, found.list.size());
          const Component& got = found.list[next++];
          EXPECT_EQ(got.area, want.area);
          EXPECT_TRUE(got.box.left == want.box.left && got.box.top == want.box.top &&
                      got.box.right == want.box.right && got.box.bottom == want.box.bottom);
        }
      }
      EXPECT_EQ(next, found.list.size());
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
    for (int x = 0; x <= 60; x += 5)
      for (int y = 0; y <= 20; y += 5) points.push_back(turned(x, y));
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

void FillBox(GreyImage& image, const Box& box, std::uint8_t value) {
  for (int y = box.top; y <= box.bottom; ++y)
    std::fill(image.Row(y) + box.left, image.Row(y) + box.right + 1, value);
}

GreyImage Blank() {
  GreyImage image(300, 200);
  std::fill(image.pixels.begin(), image.pixels.end(), std::uint8_t{200});
  return image;
}

void DrawBars(GreyImage& image, int left, int top, int count, int height) {
  for (int i = 0; i < count; ++i)
    FillBox(image, {left + 6 * i, top, left + 6 * i + 2, top + height - 1}, 60);
}

TEST(FindCandidates, TakesManyCrossingsForACode) {
  struct Row {
    const char* name;
    void (*draw)(GreyImage&);
    std::size_t want;
  };
  for (const Row& row : {Row{"nothing", [](GreyImage&) {}, 0},
                         Row{"a dark block",
                             [](GreyImage& i) {
                               FillBox(i, {50, 50, 120, 120}, 30);
                             },
                             0},
                         Row{"bars", [](GreyImage& i) { DrawBars(i, 40, 40, 20, 60); }, 1},
                         Row{"bars too low", [](GreyImage& i) { DrawBars(i, 40, 40, 20, 12); }, 0},
                         Row{"two codes apart",
                             [](GreyImage& i) {
                               DrawBars(i, 20, 20, 15, 50);
                               DrawBars(i, 170, 120, 15, 50);
                             },
                             2},
                         Row{"bars on a label with an edge",
                             [](GreyImage& i) {
                               FillBox(i, {10, 10, 289, 189}, 30);
                               FillBox(i, {12, 12, 287, 187}, 200);
                               DrawBars(i, 60, 60, 20, 60);
                             },
                             1}}) {
    SCOPED_TRACE(row.name);
    GreyImage image = Blank();
    row.draw(image);
    EXPECT_EQ(FindCandidates(image.View(), {}).size(), row.want);
  }
}

TEST(FindCandidates, GivesCornersAndLimits) {
  GreyImage image = Blank();
  DrawBars(image, 20, 20, 15, 50);
  DrawBars(image, 170, 120, 10, 30);
  const std::vector<Candidate> all = FindCandidates(image.View(), {});
  ASSERT_EQ(all.size(), 2U);
  EXPECT_NEAR(all[0].rectangle[0].x, 20, 1e-9);
  EXPECT_NEAR(all[0].rectangle[0].y, 20, 1e-9);
  EXPECT_NEAR(all[0].rectangle[2].x, 20 + 6 * 14 + 2, 1e-9);
  EXPECT_NEAR(all[0].rectangle[2].y, 69, 1e-9);
  EXPECT_EQ(all[0].crossings, 28);

  CandidateRules rules;
  rules.maxCandidates = 1;
  const std::vector<Candidate> largest = FindCandidates(image.View(), rules);
  ASSERT_EQ(largest.size(), 1U);
  EXPECT_EQ(largest[0].area, all[0].area);
}

}  // namespace
}  // namespace velmora::modules
