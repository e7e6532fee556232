/// @file
/// One run of the program.
#pragma once

#include <memory>
#include <ostream>
#include <string>

#include "tools/capture/image_report.h"
#include "tools/capture/image_source.h"
#include "tools/capture/intermediate_writer.h"
#include "tools/capture/options.h"
#include "tools/capture/progress.h"
#include "velmora_capture/capture.h"

namespace velmora::capture {

/// What the program's exit status says.
enum ExitStatus : int { kAllRead = 0, kSomeFailed = 1, kBadUsage = 2 };

/// Prepares what the options ask for, runs it and shows the results.
class Session {
 public:
  explicit Session(const Options& options);

  /// @throws UsageError if a file or folder of the options cannot be used
  ExitStatus Run();

 private:
  bool LoadTemplate();
  void PrepareOutputs() const;
  void CaptureAll();
  void Show(const ImageReport& report);
  void WriteSummary(std::ostream& out, double seconds) const;
  void WriteStages(std::ostream& out) const;
  void WriteFiles();

  const Options& options_;
  std::unique_ptr<IntermediateWriter> intermediateWriter_;
  std::unique_ptr<Capture> capture_;
  std::unique_ptr<ProgressBar> progress_;
  basic_structures::ImageSourceStatistics sourceStatistics_{};
  int threads_ = 0;
  int images_ = 0;
  int failed_ = 0;
  int codes_ = 0;
  double seconds_ = 0;
};

}  // namespace velmora::capture
