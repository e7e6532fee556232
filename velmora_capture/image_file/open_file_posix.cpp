#include "velmora_capture/image_file/open_file.h"

namespace velmora::capture {

std::FILE* OpenBytes(const std::string& path) {
  return std::fopen(path.c_str(), "rb");
}

}  // namespace velmora::capture
