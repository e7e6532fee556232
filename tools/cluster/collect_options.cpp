#include "tools/cluster/collect_options.h"

namespace velmora::cluster {
namespace {

using capture::UsageError;
using O = CollectOptions;
using V = const std::string&;

constexpr capture::OptionRow<O> kRows[] = {
    {"", "What to collect", "", nullptr},
    {"--store", "URL", "a folder, file:///FOLDER or postgresql://USER@HOST/DATABASE",
     [](O& o, V v) { o.store = v; }},
    {"--store-credentials", "FILE",
     "\nholds USER:PASSWORD for the database; for its owner's eyes only",
     [](O& o, V v) { o.storeCredentials = v; }},
    {"--dead", "", "the dead letters of the queue, each with its error",
     [](O& o, V) { o.dead = true; }},
    {"--take", "", "removes them from the queue once the output is on the disk",
     [](O& o, V) { o.take = true; }},
    {"", "What to write", "", nullptr},
    {"--output", "FILE", "where the lines go, all or none (standard output)",
     [](O& o, V v) { o.output = v; }},
    {"--sort", "", "in the order of the ids; holds all lines in memory",
     [](O& o, V) { o.isSorted = true; }},
    {"--count", "", "no lines, only how many there are", [](O& o, V) { o.countsOnly = true; }},
    {"--expect", "LIST", "names every id of the list that was not collected",
     [](O& o, V v) { o.expected = v; }},
    {"", "Where the queue is", "", nullptr},
    kQueueRow<O>,
    kCredentialsRow<O>,
    kPrefixRow<O>,
    kCaRow<O>,
    kCertificateRow<O>,
    kKeyRow<O>,
    {"", "Help", "", nullptr},
    {"--help", "", "this text, also for -h", [](O& o, V) { o.help = true; }},
    {"--version", "", "the version", [](O& o, V) { o.version = true; }},
};

void CheckTogether(const O& o) {
  if (o.store.empty() && !o.dead) {
    throw UsageError("there is nothing to collect: --store names results, --dead the letters");
  }
  if (o.store.empty() && !o.storeCredentials.empty()) {
    throw UsageError("--store-credentials belongs to --store");
  }
  if (o.take && (!o.dead || o.output.empty() || o.countsOnly)) {
    throw UsageError("--take wants --dead and an --output to write the letters to");
  }
}

}  // namespace

CollectOptions ParseCollectOptions(const std::vector<std::string>& arguments) {
  CollectOptions options;
  const std::vector<std::string> others = capture::ParseTable(kRows, arguments, options);
  if (options.help || options.version) return options;
  if (!others.empty()) throw UsageError("'" + others[0] + "' is no option");
  CheckTogether(options);
  if (options.dead) FinishQueueOptions(options);
  return options;
}

std::string GetCollectHelp() {
  return "usage: velmora-collect [OPTION]...\n"
         "Joins the results of jobs, and the jobs that were given up, to lines of JSON.\n" +
         capture::DescribeTable(kRows) +
         "\nExit status: 0 everything was collected, 1 an id of --expect is missing or something\n"
         "could not be read or written (see standard error), 2 bad usage.\n";
}

}  // namespace velmora::cluster
