#include "tools/cluster/job_runner.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <string_view>
#include <system_error>

#include "tools/capture/result_json.h"
#include "velmora_capture/image_file/image_file.h"

namespace velmora::cluster {

using namespace capture;

namespace {

// Closes itself.
class Descriptor {
 public:
  explicit Descriptor(int number) : number_(number) {}
  ~Descriptor() {
    if (number_ >= 0) close(number_);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  int Get() const { return number_; }

 private:
  const int number_;
};

// Some errors are about the name, and stay; others are about the way to the file.
[[noreturn]] void ThrowReadError(const std::string& path, int error) {
  const std::string sentence =
      "the file '" + path + "' cannot be read: " + std::generic_category().message(error);
  constexpr int kLasting[] = {ENOENT, ENOTDIR, EACCES, EPERM, ELOOP, ENAMETOOLONG, EISDIR, ENXIO};
  if (std::find(std::begin(kLasting), std::end(kLasting), error) != std::end(kLasting)) {
    throw JobError(sentence);
  }
  throw TryAgain(sentence);
}

std::int64_t NowMs() {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  return std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
}

}  // namespace

std::vector<unsigned char> ReadImageBytes(const std::string& path, std::int64_t maxBytes) {
  // Never waits for the writer of a pipe.
  const Descriptor file(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  struct stat status {};
  if (file.Get() < 0 || fstat(file.Get(), &status) != 0) ThrowReadError(path, errno);
  if (!S_ISREG(status.st_mode)) throw JobError("'" + path + "' is no file");
  if (status.st_size > maxBytes) {
    throw JobError("the file '" + path + "' has " + std::to_string(status.st_size) +
                   " bytes, too many for a picture of the pixels allowed");
  }
  std::vector<unsigned char> bytes(static_cast<std::size_t>(status.st_size));
  std::size_t done = 0;
  while (done < bytes.size()) {
    const ssize_t some = read(file.Get(), &bytes[done], bytes.size() - done);
    if (some < 0 && errno != EINTR) ThrowReadError(path, errno);
    if (some == 0) break;
    done += static_cast<std::size_t>(std::max<ssize_t>(some, 0));
  }
  bytes.resize(done);
  return bytes;
}

// Held while an image is in memory.
class JobRunner::ImageSlot {
 public:
  explicit ImageSlot(JobRunner& runner) : runner_(runner) {
    WaitingLock lock(runner_.mutex_);
    runner_.hasSlot_.wait(
        lock.Native(), [&]() VELMORA_REQUIRES(runner_.mutex_) { return runner_.freeSlots_ > 0; });
    --runner_.freeSlots_;
  }
  ~ImageSlot() {
    {
      const MutexLock lock(runner_.mutex_);
      ++runner_.freeSlots_;
    }
    runner_.hasSlot_.notify_one();
  }
  ImageSlot(const ImageSlot&) = delete;
  ImageSlot& operator=(const ImageSlot&) = delete;

 private:
  JobRunner& runner_;
};

JobOutcome JobRunner::Do(const Job& job) {
  JobOutcome outcome;
  try {
    // First: what is stored is done, also past its deadline.
    if (store_.Has(job.id)) {
      outcome.kind = JobOutcome::kKnown;
      return outcome;
    }
    if (job.templateHash != settings_.templateHash) {
      throw JobError("the job is for the template '" + job.templateName + "' (" + job.templateHash +
                     "), which this worker does not run");
    }
    if (job.deadline != 0 && NowMs() > job.deadline) {
      throw JobError("the job was " + std::to_string((NowMs() - job.deadline) / 1000) +
                     " s past its deadline");
    }
    const std::string line = Read(job, outcome);
    store_.Put(job.id, line);
  } catch (const JobError& error) {
    outcome.kind = JobOutcome::kImpossible;
    outcome.error = error.what();
  }
  return outcome;
}

std::string JobRunner::Read(const Job& job, JobOutcome& outcome) {
  const ImageSlot slot(*this);
  // Text formats spend up to twelve bytes on a pixel; what is not pixels gets a MiB.
  const std::vector<unsigned char> bytes =
      ReadImageBytes(PathOfImage(job.image), 12 * settings_.maxPixels + (std::int64_t{1} << 20));
  const std::string hash = Sha256({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
  if (hash != job.sha256) {
    throw JobError("the file '" + job.image + "' is not what was submitted: its SHA-256 is " +
                   hash);
  }
  const LoadedImage loaded =
      DecodeImage(bytes.data(), bytes.size(), basic_structures::CFileImageTag(nullptr, 0, 0),
                  settings_.maxPixels);
  if (loaded.image == nullptr) {
    outcome.hasErrors = true;
    return FormatJsonLine(CaptureError{loaded.code, loaded.reason, {}, {}}, job.image, job.id);
  }
  const NxRef<CaptureResult> result = capture_.Read(*loaded.image);
  outcome.hasErrors = !result->GetErrors().empty();
  outcome.codes = result->GetCodeCount();
  return FormatJsonLine(*result, job.image, job.id);
}

}  // namespace velmora::cluster
