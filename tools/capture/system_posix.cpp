#include <dirent.h>
#include <fcntl.h>
#include <poll.h>
#include <semaphore.h>
#include <spawn.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <system_error>
#include <thread>
#include <utility>

#include "tools/capture/system.h"

extern char** environ;

namespace velmora::capture {

bool IsTerminal(StandardStream stream) {
  return isatty(stream == StandardStream::kOutput ? STDOUT_FILENO : STDERR_FILENO) != 0;
}

int GetTerminalWidth() {
  winsize size{};
  return ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
}

std::vector<std::string> GetArguments(int argc, char** argv) {
  return {argv + std::min(argc, 1), argv + argc};
}

std::string ToUtf8(const std::string& name) {
  return name;
}

std::string ToNarrow(const std::string& name) {
  return name;
}

void PrepareStandardStreams() {
  // What cannot be written fails, and is told; it does not end the program.
  for (const int number : {SIGPIPE, SIGXFSZ}) std::signal(number, SIG_IGN);
  // The lowest number that is free is what open gives. A stream that may only be used the wrong way
  // round fails as a closed one does.
  for (int number = STDIN_FILENO; number <= STDERR_FILENO; ++number) {
    if (fcntl(number, F_GETFD) < 0) {
      static_cast<void>(open("/dev/null", number == STDIN_FILENO ? O_WRONLY : O_RDONLY));
    }
  }
}

int RunProgram(const std::vector<std::string>& arguments) {
  std::vector<char*> argv;
  argv.reserve(arguments.size() + 1);
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  pid_t child = 0;
  if (posix_spawnp(&child, argv[0], nullptr, nullptr, argv.data(), environ) != 0) return -1;
  int status = 0;
  while (waitpid(child, &status, 0) != child) {
    if (errno != EINTR) return -1;
  }
  if (!WIFEXITED(status)) return -1;
  return WEXITSTATUS(status) == 127 ? -1 : WEXITSTATUS(status);
}

std::vector<DirectoryEntry> ListDirectory(const std::string& directory, std::string& error) {
  std::vector<DirectoryEntry> entries;
  DIR* const stream = opendir(directory.c_str());
  if (stream == nullptr) {
    error = std::generic_category().message(errno);
    return entries;
  }
  // NOLINTNEXTLINE(concurrency-mt-unsafe): unsafe only for the threads of one stream
  while (const dirent* found = readdir(stream)) {
    DirectoryEntry entry;
    entry.name = found->d_name;
    if (entry.name == "." || entry.name == "..") continue;
    struct stat status {};
    if (fstatat(dirfd(stream), found->d_name, &status, 0) == 0) {
      if (S_ISREG(status.st_mode)) entry.kind = DirectoryEntry::kFile;
      if (S_ISDIR(status.st_mode)) entry.kind = DirectoryEntry::kDirectory;
      entry.size = status.st_size;
      entry.time = std::int64_t{status.st_mtim.tv_sec} * 1'000'000'000 + status.st_mtim.tv_nsec;
    }
    entries.push_back(std::move(entry));
  }
  closedir(stream);
  std::sort(entries.begin(), entries.end(),
            [](const DirectoryEntry& a, const DirectoryEntry& b) { return a.name < b.name; });
  return entries;
}

std::string GetRealDirectory(const std::string& directory) {
  struct stat status {};
  if (stat(directory.c_str(), &status) != 0 || !S_ISDIR(status.st_mode)) return {};
  char* const real = realpath(directory.c_str(), nullptr);
  std::string path = real != nullptr ? real : directory;
  std::free(real);
  return path;
}

// A pipe whose end of writing is closed when the signal is set: it is readable from then on.
struct StopSignal::State {
  int readEnd = -1;
  std::atomic<int> writeEnd{-1};
};

StopSignal::StopSignal() : state_(std::make_unique<State>()) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) {
    throw std::system_error(errno, std::generic_category(), "a pipe cannot be made");
  }
  state_->readEnd = ends[0];
  state_->writeEnd = ends[1];
}

