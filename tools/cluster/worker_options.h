/// @file
/// The command line of velmora-worker.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tools/cluster/queue_options.h"
#include "velmora_capture/image_file/image_file.h"

namespace velmora::cluster {

struct WorkerOptions : WithQueueOptions {
  std::string store;             ///< URL or folder of the results
  std::string storeCredentials;  ///< the name of a file
  std::string templateFile;      ///< empty for the built-in template
  int threads = 0;               ///< 0 for as many as there are processors
  int timeoutMs = 0;             ///< budget of an image; 0 for the template's
  std::int64_t maxPixels = capture::kMaxPixels;
  int idleExitSeconds = 0;  ///< ends after so long without a job; 0 for never
  std::string metricsFile;
  bool isQuiet = false;
  bool help = false;
  bool version = false;
};

/// The largest time budget of an image. The broker takes a job for lost that is in hand for half an
/// hour; those that wait in hand come after those being worked on.
inline constexpr int kMostTimeoutMs = 60'000;

/// @param arguments  without the program's name
/// @throws capture::UsageError
WorkerOptions ParseWorkerOptions(const std::vector<std::string>& arguments);

/// The text of --help.
std::string GetWorkerHelp();

}  // namespace velmora::cluster
