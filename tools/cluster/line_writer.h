/// @file
/// Where velmora-collect writes its lines.
#pragma once

#include <cstdio>
#include <memory>
#include <string>

namespace velmora::cluster {

/// Lines to standard output, or to a file that appears only when it is complete.
///
/// The file is written as FILE.new and takes the place of an older FILE in `Finish`; without that
/// it is removed.
class LineWriter {
 public:
  /// @param file  empty for standard output
  /// @throws capture::OutputError
  explicit LineWriter(const std::string& file);
  ~LineWriter();
  LineWriter(const LineWriter&) = delete;
  LineWriter& operator=(const LineWriter&) = delete;

  /// @throws capture::OutputError
  void Write(const std::string& line);
  /// The last call. A file survives a power failure afterwards.
  /// @throws capture::OutputError
  void Finish();

 private:
  [[noreturn]] void Fail() const;
  void Flush();

  const std::string file_;
  const std::string newFile_;
  std::FILE* stream_ = nullptr;  // of newFile_
  std::string buffer_;
};

}  // namespace velmora::cluster
