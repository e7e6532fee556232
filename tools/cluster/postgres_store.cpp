#include "tools/cluster/postgres_store.h"

#include <libpq-fe.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <thread>
#include <utility>
#include <vector>

#include "tools/capture/option_table.h"
#include "tools/cluster/job.h"
#include "tools/cluster/secret_file.h"
#include "velmora/platform/mutex.h"

namespace velmora::cluster {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds kPatience(10);  // as result_store.h promises
constexpr std::chrono::milliseconds kFirstPause(100);
constexpr std::chrono::milliseconds kLongestPause(2000);

struct EndConnection {
  void operator()(PGconn* connection) const { PQfinish(connection); }
};
struct ClearResult {
  void operator()(PGresult* result) const { PQclear(result); }
};
using Connection = std::unique_ptr<PGconn, EndConnection>;
using Answer = std::unique_ptr<PGresult, ClearResult>;

// The server is out of reach, or ends: another connection may help.
class ConnectionError : public StoreError {
 public:
  using StoreError::StoreError;
};

// What the library says, in one line.
std::string OneLine(std::string text) {
  while (!text.empty() && text.back() == '\n') text.pop_back();
  std::replace(text.begin(), text.end(), '\n', ' ');
  return text;
}

std::string StateOf(const PGresult* answer) {
  const char* state = PQresultErrorField(answer, PG_DIAG_SQLSTATE);
  return state != nullptr ? state : "";
}

[[noreturn]] void Fail(PGconn* connection, const PGresult* answer) {
  const std::string what = "the database: " + OneLine(PQerrorMessage(connection));
  const std::string state = StateOf(answer);
  if (state.compare(0, 2, "22") == 0) throw std::invalid_argument(what);  // not for this encoding
  // Class 08 is about connections, 57P about a server that ends or begins.
  if (PQstatus(connection) == CONNECTION_BAD || state.compare(0, 2, "08") == 0 ||
      state.compare(0, 3, "57P") == 0) {
    throw ConnectionError(what);
  }
  throw StoreError(what);
}

Answer Execute(PGconn* connection, const char* statement, const std::vector<const char*>& values) {
  Answer answer(PQexecParams(connection, statement, static_cast<int>(values.size()), nullptr,
                             values.data(), nullptr, nullptr, 0));
  const ExecStatusType status = PQresultStatus(answer.get());
  if (status != PGRES_COMMAND_OK && status != PGRES_TUPLES_OK) Fail(connection, answer.get());
  return answer;
}

class PostgresStore : public ResultStore {
 public:
  PostgresStore(const std::string& url, const std::string& credentialsFile, StoreUse use);

  bool Put(const std::string& jobId, const std::string& jsonLine) override;
  bool Has(const std::string& jobId) override;
  void ForEach(const Visitor& visitor) override;

 private:
  Connection Connect() const;
  Connection Take() VELMORA_EXCLUDES(mutex_);
  void GiveBack(Connection connection) VELMORA_EXCLUDES(mutex_);
  bool HasTable();
  void MakeTable();
  // Executes a statement that may be repeated, on one connection after the other while the server
  // is out of reach and the patience lasts.
  Answer ExecutePatiently(const char* statement, const std::vector<const char*>& values);

