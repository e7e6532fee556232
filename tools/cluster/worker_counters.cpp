#include "tools/cluster/worker_counters.h"

#include <ctime>
#include <iomanip>
#include <sstream>

namespace velmora::cluster {

void WorkerCounters::Add(const JobOutcome& outcome, double seconds) {
  jobSeconds += seconds;
  codes += outcome.codes;
  switch (outcome.kind) {
    case JobOutcome::kStored:
      ++stored;
      withErrors += outcome.hasErrors ? 1 : 0;
      break;
    case JobOutcome::kKnown:
      ++known;
      break;
    case JobOutcome::kImpossible:
      ++rejected;
      break;
  }
}

double ProcessorSeconds() {
  timespec time{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

std::string DescribeCounters(const WorkerCounters& before, const WorkerCounters& now) {
  std::ostringstream out;
  out << now.stored - before.stored << " stored (" << now.withErrors - before.withErrors
      << " with errors), " << now.known - before.known << " known, "
      << now.rejected - before.rejected << " rejected; " << now.codes - before.codes << " codes";
  const std::int64_t jobs = now.Jobs() - before.Jobs();
  if (jobs > 0) {
    out << std::fixed << std::setprecision(2) << "; "
        << 1000 * (now.processorSeconds - before.processorSeconds) / static_cast<double>(jobs)
        << " ms of processor time per job";
  }
  out << "; " << now.held + static_cast<std::size_t>(now.running) << " in hand"
      << (now.isConnected ? "" : "; not connected");
  return out.str();
}

std::string FormatMetrics(const WorkerCounters& counters) {
  std::ostringstream out;
  out << std::setprecision(12);
  const auto describe = [&](const char* name, const char* type, const char* help) {
    out << "# HELP velmora_worker_" << name << " " << help << "\n# TYPE velmora_worker_" << name
        << " " << type << "\n";
  };
  const auto write = [&](const char* name, const char* type, const char* help, auto value) {
    describe(name, type, help);
    out << "velmora_worker_" << name << " " << value << "\n";
  };
  describe("jobs_total", "counter", "Jobs by what became of them.");
  out << "velmora_worker_jobs_total{outcome=\"stored\"} " << counters.stored << "\n"
      << "velmora_worker_jobs_total{outcome=\"known\"} " << counters.known << "\n"
      << "velmora_worker_jobs_total{outcome=\"rejected\"} " << counters.rejected << "\n";
  write("errors_total", "counter", "Stored results with errors.", counters.withErrors);
  write("codes_total", "counter", "Codes in stored results.", counters.codes);
  write("connections_total", "counter", "Connections made to the broker.", counters.connections);
  write("job_seconds_total", "counter", "Time of all jobs by the clock.", counters.jobSeconds);
  write("processor_seconds_total", "counter", "Processor time.", counters.processorSeconds);
  write("connected", "gauge", "Whether there is a connection.", counters.isConnected ? 1 : 0);
  write("jobs_in_hand", "gauge", "Jobs taken and not begun.", counters.held);
  write("jobs_running", "gauge", "Jobs being worked on.", counters.running);
  return out.str();
}

}  // namespace velmora::cluster
