/// @file
/// The jobs that the broker or a worker gave up.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>

#include "tools/cluster/job_queue.h"

namespace velmora::cluster {

/// A message of the dead-letter queue.
struct DeadLetter {
  std::string message;  ///< as it was published: a job, or what was taken for one
  std::string error;    ///< a sentence: the worker's, or what the broker says
};

/// Looks through the dead-letter queue. What is seen stays in the queue unless it is removed;
/// workers and brokers may add to it meanwhile.
///
/// @threadsafety one thread, within the broker's time for a heartbeat between two calls
class DeadLetters {
 public:
  using Visitor = std::function<void(const DeadLetter&)>;

  DeadLetters() = default;
  virtual ~DeadLetters() = default;
  DeadLetters(const DeadLetters&) = delete;
  DeadLetters& operator=(const DeadLetters&) = delete;

  /// Calls @p visitor with each letter, the oldest first.
  /// @throws QueueError, and what @p visitor throws
  virtual void ForEach(const Visitor& visitor) = 0;

  /// Removes the letters that were visited from the queue.
  /// @throws QueueError
  virtual void Remove() = 0;
};

/// Connects.
/// @throws QueueError; capture::UsageError for a URL that cannot be understood
std::unique_ptr<DeadLetters> OpenDeadLetters(const QueueOptions& options);

}  // namespace velmora::cluster
