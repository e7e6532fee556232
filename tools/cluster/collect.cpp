// velmora-collect: joins what the workers stored, and what was given up, to lines of JSON.

#include <json/value.h>
#include <json/writer.h>

#include <algorithm>
#include <fstream>
#include <iostream>
#include <map>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

#include "tools/capture/output_file.h"
#include "tools/capture/program.h"
#include "tools/capture/text.h"
#include "tools/cluster/collect_options.h"
#include "tools/cluster/dead_letters.h"
#include "tools/cluster/job.h"
#include "tools/cluster/line_writer.h"
#include "tools/cluster/result_store.h"

namespace velmora::cluster {
namespace {

// The ids that lines begin with, as those of velmora-submit --list do.
std::unordered_set<std::string> ReadIds(const std::string& file) {
  std::ifstream list(file);
  std::unordered_set<std::string> ids;
  for (std::string line; std::getline(list, line);) {
    const std::string id = line.substr(0, line.find_first_of("\t\r"));
    if (!IsJobId(id)) throw std::runtime_error("'" + file + "' has a line that begins with no id");
    ids.insert(id);
  }
  if (!list.eof()) throw std::runtime_error("'" + file + "' cannot be read");
  return ids;
}

std::string CountOf(std::size_t count, const std::string& thing) {
  return std::to_string(count) + " " + thing + (count == 1 ? "" : "s");
}

class Collector {
 public:
  explicit Collector(const CollectOptions& options);

  int Run();

 private:
  void CollectResults();
  void CollectDeadLetters(DeadLetters& letters);
  void Add(const std::string& jobId, const std::string& line);
  void WriteSorted();
  bool TellMissing() const;

  const CollectOptions& options_;
  std::unordered_set<std::string> missing_;  // expected and not collected so far
  LineWriter writer_;
  std::vector<std::pair<std::string, std::string>> lines_;  // id and line, if they are sorted
};

Collector::Collector(const CollectOptions& options)
    : options_(options),
      missing_(options.expected.empty() ? std::unordered_set<std::string>()
                                        : ReadIds(options.expected)),
      writer_(options.countsOnly ? std::string() : options.output) {}

int Collector::Run() {
  std::unique_ptr<DeadLetters> letters;
  if (!options_.store.empty()) CollectResults();
  if (options_.dead) {
    letters = OpenDeadLetters(options_.queue);
    CollectDeadLetters(*letters);
  }
  WriteSorted();
  writer_.Finish();
  if (options_.take) letters->Remove();
  return TellMissing() ? capture::kSomeFailed : capture::kAllRead;
}

void Collector::CollectResults() {
  std::size_t count = 0;
  OpenResultStore(options_.store, options_.storeCredentials, StoreUse::kRead)
      ->ForEach([&](const std::string& jobId, const std::string& line) {
        Add(jobId, line);
        ++count;
      });
  std::cerr << CountOf(count, "result") << "\n";
}

// A job that was submitted twice may have died twice: one line for each id.
void Collector::CollectDeadLetters(DeadLetters& letters) {
  std::map<std::string, Json::Value> lines;
  std::size_t count = 0;
  letters.ForEach([&](const DeadLetter& letter) {
    ++count;
    Json::Value value;
    std::string jobId;
    try {
      const Job job = ParseJob(letter.message);
      jobId = job.id;
      value["id"] = job.id;
      value["image"] = job.image;
      value["priority"] = job.priority;
    } catch (const JobError&) {
      value["message"] = capture::Printable(letter.message);
    }
    value["dead"] = true;
    value["error"] = letter.error;
    // What is no job has no id that would make it one with another.
    lines[jobId.empty() ? " " + std::to_string(count) : jobId] = value;
  });
  Json::StreamWriterBuilder builder;
  builder["indentation"] = "";
  for (const auto& [jobId, value] : lines) Add(jobId, Json::writeString(builder, value));
  std::cerr << CountOf(count, "dead letter") << " of " << CountOf(lines.size(), "job") << "\n";
}

void Collector::Add(const std::string& jobId, const std::string& line) {
  missing_.erase(jobId);
  if (options_.countsOnly) return;
  if (options_.isSorted) {
    lines_.emplace_back(jobId, line);
  } else {
    writer_.Write(line);
  }
}

void Collector::WriteSorted() {
  std::stable_sort(lines_.begin(), lines_.end(),
                   [](const auto& a, const auto& b) { return a.first < b.first; });
  for (const auto& [jobId, line] : lines_) writer_.Write(line);
}

// @return whether there are any
bool Collector::TellMissing() const {
  if (options_.expected.empty()) return false;
  std::vector<std::string> ids(missing_.begin(), missing_.end());
  std::sort(ids.begin(), ids.end());
  for (const std::string& id : ids) std::cerr << "missing: " << id << "\n";
  std::cerr << ids.size() << " missing\n";
  return !ids.empty();
}

int Run(const std::vector<std::string>& arguments) {
  const CollectOptions options = ParseCollectOptions(arguments);
  if (options.help) {
    capture::WriteStandardOutput(GetCollectHelp());
    return capture::kAllRead;
  }
  if (options.version) {
    capture::WriteVersion("velmora-collect");
    return capture::kAllRead;
  }
  return Collector(options).Run();
}

}  // namespace
}  // namespace velmora::cluster

int main(int argc, char** argv) {
  return velmora::capture::RunMain("velmora-collect", argc, argv, velmora::cluster::Run);
}
