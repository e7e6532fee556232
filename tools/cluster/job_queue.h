/// @file
/// Where jobs wait: what the programs want from a message broker. Another broker is another source.
#pragma once

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace velmora::cluster {

struct QueueOptions {
  std::string url = "amqp://127.0.0.1:5672/";  ///< "amqp://host:port/vhost", or amqps
  std::string user = "guest";
  std::string password = "guest";
  std::string prefix = "velmora.jobs";  ///< what the names of the queues begin with
  int prefetch = 0;                     ///< jobs of each queue that may be in hand; 0 to take none
  std::string caFile;                   ///< of amqps: who signed the broker's certificate
  std::string certificate;              ///< of amqps: the client's own, with its key, or empty
  std::string key;
};

/// The connection is lost or was never made, or the broker refuses something.
class QueueError : public std::runtime_error {
 public:
  /// @param isFinal  whether the next try ends the same: a wrong password, another queue of
  ///                 this name
  explicit QueueError(const std::string& sentence, bool isFinal = false)
      : std::runtime_error(sentence), isFinal_(isFinal) {}
  bool IsFinal() const { return isFinal_; }

 private:
  bool isFinal_;
};

/// What came from the broker.
struct QueueEvent {
  enum Kind {
    kJob,        ///< a message to work on, or one that was not accepted the last time
    kConfirmed,  ///< a message that was published is safe
    kRefused,    ///< a message that was published is not taken: the queue is full
    kBuried,     ///< a job that was rejected is safe among the dead letters
    kBlocked,    ///< the broker is short of memory or disk: publish no more
    kUnblocked,
  };
  Kind kind;
  std::uint64_t number =
      0;                ///< of the delivery, the one rejected, or the number that `Publish` got
  std::string message;  ///< of a job
  int priority = 0;     ///< of a job: which queue it was in
  int failures = 0;     ///< of a job: how often it came back from a worker that died
};

/// A queue per priority, one for suspects and one for dead letters, all of which outlive a restart
/// of the broker.
///
/// A job that is neither accepted nor rejected when the connection ends comes back, to any worker;
/// one that did so too often is moved to the dead letters by the broker itself. After a
/// `QueueError` everything published but not confirmed is to be published once more, and what is
/// known of deliveries is void; only `Connect` is of use then.
///
/// @threadsafety one thread, which must call `Poll` at least every few seconds: nothing goes on in
///               between, heartbeats included
class JobQueue {
 public:
  JobQueue() = default;
  JobQueue(const JobQueue&) = delete;
  JobQueue& operator=(const JobQueue&) = delete;
  virtual ~JobQueue() = default;

  /// Connects, makes the queues unless they are there, and takes jobs if `prefetch` says so. What
  /// was connected before is closed first.
  /// @throws QueueError
  virtual void Connect() = 0;

  /// Sends a job; an event tells with @p number what became of it.
  /// @throws QueueError
  virtual void Publish(const std::string& message, int priority, std::uint64_t number) = 0;

  /// Waits for events, keeping the connection alive.
  /// @param wakeFd  ends the wait when it is readable; -1 for none
  /// @throws QueueError
  virtual std::vector<QueueEvent> Poll(int wakeFd, int timeoutMs) = 0;

  /// The job is done and its result safe. Deliveries of earlier connections are ignored.
  /// @throws QueueError
  virtual void Accept(std::uint64_t delivery) = 0;

  /// Moves the job to the dead letters together with what is wrong with it. It is gone from its
  /// queue once it is safe there. Deliveries of earlier connections are ignored.
  /// @throws QueueError
  virtual void Reject(std::uint64_t delivery, const std::string& error) = 0;

  /// Takes no more jobs. Those in hand are still to be accepted or rejected.
  /// @throws QueueError
  virtual void StopDelivery() = 0;
};

/// Nothing is connected yet.
/// @throws capture::UsageError for a URL that cannot be understood
std::unique_ptr<JobQueue> OpenJobQueue(const QueueOptions& options);

}  // namespace velmora::cluster
