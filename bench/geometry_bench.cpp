// Quadrilaterals beside Boost.Geometry: 10,000 random convex ones, the same for both. One item is
// one pair (overlap), one point (relation) or one quadrilateral (area).

#include <benchmark/benchmark.h>

#include <algorithm>
#include <boost/geometry.hpp>
#include <boost/geometry/geometries/point_xy.hpp>
#include <boost/geometry/geometries/polygon.hpp>
#include <cmath>
#include <random>
#include <vector>

#include "velmora/geometry/nx_quad.h"
#include "velmora/geometry/quadrilateral.h"

namespace velmora {
namespace {

namespace bg = boost::geometry;
using BoostPoint = bg::model::d2::point_xy<double>;
using BoostPolygon = bg::model::polygon<BoostPoint>;
using basic_structures::CQuadrilateral;
using Point = NxPoint_<int>;

constexpr std::size_t kCount = 10'000;

struct Inputs {
  std::vector<CQuadrilateral> values;
  std::vector<Nx_Quad> quads;
  std::vector<BoostPolygon> polygons;
  std::vector<Point> points;  // about half of them inside the quadrilateral of the same index
  std::vector<BoostPoint> boostPoints;
};

// Four points around an ellipse in a 1000 by 1000 image. Neighbours in the list overlap in about
// two cases of three.
CQuadrilateral RandomConvexQuad(std::mt19937& random) {
  const auto between = [&](double low, double high) {
    return std::uniform_real_distribution<double>(low, high)(random);
  };
  CQuadrilateral quad;
  do {
    const double x = between(300, 700);
    const double y = between(300, 700);
    const double width = between(80, 300);
    const double height = between(80, 300);
    double angles[4];
    for (double& angle : angles) angle = between(0, 6.28);
    std::sort(angles, angles + 4);
    for (int i = 0; i < 4; ++i) {
      quad.points[i].Set(static_cast<int>(x + width * std::cos(angles[i])),
                         static_cast<int>(y + height * std::sin(angles[i])));
    }
  } while (!IsPointsClockWise(quad.points));
  return quad;
}

Inputs MakeInputs() {
  std::mt19937 random(1);
  Inputs in;
  for (std::size_t i = 0; i < kCount; ++i) {
    const CQuadrilateral quad = RandomConvexQuad(random);
    const basic_structures::CRect box = quad.GetBoundingRect();
    in.values.push_back(quad);
    in.quads.emplace_back(quad.points);
    BoostPolygon polygon;
    for (const Point& p : quad.points) bg::append(polygon, BoostPoint(p[0], p[1]));
    bg::correct(polygon);
    in.polygons.push_back(polygon);
    const Point p(std::uniform_int_distribution<int>(box.left, box.right)(random),
                  std::uniform_int_distribution<int>(box.top, box.bottom)(random));
    in.points.push_back(p);
    in.boostPoints.emplace_back(p[0], p[1]);
  }
  return in;
}

const Inputs& SharedInputs() {
  static const Inputs inputs = MakeInputs();
  return inputs;
}

// Runs one(i) for every index in turn, with the results kept alive.
template <typename One>
void RunForEach(benchmark::State& state, One one) {
  std::size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(one(i));
    i = i + 1 == kCount ? 0 : i + 1;
  }
  state.SetItemsProcessed(state.iterations());
}

void OverlapArea_Velmora(benchmark::State& state) {
  const Inputs& in = SharedInputs();
  RunForEach(state, [&](std::size_t i) {
    return in.quads[i].CalcOverlappingAreaWithOtherQuad(&in.quads[(i + 1) % kCount]);
  });
}
BENCHMARK(OverlapArea_Velmora);

void OverlapArea_Boost(benchmark::State& state) {
  const Inputs& in = SharedInputs();
  RunForEach(state, [&](std::size_t i) {
    std::vector<BoostPolygon> overlap;
    bg::intersection(in.polygons[i], in.polygons[(i + 1) % kCount], overlap);
    double area = 0;
    for (const BoostPolygon& part : overlap) area += bg::area(part);
    return area;
  });
}
BENCHMARK(OverlapArea_Boost);

// The baseline: a Sutherland-Hodgman clip in doubles, without tolerance or rounding.
double PlainOverlapArea(const CQuadrilateral& clipper, const CQuadrilateral& subject) {
  double x[2][16];
  double y[2][16];
  int from = 0;
  int count = 4;
  for (int i = 0; i < 4; ++i) {
    x[from][i] = subject.points[i][0];
    y[from][i] = subject.points[i][1];
  }
  for (int e = 0; e < 4 && count > 0; ++e) {
    const Point& a = clipper.points[e];
    const Point& b = clipper.points[(e + 1) % 4];
    const auto side = [&](double px, double py) {
      return (py - a[1]) * (b[0] - a[0]) - (px - a[0]) * (b[1] - a[1]);
    };
    int kept = 0;
    for (int j = 0; j < count; ++j) {
      const int next = j + 1 == count ? 0 : j + 1;
      const double here = side(x[from][j], y[from][j]);
      const double there = side(x[from][next], y[from][next]);
      if (here >= 0) {
        x[1 - from][kept] = x[from][j];
        y[1 - from][kept++] = y[from][j];
      }
      if ((here < 0) == (there < 0)) continue;
      const double t = here / (here - there);
      x[1 - from][kept] = x[from][j] + t * (x[from][next] - x[from][j]);
      y[1 - from][kept++] = y[from][j] + t * (y[from][next] - y[from][j]);
    }
    count = kept;
    from = 1 - from;
  }
  double twice = 0;
  for (int j = 0; j < count; ++j) {
    const int next = j + 1 == count ? 0 : j + 1;
    twice += x[from][j] * y[from][next] - x[from][next] * y[from][j];
  }
  return twice / 2;
}

void OverlapArea_Plain(benchmark::State& state) {
  const Inputs& in = SharedInputs();
  RunForEach(state, [&](std::size_t i) {
    return PlainOverlapArea(in.values[i], in.values[(i + 1) % kCount]);
  });
}
BENCHMARK(OverlapArea_Plain);

void PointRelation_Velmora(benchmark::State& state) {
  const Inputs& in = SharedInputs();
  RunForEach(state,
             [&](std::size_t i) { return in.quads[i].CalcPointPositionRelation(in.points[i], 1); });
}
BENCHMARK(PointRelation_Velmora);

void PointRelation_VelmoraValue(benchmark::State& state) {
  const Inputs& in = SharedInputs();
  RunForEach(state, [&](std::size_t i) { return in.values[i].Contains(&in.points[i]); });
}
BENCHMARK(PointRelation_VelmoraValue);

void PointRelation_Boost(benchmark::State& state) {
  const Inputs& in = SharedInputs();
  RunForEach(state, [&](std::size_t i) { return bg::within(in.boostPoints[i], in.polygons[i]); });
}
BENCHMARK(PointRelation_Boost);

void Area_Velmora(benchmark::State& state) {
  const Inputs& in = SharedInputs();
  RunForEach(state, [&](std::size_t i) { return in.values[i].GetArea(); });
}
BENCHMARK(Area_Velmora);

// What the same answer costs by way of a temporary working quadrilateral.
void Area_VelmoraByNxQuad(benchmark::State& state) {
  const Inputs& in = SharedInputs();
  RunForEach(state, [&](std::size_t i) { return Nx_Quad(in.values[i].points).GetArea(-1, -1); });
}
BENCHMARK(Area_VelmoraByNxQuad);

void Area_Boost(benchmark::State& state) {
  const Inputs& in = SharedInputs();
  RunForEach(state, [&](std::size_t i) { return bg::area(in.polygons[i]); });
}
BENCHMARK(Area_Boost);

}  // namespace
}  // namespace velmora
