#include "tools/cluster/worker_options.h"

namespace velmora::cluster {
namespace {

using capture::OptionRow;
using capture::ParseNumber;
using capture::UsageError;
using O = WorkerOptions;
using V = const std::string&;

constexpr OptionRow<O> kRows[] = {
    {"", "Where the jobs come from", "", nullptr},
    kQueueRow<O>,
    kCredentialsRow<O>,
    kPrefixRow<O>,
    kCaRow<O>,
    kCertificateRow<O>,
    kKeyRow<O>,
    {"", "Where the results go", "", nullptr},
    {"--store", "URL", "a folder, file:///FOLDER or postgresql://HOST/DATABASE",
     [](O& o, V v) { o.store = v; }},
    {"--store-credentials", "FILE",
     "\nholds USER:PASSWORD for the database; for its owner's eyes only",
     [](O& o, V v) { o.storeCredentials = v; }},
    {"", "How to read", "", nullptr},
    {"--template", "FILE", "what to run; jobs for another template are dead letters",
     [](O& o, V v) { o.templateFile = v; }},
    {"--threads", "N", "threads of the pool (as many as there are processors)",
     [](O& o, V v) { o.threads = ParseNumber("--threads", v, 1, 256); }},
    {"--timeout", "MS", "time budget of an image, at most 60000 (the template's)",
     [](O& o, V v) { o.timeoutMs = ParseNumber("--timeout", v, 1, kMostTimeoutMs); }},
    {"--max-pixels", "N", "larger pictures are not read (268435456)",
     [](O& o, V v) { o.maxPixels = ParseNumber("--max-pixels", v, 1, 999'999'999); }},
    {"", "How to run", "", nullptr},
    {"--idle-exit", "SECONDS", "ends when there was no job for so long",
     [](O& o, V v) { o.idleExitSeconds = ParseNumber("--idle-exit", v, 1, 999'999); }},
    {"--metrics", "FILE", "counters for Prometheus, written anew every ten seconds",
     [](O& o, V v) { o.metricsFile = v; }},
    {"--quiet", "", "errors only, no line each minute", [](O& o, V) { o.isQuiet = true; }},
    {"--help", "", "this text, also for -h", [](O& o, V) { o.help = true; }},
    {"--version", "", "the version", [](O& o, V) { o.version = true; }},
};

}  // namespace

WorkerOptions ParseWorkerOptions(const std::vector<std::string>& arguments) {
  WorkerOptions options;
  const std::vector<std::string> inputs = ParseTable(kRows, arguments, options);
  if (options.help || options.version) return options;
  if (!inputs.empty()) throw UsageError("a worker takes no files, not '" + inputs[0] + "'");
  if (options.store.empty()) throw UsageError("there is no place for results: --store names it");
  FinishQueueOptions(options);
  return options;
}

std::string GetWorkerHelp() {
  return "usage: velmora-worker --store URL [OPTION]...\n"
         "Reads the codes in the pictures that a message broker's jobs name.\n" +
         DescribeTable(kRows) +
         "\nSIGTERM and Ctrl-C: takes no more jobs, ends those in hand, and then itself.\n"
         "Exit status: 0 ended as asked, 1 something failed (see standard error), 2 bad usage.\n";
}

}  // namespace velmora::cluster
