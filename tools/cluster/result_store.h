/// @file
/// Where the results of jobs are kept, by job id.
#pragma once

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>

namespace velmora::cluster {

/// A store that cannot do what it was asked to; `what()` is a sentence for the user. Nothing was
/// lost: the same call may be made again later.
class StoreError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Keeps one result for each job id, the first one.
///
/// A job may be done more than once: its message is delivered again when a worker dies after it
/// stored the result and before the broker learned of it. So a repeated result changes nothing, and
/// a job is acknowledged only after its result is stored.
///
/// All operations may be called from any number of threads and processes at once. They throw
/// `StoreError` when the store is full, gone or out of reach. A store that is out of reach is
/// waited for and reconnected to for about 10 seconds within the call.
class ResultStore {
 public:
  using Visitor = std::function<void(const std::string& jobId, const std::string& jsonLine)>;

  ResultStore() = default;
  virtual ~ResultStore() = default;
  ResultStore(const ResultStore&) = delete;
  ResultStore& operator=(const ResultStore&) = delete;

  /// Keeps the result of a job, unless the job has one. Survives a power failure once it returned,
  /// whichever process stored it.
  ///
  /// @param jobId     `IsJobId`
  /// @param jsonLine  one JSON object in UTF-8 without a line end
  /// @return whether this result was kept; false if the job had one already
  /// @throws StoreError; std::invalid_argument for an id or a line of another form
  virtual bool Put(const std::string& jobId, const std::string& jsonLine) = 0;

  /// Whether the job has a result that survives a power failure.
  /// @throws StoreError; std::invalid_argument for an id of another form
  virtual bool Has(const std::string& jobId) = 0;

  /// Calls @p visitor once with each result, in no order. Results that are stored meanwhile may be
  /// missing.
  /// @throws StoreError, and what @p visitor throws
  virtual void ForEach(const Visitor& visitor) = 0;
};

/// What a store is opened for.
enum class StoreUse {
  kWrite,  ///< makes what the store lacks: folders, or the table
  kRead,   ///< makes and changes nothing: a store that is not there is an error
};

/// Opens a store.
///
/// @param url              `file:///folder`, a path, or `postgresql://host/database`; without a
///                         password
/// @param credentialsFile  holds USER:PASSWORD for the database, see `ReadCredentials`; empty for
///                         libpq's own files and variables. A file store takes none.
/// @throws StoreError; capture::UsageError for a URL or a file of credentials that cannot be used
std::unique_ptr<ResultStore> OpenResultStore(const std::string& url,
                                             const std::string& credentialsFile,
                                             StoreUse use = StoreUse::kWrite);

/// What every store asks of its callers, which may have both from anywhere.
/// @throws std::invalid_argument
void CheckJobId(const std::string& jobId);
void CheckResult(const std::string& jobId, const std::string& jsonLine);

}  // namespace velmora::cluster
