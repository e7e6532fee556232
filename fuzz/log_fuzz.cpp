#include "tests/support/operations/log.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  velmora::testing::RunLog(data, size);
  return 0;
}