StopSignal::~StopSignal() {
  Set();
  close(state_->readEnd);
}

void StopSignal::Set() {
  const int writeEnd = state_->writeEnd.exchange(-1);
  if (writeEnd >= 0) close(writeEnd);
}

bool StopSignal::IsSet() const {
  return state_->writeEnd < 0;
}

bool StopSignal::WaitFor(int milliseconds) const {
  pollfd end{state_->readEnd, POLLIN, 0};
  poll(&end, 1, milliseconds);
  return IsSet();
}

namespace {

class PosixStream final : public InputStream {
 public:
  PosixStream(int number, bool mayWait, const StopSignal& stop, int stopNumber)
      : InputStream(stop), number_(number), mayWait_(mayWait), stopNumber_(stopNumber) {}
  ~PosixStream() override {
    if (number_ != STDIN_FILENO) close(number_);
  }
  PosixStream(const PosixStream&) = delete;
  PosixStream& operator=(const PosixStream&) = delete;

 private:
  std::ptrdiff_t ReadSome(unsigned char* bytes, std::size_t count) override {
    for (;;) {
      if (stop_.IsSet()) return 0;
      // Of a pipe without a writer a read would tell the end.
      pollfd ends[] = {{number_, POLLIN, 0}, {stopNumber_, POLLIN, 0}};
      if (mayWait_ && poll(ends, 2, -1) > 0 && ends[0].revents == 0) continue;
      const ssize_t some = read(number_, bytes, count);
      if (some >= 0 || (errno != EINTR && errno != EAGAIN)) return some;
    }
  }

  const int number_;
  const bool mayWait_;  // anything but a regular file
  const int stopNumber_;
};

}  // namespace

std::unique_ptr<InputStream> InputStream::Open(const std::string& path, const StopSignal& stop,
                                               int& error) {
  const bool isInput = path == "-";
  const int number =
      isInput ? STDIN_FILENO : open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
  struct stat status {};
  const bool isOpen = number >= 0 && fstat(number, &status) == 0;
  if (isOpen && !S_ISDIR(status.st_mode)) {
    return std::make_unique<PosixStream>(number, !S_ISREG(status.st_mode), stop,
                                         StateOf(stop).readEnd);
  }
  error = isOpen ? EISDIR : errno;
  if (number >= 0 && !isInput) close(number);
  return nullptr;
}

struct InterruptWatch::State {
  std::function<void()> onInterrupt;
  std::atomic<bool> isEnding{false};
  std::thread thread;
};

namespace {

constexpr int kSignals[] = {SIGINT, SIGTERM};
sem_t interrupted;

// Two calls, both allowed in a handler. What comes next meets the system's own way to end.
void OnSignal(int) {
  const int error = errno;
  for (const int number : kSignals) std::signal(number, SIG_DFL);
  sem_post(&interrupted);
  errno = error;
}

}  // namespace

InterruptWatch::InterruptWatch(std::function<void()> onInterrupt)
    : state_(std::make_unique<State>()) {
  state_->onInterrupt = std::move(onInterrupt);
  sem_init(&interrupted, 0, 0);
  state_->thread = std::thread([state = state_.get()] {
    while (sem_wait(&interrupted) != 0) {
    }
    if (!state->isEnding) state->onInterrupt();
  });
  for (const int number : kSignals)  // a shell ignores the first for what it runs beside itself
  {
    if (std::signal(number, OnSignal) == SIG_IGN) std::signal(number, SIG_IGN);
  }
}

InterruptWatch::~InterruptWatch() {
  for (const int number : kSignals) {
    if (std::signal(number, SIG_DFL) == SIG_IGN) std::signal(number, SIG_IGN);
  }
  state_->isEnding = true;
  sem_post(&interrupted);
  state_->thread.join();
}

}  // namespace velmora::capture
