#include <filesystem>

#include "velmora_capture/image_file/open_file.h"

namespace velmora::capture {

std::FILE* OpenBytes(const std::string& path) {
  try {
    return _wfopen(std::filesystem::u8path(path).c_str(), L"rb");
  } catch (const std::filesystem::filesystem_error&) {
    return std::fopen(path.c_str(), "rb");  // not UTF-8, so a name in the system's code page
  }
}

}  // namespace velmora::capture
