#include "tools/cluster/result_store.h"

#include <algorithm>

#include "tools/capture/option_table.h"
#include "tools/cluster/file_store.h"
#include "tools/cluster/job.h"
#include "tools/cluster/postgres_store.h"

namespace velmora::cluster {
namespace {

bool StartsWith(const std::string& text, const char* start) {
  return text.rfind(start, 0) == 0;
}

}  // namespace

void CheckJobId(const std::string& jobId) {
  if (!IsJobId(jobId)) throw std::invalid_argument("'" + jobId + "' is no id of a job");
}

void CheckResult(const std::string& jobId, const std::string& jsonLine) {
  CheckJobId(jobId);
  const bool isOneLine = std::none_of(jsonLine.begin(), jsonLine.end(),
                                      [](char c) { return static_cast<unsigned char>(c) < 0x20; });
  if (jsonLine.empty() || jsonLine.front() != '{' || jsonLine.back() != '}' || !isOneLine) {
    throw std::invalid_argument("the result of job " + jobId + " is no line of JSON");
  }
}

std::unique_ptr<ResultStore> OpenResultStore(const std::string& url,
                                             const std::string& credentialsFile, StoreUse use) {
  if (StartsWith(url, "postgresql://") || StartsWith(url, "postgres://")) {
    return OpenPostgresStore(url, credentialsFile, use);
  }
  try {
    if (StartsWith(url, "file:") && !StartsWith(url, "file://")) throw JobError("half a URL");
    return OpenFileStore(PathOfImage(url), use);
  } catch (const JobError&) {
    throw capture::UsageError("there is no store '" + url +
                              "': use file:///folder or postgresql://...");
  }
}

}  // namespace velmora::cluster
