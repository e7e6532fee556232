#include "velmora/geometry/internal/direction_angle.h"

#include "velmora/foundation/internal/arithmetic.h"
#include "velmora/geometry/internal/trigonometry.h"

namespace velmora::internal {
namespace {

constexpr int AngleByFormula(std::int64_t dx, std::int64_t dy) noexcept {
  const float degrees =
      ToFloat(CalcArcTangent(static_cast<double>(dy), static_cast<double>(dx)) / kAnglePi * 180);
  const int rounded = RoundHalfAwayFromZero(degrees);
  return rounded < 0 ? rounded + 360 : rounded;
}

// Most segments of a recognised module are short: their angles are computed at compile time.
struct AngleTable {
  static constexpr int kReach = 10;
  std::int16_t angle[2 * kReach + 1][2 * kReach + 1];  // by dx + 10, dy + 10

  constexpr AngleTable() noexcept : angle{} {
    for (int dx = -kReach; dx <= kReach; ++dx) {
      for (int dy = -kReach; dy <= kReach; ++dy) {
        angle[dx + kReach][dy + kReach] = static_cast<std::int16_t>(AngleByFormula(dx, dy));
      }
    }
  }
  static constexpr bool Reaches(std::int64_t d) noexcept { return d >= -kReach && d <= kReach; }
};

constexpr AngleTable kTable;

}  // namespace

int DirectionAngle(std::int64_t dx, std::int64_t dy) noexcept {
  if (AngleTable::Reaches(dx) && AngleTable::Reaches(dy)) {
    return kTable.angle[dx + AngleTable::kReach][dy + AngleTable::kReach];
  }
  return AngleByFormula(dx, dy);
}

}  // namespace velmora::internal
