#include "tools/cluster/submit_options.h"

#include "tools/cluster/job.h"

namespace velmora::cluster {
namespace {

using capture::OptionRow;
using capture::ParseNumber;
using capture::UsageError;
using O = SubmitOptions;
using V = const std::string&;

constexpr OptionRow<O> kRows[] = {
    {"", "What to submit", "", nullptr},
    {"", "FILE", "a picture; workers find it under the same name", nullptr},
    {"", "DIRECTORY", "every picture in it and below it", nullptr},
    {"", "-", "the files named on standard input, one per line", nullptr},
    {"-0", "", "names on standard input end in NUL, as find -print0 writes them",
     [](O& o, V) { o.endsNamesWithNul = true; }},
    {"--template", "FILE", "what the workers run (the template that is built in)",
     [](O& o, V v) { o.templateFile = v; }},
    {"--priority", "N", "0 goes first, 2 last (1)",
     [](O& o, V v) { o.priority = ParseNumber("--priority", v, 0, kPriorities - 1); }},
    {"--deadline", "SECONDS", "from now; what begins later is a dead letter",
     [](O& o, V v) { o.deadlineSeconds = ParseNumber("--deadline", v, 1, 999'999'999); }},
    {"", "Where to", "", nullptr},
    kQueueRow<O>,
    kCredentialsRow<O>,
    kPrefixRow<O>,
    kCaRow<O>,
    kCertificateRow<O>,
    kKeyRow<O>,
    {"", "What to show", "", nullptr},
    {"--list", "", "job id and file of each job that the broker has, with a tab between",
     [](O& o, V) { o.listsJobs = true; }},
    {"--quiet", "", "errors only: no count, notes or progress", [](O& o, V) { o.isQuiet = true; }},
    {"--help", "", "this text, also for -h", [](O& o, V) { o.help = true; }},
    {"--version", "", "the version", [](O& o, V) { o.version = true; }},
};

}  // namespace

SubmitOptions ParseSubmitOptions(const std::vector<std::string>& arguments) {
  SubmitOptions options;
  options.inputs = ParseTable(kRows, arguments, options);
  if (options.help || options.version) return options;
  if (options.inputs.empty()) {
    throw UsageError("there is nothing to submit: name a file, a directory, or - for a list");
  }
  FinishQueueOptions(options);
  return options;
}

std::string GetSubmitHelp() {
  return "usage: velmora-submit [OPTION]... [--] (FILE | DIRECTORY | -)...\n"
         "Makes jobs for velmora-worker. The same file and template give the same job id, so that\n"
         "an interrupted submit may be repeated: what has a result is not done again.\n" +
         DescribeTable(kRows) +
         "\nExit status: 0 the broker has all jobs, 1 it lacks some (see standard error), 2 bad "
         "usage.\n";
}

}  // namespace velmora::cluster
