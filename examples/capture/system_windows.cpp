#include <fcntl.h>
#include <io.h>
#include <process.h>

#include <chrono>
#include <cstdio>

#include "examples/capture/system.h"

namespace velmora::capture {

bool IsTerminal(StandardStream stream) {
  return _isatty(_fileno(stream == StandardStream::kOutput ? stdout : stderr)) != 0;
}

void KeepLineEnds() {
  _setmode(_fileno(stdout), _O_BINARY);
}

std::int64_t ThreadNanoseconds() {
  const auto now = std::chrono::steady_clock::now().time_since_epoch();
  return std::chrono::duration_cast<std::chrono::nanoseconds>(now).count();
}

int RunProgram(const std::vector<std::string>& arguments) {
  std::vector<std::string> quoted;  // the C library joins the arguments with blanks only
  for (const std::string& argument : arguments) quoted.push_back("\"" + argument + "\"");
  std::vector<const char*> argv;
  for (const std::string& argument : quoted) argv.push_back(argument.c_str());
  argv.push_back(nullptr);
  return static_cast<int>(_spawnvp(_P_WAIT, arguments[0].c_str(), argv.data()));
}

}  // namespace velmora::capture
