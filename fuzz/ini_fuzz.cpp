// Any bytes are an ini file that can be read and asked.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "velmora/log/ini_io.h"

namespace {

// One file for each process, rewritten for each input.
const std::string& FileName() {
  static const std::string name = [] {
    char path[] = "/tmp/velmora-ini-fuzz-XXXXXX";
    if (mkstemp(path) < 0) std::abort();
    return std::string(path);
  }();
  return name;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::FILE* const file = std::fopen(FileName().c_str(), "wb");
  if (file == nullptr || std::fwrite(data, 1, size, file) != size || std::fclose(file) != 0) {
    std::abort();
  }
  velmora::INI_IO ini;
  if (!ini.Load(FileName().c_str())) std::abort();
  ini.GetInt("Log", "Level");
  if (ini.GetValue("Log", "Mode").find_first_of(" \t\r\n") != std::string::npos) std::abort();
  return 0;
}
