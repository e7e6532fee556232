/// @file
/// What the program wants from the operating system; a posix and a windows source.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace velmora::capture {

enum class StandardStream { kOutput, kError };

/// Whether somebody watches the stream on a terminal.
bool IsTerminal(StandardStream stream);

/// Stops the system from turning line ends on standard output into its own.
void KeepLineEnds();

/// A file's name, which the C functions take in the system's own encoding, in UTF-8.
std::string ToUtf8(const std::string& name);

/// Processor time that the calling thread has used, in nanoseconds since some moment; the time of the
/// clock where the system counts processor time in ticks only.
std::int64_t ThreadNanoseconds();

/// Runs a program found on the PATH and waits for it.
/// @return its exit status; -1 if it could not be started or did not end by itself
int RunProgram(const std::vector<std::string>& arguments);

}  // namespace velmora::capture
