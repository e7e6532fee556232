/// @file
/// What the program wants from the operating system; a posix and a windows source.
///
/// Names of files are UTF-8 everywhere in the program; on systems whose names are bytes, those
/// bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace velmora::capture {

enum class StandardStream { kOutput, kError };

/// Whether the stream is a terminal.
bool IsTerminal(StandardStream stream);

/// Columns of the terminal on standard error; 80 if the system does not tell.
int GetTerminalWidth();

/// The arguments of the program without its name, in UTF-8.
std::vector<std::string> GetArguments(int argc, char** argv);

/// A name that standard input gave, in UTF-8.
std::string ToUtf8(const std::string& name);

/// The name in the encoding of the C functions, for the log.
std::string ToNarrow(const std::string& name);

/// Makes writing to a closed pipe an error of the write, keeps the numbers of standard streams that
/// are closed from becoming those of files, and line ends as they are written.
void PrepareStandardStreams();

/// Runs a program found on the PATH and waits for it.
/// @return its exit status; -1 if it could not be started or did not end by itself
int RunProgram(const std::vector<std::string>& arguments);

/// What a directory holds under a name.
struct DirectoryEntry {
  enum Kind { kFile, kDirectory, kOther };  // links are what they lead to; pipes and devices: other

  std::string name;  ///< without the directory
  Kind kind = kOther;
  std::int64_t size = 0;   ///< of a file, in bytes
  std::int64_t time = 0;   ///< when it was written last, in units of the system
  bool isNameable = true;  ///< false if UTF-8 cannot hold the name: `name` is about it then
};

/// What is in a directory, sorted by name.
/// @param error  set to what went wrong, in words; empty if nothing did
std::vector<DirectoryEntry> ListDirectory(const std::string& directory, std::string& error);

/// A path that is the same for every name of the directory; empty if it is no directory.
std::string GetRealDirectory(const std::string& directory);

/// Lets threads that wait for bytes go on without them.
class StopSignal {
 public:
  StopSignal();
  ~StopSignal();
  StopSignal(const StopSignal&) = delete;
  StopSignal& operator=(const StopSignal&) = delete;

  /// From any thread; stays set.
  void Set();
  bool IsSet() const;
  /// Sleeps unless it is set.
  /// @return whether it is set
  bool WaitFor(int milliseconds) const;

 private:
  friend class InputStream;
  struct State;

  const std::unique_ptr<State> state_;
};

/// The bytes of a file, a pipe or standard input.
class InputStream {
 public:
  /// Never waits for a pipe's writer: the first read does.
  ///
  /// @param path   "-" is standard input
  /// @param stop   ends a read that waits; outlives the stream
  /// @param error  errno if there is no such file or it cannot be opened
  /// @return null then
  static std::unique_ptr<InputStream> Open(const std::string& path, const StopSignal& stop,
                                           int& error);
  virtual ~InputStream() = default;

  /// Waits for @p count bytes.
  /// @return fewer at the end, after an error and when it was stopped
  std::size_t Read(unsigned char* bytes, std::size_t count);
  /// errno of the read that failed; 0 if none did.
  int GetError() const { return error_; }

 protected:
  explicit InputStream(const StopSignal& stop) : stop_(stop) {}

  /// Some bytes, after a wait; 0 at the end or when stopped, -1 with errno.
  virtual std::ptrdiff_t ReadSome(unsigned char* bytes, std::size_t count) = 0;
  static const StopSignal::State& StateOf(const StopSignal& stop) { return *stop.state_; }

  const StopSignal& stop_;

 private:
  int error_ = 0;
};

/// While it lives, Ctrl-C and the system's request to end run a function, once and on a thread of
/// its own; the next one ends the process at once, whatever it is doing.
class InterruptWatch {
 public:
  explicit InterruptWatch(std::function<void()> onInterrupt);
  ~InterruptWatch();
  InterruptWatch(const InterruptWatch&) = delete;
  InterruptWatch& operator=(const InterruptWatch&) = delete;

 private:
  struct State;
  const std::unique_ptr<State> state_;
};

}  // namespace velmora::capture
