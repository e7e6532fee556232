// What the kit does with pixels, tiles and texts on behalf of modules.
#include "tests/support/test.h"
#include "velmora_kit/pixel_filters.h"
#include "velmora_kit/straighten.h"
#include "velmora_kit/text.h"
#include "velmora_kit/tiles.h"

namespace velmora::kit {
namespace {

GreyImage RandomImage(int width, int height) {
  std::mt19937 random(1);
  GreyImage image(width, height);
  for (auto& pixel : image.pixels) pixel = static_cast<std::uint8_t>(random());
  return image;
}

int At(const GreyImage& image, int x, int y) {
  return image.Row(std::clamp(y, 0, image.height - 1))[std::clamp(x, 0, image.width - 1)];
}

// Each filter against its definition, at sizes whose borders are most of the picture.
TEST(PixelFilters, EqualTheirDefinitions) {
  for (const auto& [width, height] : {std::pair{1, 1}, {2, 3}, {7, 5}, {20, 9}}) {
    SCOPED_TRACE(::testing::Message() << width << "x" << height);
    const GreyImage image = RandomImage(width, height);
    const GreyImage large = Enlarge(image.View());
    const GreyImage sharp = Sharpen(image.View());
    const GreyImage inverted = Invert(image.View());
    for (int y = 0; y < height; ++y) {
      for (int x = 0; x < width; ++x) {
        int blurred = 8;
        for (int v = -1; v <= 1; ++v) {
          for (int u = -1; u <= 1; ++u) {
            blurred += At(image, x + u, y + v) * (u == 0 ? 2 : 1) * (v == 0 ? 2 : 1);
          }
        }
        const int value = At(image, x, y);
        EXPECT_EQ(At(sharp, x, y), std::clamp(3 * value - 2 * (blurred / 16), 0, 255));
        EXPECT_EQ(At(inverted, x, y), 255 - value);
        for (int v : {0, 1}) {
          for (int u : {0, 1}) {
            EXPECT_EQ(
                At(large, 2 * x + u, 2 * y + v),
                (9 * value + 3 * At(image, x + 2 * u - 1, y) + 3 * At(image, x, y + 2 * v - 1) +
                 At(image, x + 2 * u - 1, y + 2 * v - 1) + 8) /
                    16);
          }
        }
      }
    }
  }
  const GreyImage image = RandomImage(11, 7);
  const GreyImage reduced = Reduce(image.View(), 3);
  ASSERT_EQ(reduced.width, 3);
  ASSERT_EQ(reduced.height, 2);
  int sum = 0;
  for (int y = 3; y < 6; ++y) {
    for (int x = 6; x < 9; ++x) sum += At(image, x, y);
  }
  EXPECT_EQ(At(reduced, 2, 1), sum / 9);
}

// Turned by 90 degrees at twice the size: every other pixel is one of the source.
TEST(Straighten, TurnsAndEnlarges) {
  const GreyImage image = RandomImage(30, 20);
  const Corner corners[] = {{20, 4}, {20, 15}, {9, 15}, {9, 4}};
  const Straightened upright = Straighten(image.View(), corners, 2, 2);
  ASSERT_EQ(upright.image.width, (11 + 1 + 4) * 2);
  for (int y = 0; y < upright.image.height; y += 2) {
    for (int x = 0; x < upright.image.width; x += 2) {
      const Corner source = upright.ToSource(x, y);
      EXPECT_EQ(At(upright.image, x, y), At(image, source[0], source[1]));
      EXPECT_EQ(source[0], 22 - y / 2);
      EXPECT_EQ(source[1], 2 + x / 2);
    }
  }
}

bool Holds(const Window& outer, const Window& inner) {
  return outer.left <= inner.left && inner.left + inner.width <= outer.left + outer.width &&
         outer.top <= inner.top && inner.top + inner.height <= outer.top + outer.height;
}

TEST(Tiles, CoverTheWindowInPortions) {
  for (const Window& window :
       {Window{0, 0, 1000, 2000}, Window{3, 5, 1000, 2001}, Window{0, 0, 6000, 6000},
        Window{7, 0, 16000, 130}, Window{0, 7, 130, 16000}, Window{0, 0, 3000001, 1}}) {
    SCOPED_TRACE(::testing::Message() << window.width << "x" << window.height);
    const std::vector<Window> tiles = TilesOf(window);
    for (const Window& tile : tiles) {
      EXPECT_LE(std::int64_t{tile.width} * tile.height, kMostPixelsAtOnce);
      EXPECT_TRUE(Holds(window, tile));
    }
    // A square of a quarter of a tile's side lies in one of them, wherever it lies.
    const int side = std::min(tiles[0].width, tiles[0].height) / 4;
    for (int i = 0; i < 20 * 21; ++i) {
      const Window square = {
          window.left + static_cast<int>(std::int64_t{window.width - side} * (i % 20) / 19),
          window.top + static_cast<int>(std::int64_t{window.height - side} * (i / 20) / 20), side,
          side};
      EXPECT_TRUE(std::any_of(tiles.begin(), tiles.end(),
                              [&](const Window& tile) { return Holds(tile, square); }))
          << square.left << "," << square.top;
    }
    const auto factor = ReductionOf(window);
    EXPECT_LE(std::int64_t{window.width} * window.height / factor / factor, kMostPixelsAtOnce);
    EXPECT_EQ(factor == 1, tiles.size() == 1);
  }
}

TEST(TextOf, PrefersValidUtf8) {
  for (const char* text : {"plain", "gr\xC3\xBC\xC3\x9F", "\xE6\x97\xA5\xF0\x9F\x98\x80"}) {
    EXPECT_EQ(TextOf(text), text);
  }
  const std::pair<const char*, const char*> latin1[] = {
      {"gr\xFC\xDF", "gr\xC3\xBC\xC3\x9F"},
      {"cut \xE6\x97", "cut \xC3\xA6\xC2\x97"},
      {"\xC0\x80", "\xC3\x80\xC2\x80"},
      {"\xED\xA0\x80", "\xC3\xAD\xC2\xA0\xC2\x80"},
      {"\xF4\x90\x80\x80", "\xC3\xB4\xC2\x90\xC2\x80\xC2\x80"}};
  for (const auto& [bytes, want] : latin1) EXPECT_EQ(TextOf(bytes), want);
}

}  // namespace
}  // namespace velmora::kit
