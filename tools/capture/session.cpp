#include "tools/capture/session.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>
#include <thread>

#include "tools/capture/inputs.h"
#include "tools/capture/reporters.h"
#include "tools/capture/system.h"
#include "velmora/log/log.h"
#include "velmora/util/path_helper.h"

namespace velmora::capture {
namespace {

volatile std::sig_atomic_t wasInterrupted = 0;

void Interrupt(int) {
  wasInterrupted = 1;
}

bool IsInterrupted() {
  return wasInterrupted != 0;
}

std::string ReadTextFile(const std::string& file, const std::string& purpose) {
  std::ifstream in(file, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  if (!in) throw UsageError(purpose + " '" + file + "' cannot be read");
  return text.str();
}

// Found out before the work, not after it.
void CheckWritable(const std::string& file, const std::string& purpose) {
  if (!file.empty() && !std::ofstream(file, std::ios::binary | std::ios::app))
    throw UsageError(purpose + " '" + file + "' cannot be written");
}

void MakeFolder(const std::string& folder) {
  if (folder.empty()) return;
  std::error_code error;
  std::filesystem::create_directories(folder, error);
  if (!std::filesystem::is_directory(folder))
    throw UsageError("the folder '" + folder + "' cannot be made");
}

// A file name for what is written about an image: its number keeps names of different folders apart.
std::string FileNameFor(const ImageReport& report, const char* extension) {
  char number[16];
  std::snprintf(number, sizeof number, "%04d-", report.id);
  std::string name = PathHelper::GetFileNameFromFilePath(report.name);
  std::replace(name.begin(), name.end(), '#', '-');
  return number + name + extension;
}

std::string Count(int count, const char* what) {
  return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

std::string Milliseconds(std::int64_t nanoseconds) {
  char text[32];
  std::snprintf(text, sizeof text, "%.1f ms", static_cast<double>(nanoseconds) / 1e6);
  return text;
}

std::int64_t Sum(const std::vector<StageTime>& stages, RunStage stage) {
  std::int64_t sum = 0;
  for (const StageTime& time : stages) sum += time.stage == stage ? time.nanoseconds : 0;
  return sum;
}

// Ends the work when the user interrupts it: a signal handler may not do more than set a flag.
class InterruptWatch {
 public:
  explicit InterruptWatch(Capture& capture)
      : thread_([this, &capture] {
          while (!isOver_ && !IsInterrupted())
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
          if (IsInterrupted()) capture.Cancel();
        }) {}
  ~InterruptWatch() {
    isOver_ = true;
    thread_.join();
  }
  InterruptWatch(const InterruptWatch&) = delete;
  InterruptWatch& operator=(const InterruptWatch&) = delete;

 private:
  std::atomic<bool> isOver_{false};
  std::thread thread_;
};

// Writes the file as SVG through Graphviz; without it, leaves the DOT text beside it.
// Returns the name of the file written; empty if it could not be.
std::string WriteGraphFile(const std::string& file, const std::string& graph) {
  std::string dotFile = file + ".dot";
  std::ofstream dot(dotFile, std::ios::binary);
  dot << graph;
  dot.close();
  if (!dot) return {};
  if (RunProgram({"dot", "-Tsvg", "-o", file, dotFile}) != 0) return dotFile;
  std::remove(dotFile.c_str());
  return file;
}

}  // namespace

Session::Session(const Options& options) : options_(options) {}

ExitStatus Session::Run() {
  if (!options_.logConfig.empty()) {
    ReadTextFile(options_.logConfig, "the log's ini file");
    NxLog::GetInstance().InitLog(options_.logConfig.c_str());
  }
  PrepareOutputs();
  if (!LoadTemplate()) return kBadUsage;
  std::signal(SIGINT, Interrupt);
  CaptureAll();
  WriteSummary(options_.json ? std::cerr : std::cout, seconds_);
  WriteFiles();
  NxLog::GetInstance().OutputCacheLog();
  NxLog::GetInstance().OutputJsonLog();
  return failed_ > 0 || IsInterrupted() ? kSomeFailed : kAllRead;
}

void Session::PrepareOutputs() const {
  MakeFolder(options_.overlayFolder);
  MakeFolder(options_.intermediateFolder);
  CheckWritable(options_.traceFile, "the trace");
  if (!options_.graphFile.empty()) CheckWritable(options_.graphFile + ".dot", "the graph");
}

bool Session::LoadTemplate() {
  const bool isBuiltIn = options_.templateFile.empty();
  CaptureOptions options;
  options.templateName = isBuiltIn ? "the built-in template" : options_.templateFile;
  options.threads = options_.threads;
  options.timeoutMs = options_.timeoutMs;
  options.keepImages = !options_.overlayFolder.empty();
  options.keepTrace = !options_.traceFile.empty();
  if (!options_.intermediateFolder.empty()) {
    intermediateWriter_ = std::make_unique<IntermediateWriter>(options_.intermediateFolder);
    options.receivers.push_back(intermediateWriter_.get());
  }
  std::vector<TemplateError> errors;
  capture_ = Capture::Create(
      isBuiltIn ? GetDefaultTemplate() : ReadTextFile(options_.templateFile, "the template"),
      options, errors);
  for (const TemplateError& error : errors) std::cerr << error.ToString() << "\n";
  if (capture_ == nullptr) return false;
  for (const std::string& note : capture_->GetNotes()) std::cerr << "note: " << note << "\n";
  return true;
}

void Session::CaptureAll() {
  const auto begin = std::chrono::steady_clock::now();
  ImageSource::Settings settings;
  settings.files = ExpandInputs(options_.inputs);
  settings.raw = options_.raw;
  settings.bufferSize = options_.bufferSize;
  settings.drops = options_.overflow == Overflow::kDrop ||
                   (options_.overflow == Overflow::kByKind && options_.raw.IsGiven());
  threads_ = capture_->GetThreadCount();
  progress_ = std::make_unique<ProgressBar>(options_.raw.IsGiven()
                                                ? options_.raw.CountFrames(settings.files)
                                                : static_cast<int>(settings.files.size()));
  const InterruptWatch watch(*capture_);
  ImageSource source(settings, *capture_);
  const auto show = [&](const NxRef<CaptureResult>& result) {
    const int id = result->GetSourceImageTag()->GetImageId();
    Show(Describe(*result, source.GetName(id)));
    // What was dropped needs no more time either.
    progress_->Show(images_ + static_cast<int>(source.GetStatistics().dropped));
  };
  RunOptions run;
  run.inOrder = !settings.drops;
  source.StartFetching();
  capture_->Run(source, show, run);
  sourceStatistics_ = source.GetStatistics();
  progress_.reset();
  seconds_ = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

void Session::Show(const ImageReport& report) {
  ++images_;
  failed_ += report.errorCode != 0 ? 1 : 0;
  codes_ += static_cast<int>(report.codes.size());
  progress_->Clear();
  if (options_.json) {
    WriteJsonLine(std::cout, report);
  } else {
    WriteText(std::cout, report);
  }
  std::cout.flush();
  WriteErrors(std::cerr, report);
  if (!options_.overlayFolder.empty() && report.picture) {
    const auto file = std::filesystem::path(options_.overlayFolder) / FileNameFor(report, ".svg");
    std::ofstream out(file, std::ios::binary);
    WriteOverlay(out, report);
    out.close();
    if (!out) std::cerr << file.string() << " could not be written\n";
  }
}

void Session::WriteSummary(std::ostream& out, double seconds) const {
  char rate[64];
  std::snprintf(rate, sizeof rate, "%.1f images a second", seconds > 0 ? images_ / seconds : 0.0);
  out << Count(images_, "image") << ", " << images_ - failed_ << " read, " << failed_ << " failed, "
      << Count(codes_, "code") << "; " << rate << " with " << Count(threads_, "thread") << "\n";
  if (options_.raw.IsGiven() || sourceStatistics_.dropped > 0)
    out << "frames: " << sourceStatistics_.offered << " played, " << sourceStatistics_.delivered
        << " captured, " << sourceStatistics_.dropped + sourceStatistics_.refused << " dropped\n";
  WriteStages(out);
}

// The engine's share is what the pool spends around the modules' work, and on beginning images.
void Session::WriteStages(std::ostream& out) const {
  out << "time by stage:";
  const char* separator = " ";
  const std::vector<StageTime> stages = capture_->GetStageTimes();
  for (const StageTime& stage : stages) {
    if (stage.stage == RunStage::kItem || stage.stage == RunStage::kSchedule) continue;
    out << separator << stage.name << " " << Milliseconds(stage.nanoseconds);
    separator = ", ";
  }
  const std::int64_t work = Sum(stages, RunStage::kWork);
  const std::int64_t engine =
      Sum(stages, RunStage::kItem) - work + Sum(stages, RunStage::kSchedule);
  const std::int64_t all = engine + work + Sum(stages, RunStage::kRead) +
                           Sum(stages, RunStage::kConvert) + Sum(stages, RunStage::kReport);
  char share[32];
  std::snprintf(share, sizeof share, "%.2f %%",
                all > 0 ? 100.0 * static_cast<double>(engine) / static_cast<double>(all) : 0.0);
  out << separator << "engine " << Milliseconds(engine) << " (" << share << ")\n";
}

void Session::WriteFiles() {
  if (!options_.traceFile.empty()) {
    std::ofstream out(options_.traceFile, std::ios::binary);
    capture_->WriteTrace(out);
    out.close();
    if (!out) throw UsageError("the trace '" + options_.traceFile + "' cannot be written");
  }
  if (options_.graphFile.empty()) return;
  const std::string written = WriteGraphFile(options_.graphFile, capture_->GetGraphDot());
  if (written.empty()) throw UsageError("the graph '" + options_.graphFile + "' cannot be written");
  if (written != options_.graphFile)
    std::cerr << "note: Graphviz is not there; the graph is in " << written << "\n";
}

}  // namespace velmora::capture
