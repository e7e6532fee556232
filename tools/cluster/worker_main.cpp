// velmora-worker: reads the codes in the pictures that a message broker's jobs name.

#include <json/reader.h>
#include <json/value.h>

#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "tools/capture/output_file.h"
#include "tools/capture/program.h"
#include "tools/capture/system.h"
#include "tools/capture/text.h"
#include "tools/cluster/template_text.h"
#include "tools/cluster/worker.h"
#include "tools/cluster/worker_options.h"
#include "velmora_capture/capture.h"

namespace {

using namespace velmora::capture;
using namespace velmora::cluster;

// For each thread of the pool: one image is read while another is worked on; a disk takes some 10
// ms to make a result safe, and stores many at once in that time; the next jobs are here when one
// ends.
constexpr int kImagesPerThread = 2;
constexpr int kStoredPerThread = 4;
constexpr int kWaitingPerThread = 2;

// The template's own, unless that is too long for a worker.
int ChooseTimeout(const WorkerOptions& options, const std::string& templateText) {
  if (options.timeoutMs > 0) return options.timeoutMs;
  Json::Value value;
  const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
  const char* const begin = templateText.data();
  if (!reader->parse(begin, begin + templateText.size(), &value, nullptr)) return 0;
  const Json::Value& timeout = value.isObject() ? value["TimeoutMs"] : value;
  return timeout.isNumeric() && timeout.asDouble() > kMostTimeoutMs ? kMostTimeoutMs : 0;
}

std::unique_ptr<Capture> MakeCapture(const WorkerOptions& options, const TemplateText& text) {
  CaptureOptions settings;
  settings.templateName = options.templateFile;
  settings.threads = options.threads;
  settings.timeoutMs = ChooseTimeout(options, text.text);
  std::vector<TemplateError> errors;
  std::unique_ptr<Capture> capture = Capture::Create(text.text, settings, errors);
  for (const TemplateError& error : errors) std::cerr << error.ToString() << "\n";
  if (capture == nullptr) return nullptr;
  for (const std::string& note : capture->GetNotes()) std::cerr << "note: " << note << "\n";
  return capture;
}

int Run(const std::vector<std::string>& arguments) {
  WorkerOptions options = ParseWorkerOptions(arguments);
  if (options.help) {
    WriteStandardOutput(GetWorkerHelp());
    return kAllRead;
  }
  if (options.version) {
    WriteVersion("velmora-worker");
    return kAllRead;
  }
  const TemplateText text = ReadTemplate(options.templateFile);
  const std::unique_ptr<Capture> capture = MakeCapture(options, text);
  if (capture == nullptr) return kBadUsage;
  const std::unique_ptr<ResultStore> store =
      OpenResultStore(options.store, options.storeCredentials);
  RunnerSettings running;
  running.templateHash = text.hash;
  running.maxPixels = options.maxPixels;
  running.imagesAtOnce = kImagesPerThread * capture->GetThreadCount();
  JobRunner runner(*capture, *store, running);
  WorkerSettings settings;
  settings.jobsAtOnce = running.imagesAtOnce + kStoredPerThread * capture->GetThreadCount();
  settings.idleExit = std::chrono::seconds(options.idleExitSeconds);
  settings.metricsFile = options.metricsFile;
  settings.isQuiet = options.isQuiet;
  options.queue.prefetch = settings.jobsAtOnce + kWaitingPerThread * capture->GetThreadCount();
  const std::unique_ptr<JobQueue> queue = OpenJobQueue(options.queue);
  Worker worker(settings, *queue, runner);
  const InterruptWatch watch([&] { worker.Stop(); });
  return worker.Run() ? kAllRead : kSomeFailed;
}

}  // namespace

int main(int argc, char** argv) {
  return RunMain("velmora-worker", argc, argv, Run);
}
