#include "tools/cluster/line_writer.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <utility>

#include "tools/capture/output_file.h"

namespace velmora::cluster {
namespace {

constexpr std::size_t kBufferBytes = 64 * 1024;

bool SyncFolderOf(const std::string& file) {
  const std::filesystem::path folder = std::filesystem::absolute(file).parent_path();
  const int descriptor = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  const bool isSynced = descriptor >= 0 && (fsync(descriptor) == 0 || errno == EINVAL);
  if (descriptor >= 0) close(descriptor);
  return isSynced;
}

}  // namespace

LineWriter::LineWriter(const std::string& file) : file_(file), newFile_(file + ".new") {
  if (file_.empty()) return;
  stream_ = std::fopen(newFile_.c_str(), "wbe");
  if (stream_ == nullptr) Fail();
}

LineWriter::~LineWriter() {
  if (stream_ == nullptr) return;
  std::fclose(stream_);
  unlink(newFile_.c_str());
}

void LineWriter::Write(const std::string& line) {
  buffer_ += line;
  buffer_ += '\n';
  if (buffer_.size() >= kBufferBytes) Flush();
}

void LineWriter::Flush() {
  if (file_.empty()) {
    capture::WriteStandardOutput(buffer_);
  } else if (std::fwrite(buffer_.data(), 1, buffer_.size(), stream_) != buffer_.size()) {
    Fail();
  }
  buffer_.clear();
}

void LineWriter::Finish() {
  Flush();
  if (file_.empty()) return;
  if (std::fflush(stream_) != 0 || fsync(fileno(stream_)) != 0) Fail();
  if (std::fclose(std::exchange(stream_, nullptr)) != 0 ||
      std::rename(newFile_.c_str(), file_.c_str()) != 0 || !SyncFolderOf(file_)) {
    Fail();
  }
}

void LineWriter::Fail() const {
  throw capture::OutputError(capture::DescribeWriteError("the output", file_));
}

}  // namespace velmora::cluster
