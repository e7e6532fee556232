/// @file
/// Images from a source.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <exception>
#include <map>
#include <memory>

#include "velmora_capture/capture.h"
#include "velmora_capture/internal/capture_job.h"

#include "velmora/platform/mutex.h"

namespace velmora::capture {

class CaptureEngine;
struct Offer;

/// One call of `Capture::Run`: keeps as many images in flight as the pool needs to stay busy, and
/// hands over the results, on the thread that called.
///
/// @threadsafety `Go` once; `Wake`, `AddCountsTo` and the jobs' ends from any thread
class ImageRun final : public JobOwner {
 public:
  /// The arguments outlive the run.
  ImageRun(CaptureEngine& engine, basic_structures::CImageSourceAdapter& source,
           const Capture::Handler& handler, const RunOptions& options);

  /// Returns when the source has no more images and nothing is in flight. What the source and the
  /// handler throw is kept, and ends the run.
  void Go() noexcept;
  void RethrowError() const;

  /// Looks at the source now.
  void Wake() noexcept;

  /// Adds the images of the source and of this run.
  void AddCountsTo(CaptureStatistics& counts) const;
  /// The same at the end: what the source still holds was never offered.
  void AddFinalCountsTo(CaptureStatistics& counts) const;

  void OnJobDone(CaptureJob& job) noexcept override;

 private:
  bool TakeImage();
  void TakeReadableImage(const Offer& offer, std::unique_ptr<basic_structures::CImageData> image);
  void DeliverDone();
  void Deliver(std::int64_t sequence, NxRef<CaptureResult> result);
  void HandOver(const NxRef<CaptureResult>& result);
  bool IsStopping() const;
  bool IsExhausted();
  NxRef<CaptureJob> TakeDone();
  void Wait(bool sourceMayHaveMore);
  CaptureError GetReadError(const basic_structures::CImageData& image) const;

  CaptureEngine& engine_;
  basic_structures::CImageSourceAdapter& source_;
  const ReadErrorSource* const readErrors_;  // the source, if it tells them
  const Capture::Handler& handler_;
  const RunOptions options_;
  const basic_structures::ImageSourceStatistics before_;  // of the source
  const std::int64_t cancellations_;                      // before the run

  // The calling thread's.
  std::exception_ptr error_;
  std::int64_t nextTaken_ = 0;
  std::int64_t nextDelivered_ = 0;
  int inFlight_ = 0;
  std::map<std::int64_t, NxRef<CaptureResult>> waiting_;  // whose turn has not come

  mutable Mutex countsMutex_;
  std::int64_t taken_ VELMORA_GUARDED_BY(countsMutex_) = 0;
  std::int64_t delivered_ VELMORA_GUARDED_BY(countsMutex_) = 0;

  Mutex mutex_;
  std::condition_variable wakeUp_;
  bool isWoken_ VELMORA_GUARDED_BY(mutex_) = false;
  CaptureJob* firstDone_ VELMORA_GUARDED_BY(mutex_) =
      nullptr;  // retained; in the order of their end
  CaptureJob* lastDone_ VELMORA_GUARDED_BY(mutex_) = nullptr;
};

}  // namespace velmora::capture
