#include "tests/support/operations/c_interface.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  velmora::testing::RunCInterface(data, size);
  return 0;
}
