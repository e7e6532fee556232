/// @file
/// What the program reads and writes as a whole, and what it says when that fails.
#pragma once

#include <filesystem>
#include <functional>
#include <ostream>
#include <stdexcept>
#include <string>

namespace velmora::capture {

/// Something that the user asked for cannot be written; `what()` is a sentence for the user.
class OutputError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The path of a name in UTF-8.
std::filesystem::path ToPath(const std::string& name);

/// "the trace 'x.json' cannot be written: No space left on device", with the reason of errno.
std::string DescribeWriteError(const std::string& purpose, const std::string& file);

/// The bytes of a file that the user named.
/// @param purpose  for the sentence: "the template"
/// @throws UsageError
std::string ReadTextFile(const std::string& file, const std::string& purpose);

/// Makes a file of what @p write writes.
/// @param purpose  for the sentence: "the trace"
/// @throws OutputError
void WriteFile(const std::string& file, const std::string& purpose,
               const std::function<void(std::ostream&)>& write);

/// Writes to standard output and flushes it.
/// @throws OutputError
void WriteStandardOutput(const std::string& text);

}  // namespace velmora::capture
