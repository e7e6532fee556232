/// @file
/// What a worker did, for its line each minute and for Prometheus.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>

#include "tools/cluster/job_runner.h"

namespace velmora::cluster {

/// @threadsafety one thread
struct WorkerCounters {
  std::int64_t stored = 0;
  std::int64_t withErrors = 0;  ///< of those stored
  std::int64_t known = 0;
  std::int64_t rejected = 0;
  std::int64_t codes = 0;
  std::int64_t connections = 0;
  double jobSeconds = 0;  ///< by the clock, of all jobs
  double processorSeconds = 0;
  // As they are now.
  bool isConnected = false;
  std::size_t held = 0;
  int running = 0;

  void Add(const JobOutcome& outcome, double seconds);
  std::int64_t Jobs() const { return stored + known + rejected; }
};

/// The processor time of this process.
double ProcessorSeconds();

/// "12 stored (1 with errors), 0 known, 1 rejected; 20 codes; 4.1 ms of processor time per job; 3
/// in hand", for what happened since @p before.
std::string DescribeCounters(const WorkerCounters& before, const WorkerCounters& now);

/// The text format of Prometheus.
std::string FormatMetrics(const WorkerCounters& counters);

}  // namespace velmora::cluster
