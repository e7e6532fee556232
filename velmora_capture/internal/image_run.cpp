#include "velmora_capture/internal/image_run.h"

#include <algorithm>
#include <chrono>
#include <new>
#include <utility>

#include "velmora/foundation/error_code.h"
#include "velmora_capture/internal/capture_engine.h"
#include "velmora_capture/internal/source_image.h"

namespace velmora::capture {

using namespace basic_structures;

namespace {

// How often a source is asked that has nothing, and that nobody reports on.
constexpr std::chrono::milliseconds kTick(5);

std::int64_t Nanoseconds(std::chrono::steady_clock::duration time) {
  return std::chrono::duration_cast<std::chrono::nanoseconds>(time).count();
}

std::int64_t Count(std::uint64_t count) {
  return static_cast<std::int64_t>(count);
}

}  // namespace

ImageRun::ImageRun(CaptureEngine& engine, CImageSourceAdapter& source,
                   const Capture::Handler& handler, const RunOptions& options)
    : engine_(engine),
      source_(source),
      readErrors_(dynamic_cast<const ReadErrorSource*>(&source)),
      handler_(handler),
      options_(options),
      before_(source.GetStatistics()),
      cancellations_(engine.GetCancellations()) {}

void ImageRun::Go() noexcept {
  for (;;) {
    bool mayHaveMore = true;
    try {
      while (mayHaveMore && !IsStopping() && inFlight_ < engine_.GetMostInFlight()) {
        mayHaveMore = TakeImage();
      }
      DeliverDone();
      if (inFlight_ == 0 && (IsStopping() || (!mayHaveMore && IsExhausted()))) break;
    } catch (...) {
      if (error_ == nullptr) error_ = std::current_exception();
    }
    Wait(mayHaveMore);
  }
  // A run that ended early leaves gaps, which nothing will fill.
  for (auto next = waiting_.begin(); next != waiting_.end() && error_ == nullptr; ++next) {
    HandOver(next->second);
  }
}

void ImageRun::RethrowError() const {
  if (error_ != nullptr) std::rethrow_exception(error_);
}

bool ImageRun::IsStopping() const {
  return error_ != nullptr || engine_.GetCancellations() != cancellations_;
}

// An image may have come between the question for one and the answer that there are no more.
bool ImageRun::IsExhausted() {
  return !source_.HasMoreImages() && !TakeImage();
}

bool ImageRun::TakeImage() {
  std::unique_ptr<CImageData> image(source_.GetImage());
  if (image == nullptr) return false;
  Offer offer = engine_.MakeOffer(false);
  {
    const MutexLock lock(countsMutex_);
    ++taken_;
  }
  RunSpan read{RunStage::kRead, "read", "", offer.number, {}, {}};
  if (readErrors_ != nullptr && readErrors_->GetReadMoments(*image, read.begin, read.end)) {
    offer.readNanoseconds = Nanoseconds(read.end.time - read.begin.time);
    read.imageTag = image->GetImageTag();
    engine_.TellRead(read);
  }
  if (!IsReadable(*image)) {
    Deliver(nextTaken_++, engine_.ReportFailure(offer, GetReadError(*image), image->GetImageTag()));
  } else {
    TakeReadableImage(offer, std::move(image));
  }
  return true;
}

void ImageRun::TakeReadableImage(const Offer& offer, std::unique_ptr<CImageData> image) {
  const NxRef<NxImageData> picture = TakeOverImage(std::move(image));
  int code = EC_ImagePixelFormatNotMet;
  NxRef<CaptureJob> job;
  try {
    job = engine_.MakeJob(offer, picture, *this);
  } catch (const std::bad_alloc&) {
    code = EC_NoMemory;  // for this image; the next may be smaller
  }
  if (!job) {
    return Deliver(nextTaken_++,
                   engine_.ReportFailure(offer, {code, {}, {}, {}}, picture->GetImageTag()));
  }
  job->sequence = nextTaken_++;
  ++inFlight_;
  engine_.Begin(*job);
}

CaptureError ImageRun::GetReadError(const CImageData& image) const {
  const bool isRead = image.GetBytes() != nullptr;
  if (readErrors_ == nullptr || isRead) return {EC_ImageDataParameterInvalid, {}, {}, {}};
  return readErrors_->GetReadError(image);
}

void ImageRun::DeliverDone() {
  while (const NxRef<CaptureJob> job = TakeDone()) {
    --inFlight_;
    if (error_ != nullptr) continue;
    const SpanScope span(engine_.GetObservers(), RunStage::kReport, "report", job->number);
    Deliver(job->sequence, engine_.Report(*job));
  }
}

void ImageRun::Deliver(std::int64_t sequence, NxRef<CaptureResult> result) {
  if (!options_.inOrder) return HandOver(result);
  waiting_.emplace(sequence, std::move(result));
  while (error_ == nullptr && !waiting_.empty() && waiting_.begin()->first == nextDelivered_) {
    const NxRef<CaptureResult> next = waiting_.begin()->second;
    waiting_.erase(waiting_.begin());
    ++nextDelivered_;
    HandOver(next);
  }
}

void ImageRun::HandOver(const NxRef<CaptureResult>& result) {
  {
    const MutexLock lock(countsMutex_);
    ++delivered_;
  }
  try {
    handler_(result);
  } catch (...) {
    error_ = std::current_exception();
  }
}

void ImageRun::OnJobDone(CaptureJob& job) noexcept {
  engine_.Release(job);
  job.retain();
  // Notified with the lock held: the run may be gone as soon as it is free.
  const MutexLock lock(mutex_);
  (firstDone_ == nullptr ? firstDone_ : lastDone_->nextDone) = &job;
  lastDone_ = &job;
  wakeUp_.notify_one();
}

NxRef<CaptureJob> ImageRun::TakeDone() {
  const MutexLock lock(mutex_);
  NxRef<CaptureJob> job = firstDone_;
  if (!job) return job;
  firstDone_ = job->nextDone;
  job->release();  // the list's; the reference that is returned remains
  return job;
}

void ImageRun::Wake() noexcept {
  const MutexLock lock(mutex_);
  isWoken_ = true;
  wakeUp_.notify_one();
}

void ImageRun::Wait(bool mayHaveMore) {
  const bool asksAgain = !mayHaveMore && !IsStopping();
  if (inFlight_ == 0 && !asksAgain) return;
  WaitingLock lock(mutex_);
  const auto mayGoOn = [this]()
                           VELMORA_REQUIRES(mutex_) { return isWoken_ || firstDone_ != nullptr; };
  if (asksAgain) {
    wakeUp_.wait_for(lock.Native(), kTick, mayGoOn);
  } else {
    wakeUp_.wait(lock.Native(), mayGoOn);
  }
  isWoken_ = false;
}

// A source may make images without its buffer, or take several out of it at once.
void ImageRun::AddCountsTo(CaptureStatistics& counts) const {
  // The source is asked with the lock held: an image that was taken in between would be counted as
  // buffered and as taken.
  const MutexLock lock(countsMutex_);
  const ImageSourceStatistics now = source_.GetStatistics();
  const std::int64_t handedOut = Count(now.delivered - before_.delivered);
  const std::int64_t dropped = Count(now.dropped - before_.dropped);
  const std::int64_t refused = Count(now.refused - before_.refused);
  const std::int64_t queued = std::max(taken_, handedOut) - delivered_ + Count(now.buffered);
  counts.delivered += delivered_;
  counts.dropped += dropped;
  counts.refused += refused;
  counts.queued += queued;
  counts.offered += delivered_ + dropped + refused + queued;
}

void ImageRun::AddFinalCountsTo(CaptureStatistics& counts) const {
  const MutexLock lock(countsMutex_);
  const ImageSourceStatistics now = source_.GetStatistics();
  const std::int64_t dropped = Count(now.dropped - before_.dropped);
  const std::int64_t refused = Count(now.refused - before_.refused);
  counts.delivered += delivered_;
  counts.dropped += dropped;
  counts.refused += refused;
  counts.offered += delivered_ + dropped + refused;
}

}  // namespace velmora::capture
