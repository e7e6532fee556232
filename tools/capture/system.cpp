#include "tools/capture/system.h"

#include <cerrno>

namespace velmora::capture {

std::size_t InputStream::Read(unsigned char* bytes, std::size_t count) {
  std::size_t done = 0;
  while (done < count) {
    const std::ptrdiff_t some = ReadSome(bytes + done, count - done);
    if (some < 0) error_ = errno;
    if (some <= 0) break;
    done += static_cast<std::size_t>(some);
  }
  return done;
}

}  // namespace velmora::capture
