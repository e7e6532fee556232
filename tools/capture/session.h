/// @file
/// One run of the program.
#pragma once

#include <atomic>
#include <memory>
#include <ostream>
#include <string>

#include "tools/capture/file_source.h"
#include "tools/capture/intermediate_writer.h"
#include "tools/capture/options.h"
#include "tools/capture/program.h"
#include "tools/capture/progress.h"
#include "tools/capture/report_page.h"
#include "velmora_capture/capture.h"

#include "velmora/platform/mutex.h"

namespace velmora::capture {

/// Prepares what the options ask for, runs it and shows the results.
class Session {
 public:
  explicit Session(const Options& options);
  ~Session();

  /// @throws UsageError if a file or folder of the options cannot be used
  /// @throws OutputError if something cannot be written, at once
  ExitStatus Run();

 private:
  void PrepareLog() const;
  static void FinishLog();
  void PrepareOutputs() const;
  bool MakeCapture();
  void MakeSource();
  void CaptureAll();
  void Interrupt();
  void Fail(const std::string& message);
  void Show(const CaptureResult& result);
  void ShowResult(const CaptureResult& result);
  void Note(const std::string& note) const;
  void WriteSummary() const;
  void WriteStages(std::ostream& out) const;
  void WriteFiles();

  const Options& options_;
  std::unique_ptr<IntermediateWriter> intermediateWriter_;
  std::unique_ptr<ReportPage> reportPage_;
  std::unique_ptr<Capture> capture_;  // ends before what it borrows
  std::unique_ptr<FileSource> source_;
  std::unique_ptr<ProgressBar> progress_;
  std::atomic<bool> isInterrupted_{false};
  Mutex mutex_;
  std::string failure_
      VELMORA_GUARDED_BY(mutex_);  // what could not be written first; empty if everything could
  int images_ = 0;
  int failed_ = 0;
  int codes_ = 0;
  double seconds_ = 0;
};

}  // namespace velmora::capture
