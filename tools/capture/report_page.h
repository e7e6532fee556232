/// @file
/// A run on one page.
#pragma once

#include <cstdint>
#include <fstream>
#include <map>
#include <ostream>
#include <string>
#include <thread>
#include <vector>

#include "velmora_capture/capture.h"

#include "velmora/platform/mutex.h"

namespace velmora::capture {

/// Writes an HTML file that needs nothing beside itself: each image with its overlay, codes, times
/// and errors as it comes, then the sums, the graph and a timeline of the threads.
///
/// @threadsafety as an observer called from every thread; the rest from one
class ReportPage final : public RunObserver {
 public:
  explicit ReportPage(std::string file) : file_(std::move(file)) {}

  /// The result has kept its image, if it could be read.
  /// @throws OutputError
  void Add(const CaptureResult& result);
  /// Called once, after the last image.
  /// @throws OutputError
  void Finish(const Capture& capture);

  void OnThreadStarted(const char* name) override;
  void OnSpan(const RunSpan& span) override;

 private:
  struct Bar {
    RunStage stage;
    std::string name;
    std::int64_t jobNumber;
    RunMoment begin;
    RunMoment end;
  };
  struct Lane {
    std::string name;
    std::vector<Bar> bars;
  };

  void Begin();
  void CheckWritten();
  void WriteGraph(const std::string& dot);
  void WriteTimeline();
  void WriteLane(const Lane& lane, const RunMoment& begin, double nanoseconds);

  const std::string file_;
  std::ofstream out_;
  int images_ = 0;
  int failed_ = 0;
  int codes_ = 0;
  std::map<std::int64_t, std::string> names_;  // of images, by job number; as many as bars may name
  Mutex mutex_;
  std::vector<Lane> lanes_ VELMORA_GUARDED_BY(mutex_);
  std::map<std::thread::id, std::size_t> laneOf_ VELMORA_GUARDED_BY(mutex_);
  std::size_t barCount_ VELMORA_GUARDED_BY(mutex_) = 0;
};

}  // namespace velmora::capture
