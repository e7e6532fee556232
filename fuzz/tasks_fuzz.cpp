#include "tests/support/operations/tasks.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  velmora::testing::RunTasks(data, size);
  return 0;
}
