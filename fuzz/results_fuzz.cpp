#include "tests/support/operations/results.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  velmora::testing::RunResults(data, size);
  return 0;
}
