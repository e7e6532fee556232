// The pixels of quadrilaterals against a slow, obvious twin, over all of a small grid.

#include "tests/geometry/quad_inputs.h"

namespace velmora {
namespace {

using testing::Cross;
using testing::Point;
using testing::Quad4;
using testing::Random;

std::string Text(const Quad4& q) {
  return Nx_Quad(q.data()).toString();
}

// Every pixel of the box is asked on its own: is it a pixel of an edge, or are there an odd number
// of edges to the left of it?
std::vector<Point> PixelsOneByOne(const Quad4& q, Nx_Pixelate_Mode mode) {
  std::set<std::pair<int, int>> border;  // by row
  for (unsigned i = 0; i < 4; ++i) {
    std::vector<Point> pixels;
    Nx_LineSegmentEnhanced(q[i], q[(i + 1) % 4]).Pixelate(pixels, mode, 1, -1);
    pixels.push_back(q[i]);
    for (const Point& p : pixels) border.emplace(p[1], p[0]);
  }
  const auto [left, right] = std::minmax({q[0][0], q[1][0], q[2][0], q[3][0]});
  const auto [top, bottom] = std::minmax({q[0][1], q[1][1], q[2][1], q[3][1]});
  std::vector<Point> found;
  for (int y = top; y <= bottom; ++y) {
    for (int x = left; x <= right; ++x) {
      const Point p(x, y);
      bool isInside = false;
      bool isOnEdge = false;
      for (unsigned i = 0; i < 4; ++i) {
        const Point& a = q[i];
        const Point& b = q[(i + 1) % 4];
        if ((a[1] <= y) == (b[1] <= y)) continue;
        // Going down, what lies left on the image is on the right-hand side.
        const std::int64_t cross = a[1] < b[1] ? Cross(a, b, p) : Cross(b, a, p);
        isInside ^= cross < 0;
        isOnEdge |= cross == 0;
      }
      if (isInside || isOnEdge || border.count({y, x}) != 0) found.push_back(p);
    }
  }
  return found;
}

TEST(QuadPixels, OfAllSmallQuads) {
  testing::ForEachSmallQuad(4, [](const Quad4& q) {
    const Nx_Quad quad(q.data());
    for (const Nx_Pixelate_Mode mode : {PXM_SAMPLED, PXM_CHAIN}) {
      std::vector<Point> pixels = {{77, 77}};
      const int count = quad.GetAllPixels(pixels, mode, 0, -1, -1);
      ASSERT_EQ(pixels, PixelsOneByOne(q, mode)) << Text(q);
      ASSERT_EQ(static_cast<std::size_t>(count), pixels.size());
    }
  });
}

TEST(QuadPixels, ShiftedAndClipped) {
  Random random(13);
  for (int i = 0; i < 4'000; ++i) {
    const Quad4 q = random.QuadIn(-15, 40);
    const int shift = i % 3;
    const int width = random.Between(1, 40);
    const int height = random.Between(1, 40);
    const auto mode = static_cast<Nx_Pixelate_Mode>(i % 2);
    Quad4 shifted = q;
    for (Point& p : shifted) p.Set(p[0] >> shift, p[1] >> shift);
    std::vector<Point> want = PixelsOneByOne(shifted, mode);
    SCOPED_TRACE(::testing::Message() << Text(q) << " in " << width << 'x' << height);
    const Nx_Quad quad(q.data());
    std::vector<Point> pixels;
    quad.GetAllPixels(pixels, mode, shift + 32, -1, height);
    ASSERT_EQ(pixels, want) << "shift " << shift;
    ASSERT_LE(pixels.size(), static_cast<std::size_t>(quad.GetAllPixelsReserveSize(shift, -1, -1)));
    const int count = quad.GetAllPixels(pixels, mode, shift, width, height);
    const int reserve = quad.GetAllPixelsReserveSize(shift, width, height);
    const auto isBeyond = [&](const Point& p) {
      return p[0] < 0 || p[1] < 0 || p[0] > (width - 1) >> shift || p[1] > (height - 1) >> shift;
    };
    want.erase(std::remove_if(want.begin(), want.end(), isBeyond), want.end());
    // A coarse cell may reach beyond the image; a quad there has none.
    if (reserve == 0) want.clear();
    ASSERT_EQ(pixels, want) << "shift " << shift;
    ASSERT_LE(count, reserve) << "shift " << shift;
  }
}

TEST(QuadPixels, OfAHugeQuadStayInTheImage) {
  constexpr int kFar = 2'000'000'000;
  const Point vertices[] = {{-kFar, -kFar}, {kFar, -kFar}, {kFar, kFar}, {-kFar, kFar}};
  const Nx_Quad quad(vertices);
  std::vector<Point> pixels;
  EXPECT_EQ(quad.GetAllPixels(pixels, PXM_CHAIN, 0, 30, 20), 600);
  EXPECT_EQ(quad.GetAllPixels(pixels, PXM_CHAIN, 0, 0, 20), 0);
  constexpr int kLast = 0x7FFFFFFF;
  const Point widest[] = {{-kLast - 1, 0}, {3, 0}, {3, 3}, {-kLast - 1, 3}};
  EXPECT_EQ(Nx_Quad(widest).GetAllPixels(pixels, PXM_CHAIN, 0, -kLast - 1, 4), 0);
  EXPECT_EQ(quad.GetAllPixels(pixels, static_cast<Nx_Pixelate_Mode>(2), 0, 30, 20), 0);
  const Point left[] = {{-9, 0}, {-1, 0}, {-1, 5}, {-9, 5}};
  EXPECT_EQ(Nx_Quad(left).GetAllPixelsReserveSize(0, 30, 20), 0);
  EXPECT_EQ(Nx_Quad(left).GetAllPixelsReserveSize(0, 30, -1), 54);
  const Point tallest[] = {{0, -kLast - 1}, {1, -kLast - 1}, {1, kLast}, {0, kLast}};
  EXPECT_THROW(Nx_Quad(tallest).GetAllPixels(pixels, PXM_CHAIN, 0, -1, -1), std::length_error)
      << "2^32 rows, which wrap to none where a size has 32 bits";
}

}  // namespace
}  // namespace velmora
