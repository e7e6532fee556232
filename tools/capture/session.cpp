#include "tools/capture/session.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>
#include <utility>

#include "tools/capture/graph_file.h"
#include "tools/capture/inputs.h"
#include "tools/capture/output_file.h"
#include "tools/capture/reporters.h"
#include "tools/capture/symbologies.h"
#include "tools/capture/system.h"
#include "tools/capture/text.h"
#include "velmora/log/log.h"
#include "velmora/util/path_helper.h"

namespace velmora::capture {
namespace {

// Found out before the work, not after it.
void CheckWritable(const std::string& file, const std::string& purpose) {
  if (file.empty()) return;
  errno = 0;
  if (!std::ofstream(ToPath(file), std::ios::binary | std::ios::app)) {
    throw UsageError(DescribeWriteError(purpose, file));
  }
}

void MakeFolder(const std::string& folder) {
  if (folder.empty()) return;
  std::error_code error;
  std::filesystem::create_directories(ToPath(folder), error);
  std::error_code ignored;
  if (!std::filesystem::is_directory(ToPath(folder), ignored)) {
    throw UsageError("the folder '" + folder + "' cannot be made" +
                     (error ? ": " + error.message() : ""));
  }
  // A name of its own: what the folder holds stays as it is.
  const std::filesystem::path probe = ToPath(folder) / ".velmora-capture.probe";
  errno = 0;
  if (!std::ofstream(probe)) throw UsageError(DescribeWriteError("the folder", folder));
  std::filesystem::remove(probe, ignored);
}

// A file name for what is written about an image: its number keeps names of different folders
// apart.
std::string FileNameFor(const CaptureResult& result, const char* extension) {
  char number[16];
  std::snprintf(number, sizeof number, "%04d-", IdOf(result));
  std::string name = PathHelper::GetFileNameFromFilePath(NameOf(result));
  std::replace(name.begin(), name.end(), '#', '-');
  return number + name + extension;
}

}  // namespace

Session::Session(const Options& options) : options_(options) {}

Session::~Session() = default;

ExitStatus Session::Run() {
  PrepareLog();
  PrepareOutputs();
  if (!MakeCapture()) return kBadUsage;
  MakeSource();
  {
    const InterruptWatch watch([this] { Interrupt(); });
    CaptureAll();
    {
      const MutexLock lock(mutex_);
      if (!failure_.empty()) throw OutputError(failure_);
    }
    WriteSummary();
    WriteFiles();
  }
  FinishLog();
  // To be interrupted is how watching ends.
  const bool isCutShort = isInterrupted_ && options_.watchedDirectory.empty();
  return failed_ > 0 || isCutShort ? kSomeFailed : kAllRead;
}

void Session::PrepareLog() const {
  if (options_.logConfig.empty()) return;
  const std::string text = ReadTextFile(options_.logConfig, "the log's ini file");
  if (text.find("[BARCODECONFIG]") == std::string::npos) {
    throw UsageError("the log's ini file '" + options_.logConfig +
                     "' has no section [BARCODECONFIG]");
  }
  NxLog::GetInstance().InitLog(ToNarrow(options_.logConfig).c_str());
}

void Session::FinishLog() {
  NxLog& log = NxLog::GetInstance();
  const bool areLinesWritten = log.OutputCacheLog();
  if (!log.OutputJsonLog() || !areLinesWritten || log.GetLostLineCount() > 0) {
    throw OutputError(
        "the log cannot be written, or not all of it: see the folder in its ini file");
  }
}

void Session::PrepareOutputs() const {
  MakeFolder(options_.overlayFolder);
  MakeFolder(options_.intermediateFolder);
  CheckWritable(options_.reportFile, "the report");
  CheckWritable(options_.traceFile, "the trace");
  if (!options_.graphFile.empty()) CheckWritable(DotFileFor(options_.graphFile), "the graph");
}

bool Session::MakeCapture() {
  const bool isBuiltIn = options_.templateFile.empty();
  const std::string text =
      isBuiltIn ? GetDefaultTemplate() : ReadTextFile(options_.templateFile, "the template");
  CaptureOptions settings;
  settings.templateName = isBuiltIn ? "the built-in template" : options_.templateFile;
  settings.threads = options_.threads;
  settings.timeoutMs = options_.timeoutMs;
  settings.keepImages = !options_.overlayFolder.empty() || !options_.reportFile.empty();
  settings.keepTrace = !options_.traceFile.empty();
  if (!options_.intermediateFolder.empty()) {
    intermediateWriter_ = std::make_unique<IntermediateWriter>(
        options_.intermediateFolder, [this](const std::string& message) { Fail(message); });
    settings.receivers.push_back(intermediateWriter_.get());
  }
  if (!options_.reportFile.empty()) {
    reportPage_ = std::make_unique<ReportPage>(options_.reportFile);
    settings.observers.push_back(reportPage_.get());
  }
  std::vector<TemplateError> errors;
  if (options_.symbologies.empty()) {
    capture_ = Capture::Create(text, settings, errors);
  } else {
    capture_ = Capture::Create(NarrowSymbologies(text, options_.symbologies), settings, errors);
    // Places are told as the user's text has them.
    std::vector<TemplateError> own;
    if (capture_ == nullptr && Capture::Create(text, settings, own) == nullptr) errors.swap(own);
  }
  for (const TemplateError& error : errors) std::cerr << error.ToString() << "\n";
  if (capture_ == nullptr) return false;
  for (const std::string& note : capture_->GetNotes()) Note(note);
  return true;
}

void Session::MakeSource() {
  FileSource::Settings settings;
  settings.raw = options_.raw;
  settings.maxPixels = options_.maxPixels;
  settings.bufferSize = options_.bufferSize;
  settings.drops = options_.Drops();
  FileSource::NextFile next;
  int total = 0;
  if (options_.watchedDirectory.empty()) {
    std::vector<std::string> notes;
    std::vector<std::string> files = ExpandInputs(options_, notes);
    for (const std::string& note : notes) Note(note);
    total =
        options_.raw.IsGiven() ? options_.raw.CountFrames(files) : static_cast<int>(files.size());
    std::reverse(files.begin(), files.end());
    next = [files = std::move(files)](const StopSignal&, std::string& file) mutable {
      if (files.empty()) return false;
      file = std::move(files.back());
      files.pop_back();
      return true;
    };
  } else {
    next = [watch = DirectoryWatch(options_.watchedDirectory)](const StopSignal& stop,
                                                               std::string& file) mutable {
      return watch.TakeNext(stop, file);
    };
  }
  progress_ = std::make_unique<ProgressBar>(total, !options_.isQuiet);
  source_ =
      std::make_unique<FileSource>(settings, std::move(next), [this] { capture_->NotifySource(); });
}

void Session::CaptureAll() {
  const auto begin = std::chrono::steady_clock::now();
  if (options_.format == Format::kCsv) {
    std::ostringstream headings;
    WriteCsvHeadings(headings);
    WriteStandardOutput(headings.str());
  }
  RunOptions running;
  running.inOrder = !options_.Drops();
  source_->StartFetching();
  capture_->Run(
      *source_, [this](const NxRef<CaptureResult>& result) { Show(*result); }, running);
  source_->Stop();
  progress_->Clear();
  seconds_ = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

void Session::Interrupt() {
  isInterrupted_ = true;
  source_->Stop();
  // What was written to a watched directory is read to its end.
  if (options_.watchedDirectory.empty()) capture_->Cancel();
}

// The rest of the run would be lost too: it ends at once.
void Session::Fail(const std::string& message) {
  {
    const MutexLock lock(mutex_);
    if (!failure_.empty()) return;
    failure_ = message;
  }
  source_->Stop();
  capture_->Cancel();
}

void Session::Show(const CaptureResult& result) {
  ++images_;
  failed_ += result.GetErrorCode() != 0 ? 1 : 0;
  codes_ += result.GetCodeCount();
  progress_->Clear();
  try {
    ShowResult(result);
  } catch (const OutputError& error) {
    Fail(error.what());
  }
  // What was dropped needs no more time either.
  progress_->Show(images_ + static_cast<int>(source_->GetStatistics().dropped));
}

void Session::ShowResult(const CaptureResult& result) {
  {
    const MutexLock lock(mutex_);
    if (!failure_.empty()) return;
  }
  std::ostringstream lines;
  switch (options_.format) {
    case Format::kText:
      WriteText(lines, result);
      break;
    case Format::kJson:
      WriteJsonLine(lines, result);
      break;
    case Format::kCsv:
      WriteCsvLines(lines, result);
      break;
  }
  WriteStandardOutput(lines.str());
  WriteErrors(std::cerr, result);
  if (reportPage_ != nullptr) reportPage_->Add(result);
  if (options_.overlayFolder.empty() || result.GetImage() == nullptr || result.GetWidth() == 0) {
    return;
  }
  const auto file = ToPath(options_.overlayFolder) / ToPath(FileNameFor(result, ".svg"));
  WriteFile(file.u8string(), "the overlay", [&](std::ostream& out) { WriteOverlay(out, result); });
}

void Session::Note(const std::string& note) const {
  if (!options_.isQuiet) std::cerr << "note: " << note << "\n";
}

void Session::WriteSummary() const {
  if (options_.isQuiet) return;
  std::ostringstream out;
  char rate[64];
  std::snprintf(rate, sizeof rate, "%.1f images a second", seconds_ > 0 ? images_ / seconds_ : 0.0);
  out << Count(images_, "image") << ", " << images_ - failed_ << " read, " << failed_ << " failed, "
      << Count(codes_, "code") << "; " << rate << " with "
      << Count(capture_->GetThreadCount(), "thread") << (isInterrupted_ ? "; interrupted" : "")
      << "\n";
  const basic_structures::ImageSourceStatistics frames = source_->GetStatistics();
  if (options_.raw.IsGiven() || frames.dropped > 0) {
    out << "frames: " << frames.offered << " played, " << frames.delivered << " captured, "
        << frames.dropped + frames.refused << " dropped\n";
  }
  WriteStages(out);
  if (options_.format == Format::kText) {
    WriteStandardOutput(out.str());
  } else {
    std::cerr << out.str();
  }
}

// The engine's share is what the pool spends around the modules' work, and on deciding.
void Session::WriteStages(std::ostream& out) const {
  out << "time by stage:";
  const char* separator = " ";
  std::int64_t engine = 0;
  std::int64_t all = 0;
  for (const StageTime& stage : capture_->GetStageTimes()) {
    if (stage.stage == RunStage::kItem || stage.stage == RunStage::kSchedule) {
      engine += stage.nanoseconds;
      all += stage.nanoseconds;
      continue;
    }
    all += stage.nanoseconds;
    out << separator << stage.name << " " << Milliseconds(stage.nanoseconds);
    separator = ", ";
  }
  char share[32];
  std::snprintf(share, sizeof share, "%.2f %%",
                all > 0 ? 100.0 * static_cast<double>(engine) / static_cast<double>(all) : 0.0);
  out << separator << "engine " << Milliseconds(engine) << " (" << share << ")\n";
}

void Session::WriteFiles() {
  if (!options_.traceFile.empty()) {
    WriteFile(options_.traceFile, "the trace",
              [&](std::ostream& out) { capture_->WriteTrace(out); });
  }
  if (reportPage_ != nullptr) reportPage_->Finish(*capture_);
  if (options_.graphFile.empty()) return;
  const std::string written = WriteGraphFile(options_.graphFile, capture_->GetGraphDot());
  if (written != options_.graphFile) {
    Note("Graphviz is not there; the graph is in " + Printable(written));
  }
}

}  // namespace velmora::capture
