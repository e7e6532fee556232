#include "velmora/foundation/math.h"

#include <cmath>

double Nc_Sqrt(double x) {
  // One call serves both cases: with errno kept (no -ffast-math), the compiler emits the hardware
  // instruction and goes to the library only for an operand that compares less than 0.
  return std::sqrt(x);
}
