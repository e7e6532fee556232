#include "tools/capture/output_file.h"

#include <cerrno>
#include <cstdio>
#include <fstream>
#include <system_error>

#include "tools/capture/text.h"

namespace velmora::capture {

std::filesystem::path ToPath(const std::string& name) {
  return std::filesystem::u8path(name);
}

std::string DescribeWriteError(const std::string& purpose, const std::string& file) {
  const int error = errno;
  std::string text = purpose + (file.empty() ? "" : " '" + Printable(file) + "'");
  text += " cannot be written";
  return error == 0 ? text : text + ": " + std::generic_category().message(error);
}

void WriteFile(const std::string& file, const std::string& purpose,
               const std::function<void(std::ostream&)>& write) {
  errno = 0;
  std::ofstream out(ToPath(file), std::ios::binary);
  if (out) write(out);
  out.close();
  if (!out) throw OutputError(DescribeWriteError(purpose, file));
}

void WriteStandardOutput(const std::string& text) {
  errno = 0;
  if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size() || std::fflush(stdout) != 0)
    throw OutputError(DescribeWriteError("standard output", {}));
}

}  // namespace velmora::capture
