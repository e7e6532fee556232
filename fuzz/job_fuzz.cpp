// Any message is a job that survives the way back, or a sentence says why not; and what names a
// file in a message leads back to that file.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "tools/cluster/job.h"

namespace {

using namespace velmora::cluster;

void ReadMessage(const std::string& message) {
  Job job;
  try {
    job = ParseJob(message);
  } catch (const JobError& error) {
    if (*error.what() == '\0') std::abort();
    return;
  }
  if (!IsJobId(job.id) || !IsJobId(DeriveJobId(job)) || job.deadline < 0) std::abort();
  if (job.priority < 0 || job.priority >= kPriorities) std::abort();
  const std::string formatted = FormatJob(job);
  if (formatted.size() <= kMaxJobBytes && FormatJob(ParseJob(formatted)) != formatted) std::abort();
}

void NameFile(const std::string& path) {
  if (path.empty() || path.find('\0') != path.npos) return;
  const std::string absolute = std::filesystem::absolute(path).lexically_normal().native();
  if (PathOfImage(ImageOfPath(path)) != absolute) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  ReadMessage(text);
  NameFile(text);
  return 0;
}