  const std::string url_;
  Credentials credentials_;
  Mutex mutex_;
  std::vector<Connection> idle_ VELMORA_GUARDED_BY(mutex_);
};

// What must not be on a command line, where every user of the machine sees it.
void RefusePassword(const std::string& url) {
  char* message = nullptr;
  PQconninfoOption* options = PQconninfoParse(url.c_str(), &message);
  if (options == nullptr) {
    const std::string text = message != nullptr ? OneLine(message) : "out of memory";
    PQfreemem(message);
    throw capture::UsageError("the URL of the database: " + text);
  }
  bool hasPassword = false;
  for (const PQconninfoOption* option = options; option->keyword != nullptr; ++option) {
    if (option->dispchar[0] == '*' && option->val != nullptr) hasPassword = true;
  }
  PQconninfoFree(options);
  if (hasPassword) {
    throw capture::UsageError("the URL of the database has a password in it: put it into a file");
  }
}

PostgresStore::PostgresStore(const std::string& url, const std::string& credentialsFile,
                             StoreUse use)
    : url_(url) {
  RefusePassword(url_);
  if (!credentialsFile.empty()) credentials_ = ReadCredentials(credentialsFile);
  // A user who may not make tables can use one that is there.
  if (HasTable()) return;
  if (use == StoreUse::kRead) throw StoreError("the database has no results");
  MakeTable();
}

Connection PostgresStore::Connect() const {
  // The URL, which comes later, has the last word. A host that vanishes is noticed in 10 seconds.
  std::vector<const char*> keywords = {"connect_timeout", "tcp_user_timeout", "application_name",
                                       "client_encoding", "dbname"};
  std::vector<const char*> values = {"5", "10000", "velmora", "UTF8", url_.c_str()};
  if (!credentials_.user.empty()) {
    keywords.insert(keywords.end(), {"user", "password"});
    values.insert(values.end(), {credentials_.user.c_str(), credentials_.password.c_str()});
  }
  keywords.push_back(nullptr);
  values.push_back(nullptr);
  Connection connection(PQconnectdbParams(keywords.data(), values.data(), 1));
  if (PQstatus(connection.get()) != CONNECTION_OK) {
    throw ConnectionError("the database: " + OneLine(PQerrorMessage(connection.get())));
  }
  PQsetNoticeProcessor(
      connection.get(), [](void*, const char*) {}, nullptr);
  return connection;
}

Connection PostgresStore::Take() {
  {
    const MutexLock lock(mutex_);
    if (!idle_.empty()) {
      Connection connection = std::move(idle_.back());
      idle_.pop_back();
      return connection;
    }
  }
  return Connect();
}

void PostgresStore::GiveBack(Connection connection) {
  const MutexLock lock(mutex_);
  idle_.push_back(std::move(connection));
}

Answer PostgresStore::ExecutePatiently(const char* statement,
                                       const std::vector<const char*>& values) {
  const Clock::time_point end = Clock::now() + kPatience;
  for (std::chrono::milliseconds pause = kFirstPause;; pause = std::min(2 * pause, kLongestPause)) {
    try {
      Connection connection = Take();
      Answer answer = Execute(connection.get(), statement, values);
      GiveBack(std::move(connection));
      return answer;
    } catch (const ConnectionError&) {
      if (Clock::now() + pause > end) throw;
    }
    {
      // The others are from before the server went away, too.
      const MutexLock lock(mutex_);
      idle_.clear();
    }
    std::this_thread::sleep_for(pause);
  }
}

bool PostgresStore::HasTable() {
  const Answer found = ExecutePatiently("SELECT to_regclass('velmora_results') IS NOT NULL", {});
  return PQgetvalue(found.get(), 0, 0)[0] == 't';
}

void PostgresStore::MakeTable() {
  // The lock: two that make the table at once would fail over its type's name.
  ExecutePatiently(
      "DO $$ BEGIN PERFORM pg_advisory_xact_lock(hashtext('velmora_results'));"
      " CREATE TABLE IF NOT EXISTS velmora_results"
      " (job_id text COLLATE \"C\" PRIMARY KEY, line text NOT NULL,"
      " stored_at timestamptz NOT NULL DEFAULT now()); END $$",
      {});
}

bool PostgresStore::Put(const std::string& jobId, const std::string& jsonLine) {
  CheckResult(jobId, jsonLine);
  // Repeated after a lost connection, it may find its own row. That is a result of this job.
  const Answer answer = ExecutePatiently(
      "INSERT INTO velmora_results (job_id, line) VALUES ($1, $2) ON CONFLICT DO NOTHING",
      {jobId.c_str(), jsonLine.c_str()});
  return std::string(PQcmdTuples(answer.get())) == "1";
}

bool PostgresStore::Has(const std::string& jobId) {
  CheckJobId(jobId);
  const Answer answer =
      ExecutePatiently("SELECT 1 FROM velmora_results WHERE job_id = $1", {jobId.c_str()});
  return PQntuples(answer.get()) == 1;
}

void PostgresStore::ForEach(const Visitor& visitor) {
  // A connection of its own, which ends whatever the visitor throws. Row by row: the table may be
  // larger than memory.
  const Connection connection = Connect();
  if (PQsendQuery(connection.get(), "SELECT job_id, line FROM velmora_results") != 1 ||
      PQsetSingleRowMode(connection.get()) != 1) {
    Fail(connection.get(), nullptr);
  }
  while (const Answer answer{PQgetResult(connection.get())}) {
    const ExecStatusType status = PQresultStatus(answer.get());
    if (status == PGRES_TUPLES_OK) continue;
    if (status != PGRES_SINGLE_TUPLE) Fail(connection.get(), answer.get());
    visitor(PQgetvalue(answer.get(), 0, 0), PQgetvalue(answer.get(), 0, 1));
  }
}

}  // namespace

std::unique_ptr<ResultStore> OpenPostgresStore(const std::string& url,
                                               const std::string& credentialsFile, StoreUse use) {
  return std::make_unique<PostgresStore>(url, credentialsFile, use);
}

}  // namespace velmora::cluster
