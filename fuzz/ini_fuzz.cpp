// Any bytes are an ini file that can be read and asked.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "tests/support/temporary_directory.h"
#include "velmora/log/ini_io.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  // One file for each process, rewritten for each input.
  static const velmora::testing::TemporaryDirectory directory;
  const std::string path = directory / "file.ini";
  std::FILE* const file = std::fopen(path.c_str(), "wb");
  if (file == nullptr || std::fwrite(data, 1, size, file) != size || std::fclose(file) != 0) {
    std::abort();
  }
  velmora::INI_IO ini;
  if (!ini.Load(path.c_str())) std::abort();
  ini.GetInt("Log", "Level");
  if (ini.GetValue("Log", "Mode").find_first_of(" \t\r\n") != std::string::npos) std::abort();
  return 0;
}
