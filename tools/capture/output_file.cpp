#include "tools/capture/output_file.h"

#include <cerrno>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <system_error>

#include "tools/capture/option_table.h"
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

std::string ReadTextFile(const std::string& file, const std::string& purpose) {
  std::ifstream in(ToPath(file), std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  if (!in) throw UsageError(purpose + " '" + file + "' cannot be read");
  return text.str();
}

void WriteFile(const std::string& file, const std::string& purpose,
               const std::function<void(std::ostream&)>& write) {
  errno = 0;
  std::ofstream out(ToPath(file), std::ios::binary);
  if (out) write(out);
  out.close();
  if (!out) throw OutputError(DescribeWriteError(purpose, file));
}

// A signal may interrupt a write that waits; what is left is written then.
void WriteStandardOutput(const std::string& text) {
  errno = 0;
  const auto goesOn = [] {
    const bool isInterrupted = errno == EINTR;
    if (isInterrupted) std::clearerr(stdout);
    return isInterrupted;
  };
  bool isWritten = true;
  for (std::size_t done = 0; isWritten && done < text.size();) {
    done += std::fwrite(text.data() + done, 1, text.size() - done, stdout);
    isWritten = done == text.size() || goesOn();
  }
  while (isWritten && std::fflush(stdout) != 0) isWritten = goesOn();
  if (!isWritten) throw OutputError(DescribeWriteError("standard output", {}));
}

}  // namespace velmora::capture
