/// @file
/// Doing a job: from its picture to its stored result.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "tools/cluster/job.h"
#include "tools/cluster/result_store.h"
#include "velmora/platform/mutex.h"
#include "velmora_capture/capture.h"

namespace velmora::cluster {

/// What may be better at the next try, as a network file system that does not answer.
class TryAgain : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// What became of a job.
struct JobOutcome {
  enum Kind {
    kStored,     ///< its result is safe
    kKnown,      ///< its result was safe before
    kImpossible  ///< `error` says why; it is a dead letter
  };
  Kind kind = kStored;
  std::string error;
  bool hasErrors = false;  ///< in the result
  int codes = 0;           ///< in the result
};

/// How a `JobRunner` works.
struct RunnerSettings {
  std::string templateHash;  ///< jobs for another template are impossible
  std::int64_t maxPixels = 0;
  int imagesAtOnce = 1;  ///< further jobs wait before they read theirs, so that many may be stored
};

/// Does jobs, one for each thread that asks for it.
///
/// @threadsafety any number of threads
class JobRunner {
 public:
  /// Capture and store are borrowed.
  JobRunner(capture::Capture& capture, ResultStore& store, RunnerSettings settings)
      : capture_(capture),
        store_(store),
        settings_(std::move(settings)),
        freeSlots_(settings_.imagesAtOnce) {}

  /// Reads the picture and stores what is in it, unless the job has a result. A picture that cannot
  /// be decoded is a result with an error, as velmora-capture shows it.
  /// @throws TryAgain, StoreError
  JobOutcome Do(const Job& job);

 private:
  class ImageSlot;

  std::string Read(const Job& job, JobOutcome& outcome);

  capture::Capture& capture_;
  ResultStore& store_;
  const RunnerSettings settings_;
  Mutex mutex_;
  std::condition_variable hasSlot_;
  int freeSlots_ VELMORA_GUARDED_BY(mutex_);
};

/// The bytes of a file.
/// @throws JobError if there is no such file, or none of bytes; TryAgain
std::vector<unsigned char> ReadImageBytes(const std::string& path, std::int64_t maxBytes);

}  // namespace velmora::cluster
