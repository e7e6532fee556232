/// @file
/// Results for handlers that are called later.
#pragma once

#include <condition_variable>
#include <memory>
#include <thread>

#include "velmora_capture/capture.h"
#include "velmora_capture/internal/capture_job.h"

#include "velmora/platform/mutex.h"

namespace velmora::capture {

class CaptureEngine;
struct Offer;

/// The images of `Capture::Submit`, and the thread that calls their handlers.
///
/// @threadsafety any thread
class Delivery {
 public:
  explicit Delivery(CaptureEngine& engine);
  ~Delivery() { Stop(); }
  Delivery(const Delivery&) = delete;
  Delivery& operator=(const Delivery&) = delete;

  /// Takes no more images, not even from handlers, and waits until every handler was called.
  void Stop();

  /// As `Capture::Submit`. @throws std::bad_alloc; the handler is not called then
  int Submit(std::unique_ptr<basic_structures::CImageData> image, Capture::Handler handler,
             int waitMs);

 private:
  class Submission;

  bool Begin(const Offer& offer, std::unique_ptr<basic_structures::CImageData> image,
             Capture::Handler handler);
  bool WaitForRoom(int waitMs);
  void GiveRoomBack();
  void Push(Submission& submission) noexcept;
  void RunThread();
  void HandOver(Submission& submission) noexcept;

  CaptureEngine& engine_;
  Mutex mutex_;
  std::condition_variable wakeUp_;  // something is to be delivered, or to stop
  std::condition_variable hasRoom_;
  int inFlight_ VELMORA_GUARDED_BY(mutex_) = 0;  // submitted and not yet delivered
  Submission* first_ VELMORA_GUARDED_BY(mutex_) =
      nullptr;  // owned; to be delivered, in the order of their end
  Submission* last_ VELMORA_GUARDED_BY(mutex_) = nullptr;
  bool isStopping_ VELMORA_GUARDED_BY(mutex_) = false;
  std::thread thread_;
};

}  // namespace velmora::capture
