#include "tools/capture/session.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>
#include <thread>

#include "tools/capture/inputs.h"
#include "tools/capture/reporters.h"
#include "velmora/log/log.h"
#include "velmora/util/path_helper.h"
#include "velmora_capture/internal/clock_thread.h"
#include "velmora_capture/internal/dynamic_library.h"
#include "velmora_capture/internal/graph_writer.h"
#include "velmora_capture/internal/module_registry.h"
#include "velmora_capture/internal/router.h"
#include "velmora_capture/internal/thread_pool.h"

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

// Where the modules lie beside the program's folder.
std::vector<std::string> ModuleFolders() {
  const auto program = std::filesystem::u8path(FolderOfProgram());
  return {(program.parent_path() / "lib/velmora/modules").u8string()};
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

// The graph of a template as it stands after a run.
GraphSummary Summarise(const Template& source, CaptureGraph& graph,
                       const TaskStatistics& statistics) {
  GraphSummary summary{source.name, {}};
  for (const DefinitionTemplate& definition : source.definitions) {
    summary.definitions.push_back({definition.name, definition.parents, {}});
    const auto& node =
        static_cast<CaptureDefinition&>(*graph.GetTargetDefNodesMap().at(definition.name));
    for (const TaskTemplate& task : definition.tasks) {
      TaskSummary described;
      described.name = task.name;
      described.module = task.module;
      described.unlessFoundBy = task.unlessFoundBy;
      described.isLeftOut = true;
      for (const NxRef<NxTargetTaskSetting>& setting : node.GetTasks()) {
        if (setting->GetTaskName() != task.name) continue;
        described.isLeftOut = false;
        statistics.Describe(*setting->GetTaskObject(), described);
      }
      summary.definitions.back().tasks.push_back(described);
    }
  }
  return summary;
}

}  // namespace

Session::Session(const Options& options) : options_(options), trace_(!options.traceFile.empty()) {}

ExitStatus Session::Run() {
  if (!options_.logConfig.empty()) {
    ReadTextFile(options_.logConfig, "the log's ini file");
    NxLog::GetInstance().InitLog(options_.logConfig.c_str());
  }
  PrepareOutputs();
  if (!LoadTemplate()) return kBadUsage;
  std::signal(SIGINT, Interrupt);
  Capture();
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
  if (!options_.graphFile.empty()) CheckWritable(DotFileFor(options_.graphFile), "the graph");
}

bool Session::LoadTemplate() {
  const bool isBuiltIn = options_.templateFile.empty();
  JsonDocument document(
      isBuiltIn ? "the built-in template" : options_.templateFile,
      isBuiltIn ? GetDefaultTemplate() : ReadTextFile(options_.templateFile, "the template"));
  if (document.Parse()) template_ = ReadTemplate(document);
  if (document.GetErrors().empty()) {
    if (!options_.intermediateFolder.empty()) {
      intermediateWriter_ = std::make_unique<IntermediateWriter>(options_.intermediateFolder);
      receivers_.push_back(intermediateWriter_.get());
    }
    const ModuleRegistry registry(ModuleFolders());
    GraphBuilder builder(registry, managers_, receivers_, document);
    graph_ = builder.Build(template_);
    for (const CaptureDefinition* definition : graph_->GetDefinitions())
      for (const NxRef<NxTargetTaskSetting>& task : definition->GetTasks())
        statistics_.AddTask(task->GetTaskObject(), task->GetTaskFullName());
    graph_->SetStatistics(&statistics_);
    for (const std::string& note : builder.GetNotes()) std::cerr << "note: " << note << "\n";
  }
  for (const TemplateError& error : document.GetErrors()) std::cerr << error.ToString() << "\n";
  return document.GetErrors().empty();
}

void Session::Capture() {
  const auto begin = TraceLane::Clock::now();
  trace_.AddLane("router");
  ImageSource::Settings settings;
  settings.files = ExpandInputs(options_.inputs);
  settings.raw = options_.raw;
  settings.bufferSize = options_.bufferSize;
  settings.drops = options_.overflow == Overflow::kDrop ||
                   (options_.overflow == Overflow::kByKind && options_.raw.IsGiven());
  threads_ = options_.threads > 0
                 ? options_.threads
                 : std::max(1, static_cast<int>(std::thread::hardware_concurrency()));
  progress_ = std::make_unique<ProgressBar>(options_.raw.IsGiven()
                                                ? options_.raw.CountFrames(settings.files)
                                                : static_cast<int>(settings.files.size()));

  NxSemaphore events(0);
  CaptureThreadPool pool(threads_, trace_);
  const ClockThread clock(managers_, IsInterrupted);
  ImageSource source(settings, events, trace_);
  const auto show = [&](const ImageReport& report) {
    Show(report);
    // What was dropped needs no more time either.
    progress_->Show(images_ + static_cast<int>(source.GetStatistics().dropped));
  };
  const Router::Settings routing{options_.timeoutMs > 0 ? options_.timeoutMs : template_.timeoutMs,
                                 !settings.drops, show, IsInterrupted};
  source.StartFetching();
  Router(routing, *graph_, statistics_).Run(source, pool, events);
  sourceStatistics_ = source.GetStatistics();
  progress_.reset();
  seconds_ = std::chrono::duration<double>(TraceLane::Clock::now() - begin).count();
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

// The engine's share is what the pool spends around the modules' work, and the router on deciding.
void Session::WriteStages(std::ostream& out) const {
  out << "time by stage:";
  const char* separator = " ";
  for (const Trace::StageTotal& stage : trace_.GetTotals()) {
    if (stage.kind == SpanKind::kItem || stage.kind == SpanKind::kSchedule) continue;
    out << separator << stage.name << " " << Milliseconds(stage.nanoseconds);
    separator = ", ";
  }
  const std::int64_t work = trace_.GetNanoseconds(SpanKind::kWork);
  const std::int64_t engine =
      trace_.GetNanoseconds(SpanKind::kItem) - work + trace_.GetNanoseconds(SpanKind::kSchedule);
  const std::int64_t all = engine + work + trace_.GetNanoseconds(SpanKind::kRead) +
                           trace_.GetNanoseconds(SpanKind::kConvert) +
                           trace_.GetNanoseconds(SpanKind::kReport);
  char share[32];
  std::snprintf(share, sizeof share, "%.2f %%",
                all > 0 ? 100.0 * static_cast<double>(engine) / static_cast<double>(all) : 0.0);
  out << separator << "engine " << Milliseconds(engine) << " (" << share << ")\n";
}

void Session::WriteFiles() {
  if (!options_.traceFile.empty()) {
    std::ofstream out(options_.traceFile, std::ios::binary);
    trace_.WriteJson(out);
    out.close();
    if (!out) throw UsageError("the trace '" + options_.traceFile + "' cannot be written");
  }
  if (options_.graphFile.empty()) return;
  const std::string written =
      WriteGraphFile(options_.graphFile, Summarise(template_, *graph_, statistics_));
  if (written.empty()) throw UsageError("the graph '" + options_.graphFile + "' cannot be written");
  if (written != options_.graphFile)
    std::cerr << "note: Graphviz is not there; the graph is in " << written << "\n";
}

}  // namespace velmora::capture
