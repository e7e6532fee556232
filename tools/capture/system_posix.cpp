#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <ctime>

#include "tools/capture/system.h"

extern char** environ;

namespace velmora::capture {

bool IsTerminal(StandardStream stream) {
  return isatty(stream == StandardStream::kOutput ? STDOUT_FILENO : STDERR_FILENO) != 0;
}

void KeepLineEnds() {}

std::string ToUtf8(const std::string& name) {
  return name;  // bytes to the system, and UTF-8 to people
}

std::int64_t ThreadNanoseconds() {
  timespec time{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return std::int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
}

int RunProgram(const std::vector<std::string>& arguments) {
  std::vector<char*> argv;
  argv.reserve(arguments.size() + 1);
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  pid_t child = 0;
  if (posix_spawnp(&child, argv[0], nullptr, nullptr, argv.data(), environ) != 0) return -1;
  int status = 0;
  if (waitpid(child, &status, 0) != child || !WIFEXITED(status)) return -1;
  return WEXITSTATUS(status) == 127 ? -1 : WEXITSTATUS(status);
}

}  // namespace velmora::capture
