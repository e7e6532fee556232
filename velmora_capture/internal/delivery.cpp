#include "velmora_capture/internal/delivery.h"

#include <chrono>
#include <new>
#include <utility>

#include "velmora/foundation/error_code.h"
#include "velmora_capture/internal/capture_engine.h"
#include "velmora_capture/internal/source_image.h"

namespace velmora::capture {

using namespace basic_structures;

/// One submitted image.
class Delivery::Submission final : public JobOwner {
 public:
  Submission(Delivery& delivery, const Offer& offer, Capture::Handler handler)
      : handler_(std::move(handler)), offer_(offer), delivery_(delivery) {}

  void OnJobDone(CaptureJob& job) noexcept override {
    delivery_.engine_.Release(job);
    delivery_.Push(*this);
  }

  const Capture::Handler handler_;
  const Offer offer_;
  NxRef<CaptureJob> job_;         // empty if there was nothing to work on
  NxRef<CaptureResult> failure_;  // what is handed over then, or if there is no memory to report
  Submission* next_ = nullptr;

 private:
  Delivery& delivery_;
};

Delivery::Delivery(CaptureEngine& engine) : engine_(engine), thread_([this] { RunThread(); }) {}

void Delivery::Stop() {
  {
    const MutexLock lock(mutex_);
    isStopping_ = true;
  }
  wakeUp_.notify_one();
  if (thread_.joinable()) thread_.join();
}

int Delivery::Submit(std::unique_ptr<CImageData> image, Capture::Handler handler, int waitMs) {
  if (!WaitForRoom(waitMs)) {
    engine_.CountRefused();
    return EC_CallRejectedWhileCapturing;
  }
  engine_.IntroduceThread();
  const Offer offer = engine_.MakeOffer(true);
  try {
    if (Begin(offer, std::move(image), std::move(handler))) return EC_Ok;
  } catch (...) {
    GiveRoomBack();
    throw;
  }
  GiveRoomBack();
  return EC_CallRejectedWhileCapturing;
}

void Delivery::GiveRoomBack() {
  engine_.TakeBack();
  const MutexLock lock(mutex_);
  --inFlight_;
  hasRoom_.notify_one();
}

// False, with nothing begun, if the image would have to wait on a thread of the pool.
bool Delivery::Begin(const Offer& offer, std::unique_ptr<CImageData> image,
                     Capture::Handler handler) {
  auto owned = std::make_unique<Submission>(*this, offer, std::move(handler));
  const NxRef<NxImageData> picture = TakeOverImage(std::move(image));
  const bool isReadable = IsReadable(*picture);
  if (isReadable) owned->job_ = engine_.MakeJob(offer, picture, *owned);
  const NxRef<CaptureJob> job = owned->job_;
  int code = isReadable ? EC_ImagePixelFormatNotMet : EC_ImageDataParameterInvalid;
  if (job) code = EC_NoMemory;
  owned->failure_ = engine_.ReportFailure(offer, {code, {}, {}, {}}, picture->GetImageTag());
  // From here on its end decides how long the submission lives.
  Submission& submission = *owned.release();
  if (!job) {
    Push(submission);
  } else if (!engine_.Begin(*job)) {
    owned.reset(&submission);
    return false;
  }
  return true;
}

bool Delivery::WaitForRoom(int waitMs) {
  // Neither the delivery nor the pool waits for itself.
  const bool mayWait = std::this_thread::get_id() != thread_.get_id() && !engine_.IsPoolThread();
  WaitingLock lock(mutex_);
  const auto hasRoom = [this]() VELMORA_REQUIRES(mutex_) {
    return inFlight_ < engine_.GetMostInFlight();
  };
  const std::chrono::milliseconds wait(mayWait && waitMs > 0 ? waitMs : 0);
  if (isStopping_ || !hasRoom_.wait_for(lock.Native(), wait, hasRoom)) return false;
  ++inFlight_;
  return true;
}

void Delivery::Push(Submission& submission) noexcept {
  // Notified with the lock held: the delivery may be gone as soon as it is free.
  const MutexLock lock(mutex_);
  (first_ == nullptr ? first_ : last_->next_) = &submission;
  last_ = &submission;
  wakeUp_.notify_one();
}

void Delivery::RunThread() {
  try {
    engine_.IntroduceThread("delivery");
  } catch (const std::bad_alloc&) {  // NOLINT(bugprone-empty-catch): the trace leaves it out
  }
  WaitingLock lock(mutex_);
  for (;;) {
    wakeUp_.wait(lock.Native(), [this]() VELMORA_REQUIRES(mutex_) {
      return first_ != nullptr || (isStopping_ && inFlight_ == 0);
    });
    const std::unique_ptr<Submission> next(first_);
    if (next == nullptr) return;
    first_ = next->next_;
    --inFlight_;
    hasRoom_.notify_one();
    lock.Unlock();
    HandOver(*next);
    lock.Lock();
  }
}

void Delivery::HandOver(Submission& submission) noexcept {
  const SpanScope span(engine_.GetObservers(), RunStage::kReport, "report",
                       submission.offer_.number);
  NxRef<CaptureResult> result = submission.failure_;
  try {
    if (submission.job_) result = engine_.Report(*submission.job_);
  } catch (const std::bad_alloc&) {  // NOLINT(bugprone-empty-catch): then the failure it is
  }
  try {
    engine_.CountDelivered();
    submission.handler_(result);
  } catch (...) {  // NOLINT(bugprone-empty-catch): the handler is not to throw; others wait
  }
}

}  // namespace velmora::capture
