/// @file
/// What runs behind a `Capture`.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "velmora/engine/data_manager_pool.h"
#include "velmora/platform/mutex.h"
#include "velmora_capture/capture.h"
#include "velmora_capture/internal/capture_graph.h"
#include "velmora_capture/internal/clock_thread.h"
#include "velmora_capture/internal/observers.h"
#include "velmora_capture/internal/receivers.h"
#include "velmora_capture/internal/statistics.h"
#include "velmora_capture/internal/template.h"
#include "velmora_capture/internal/thread_pool.h"
#include "velmora_capture/internal/trace.h"

namespace velmora::capture {

class Delivery;
class ImageRun;

/// An image that was offered to a Capture: what is known about it before it is a job.
struct Offer {
  std::int64_t number = 0;         ///< of the job
  std::int64_t cancellations = 0;  ///< until it was offered
  std::chrono::steady_clock::time_point time;
  std::int64_t readNanoseconds = 0;
};

/// The threads and the graph of a Capture, and the images that are on their way.
///
/// An image is offered, becomes a job that begins, ends and is released, and is reported as a
/// result: `Read` does all of that on its caller's thread, `ImageRun` and `Delivery` for many
/// images at once.
///
/// @threadsafety any thread, but for `Prepare`
class CaptureEngine {
 public:
  explicit CaptureEngine(const CaptureOptions& options);
  ~CaptureEngine();
  CaptureEngine(const CaptureEngine&) = delete;
  CaptureEngine& operator=(const CaptureEngine&) = delete;

  /// Reads the template and starts the threads.
  /// @return false if there are errors
  bool Prepare(const std::string& templateText, std::vector<TemplateError>& errors);
  /// Starts the threads for a graph that is there already, made for @p source.
  void Prepare(Template source, NxRef<CaptureGraph> graph);

  /// @name As the operations of Capture
  /// @{
  NxRef<CaptureResult> Read(const basic_structures::CImageData& image);
  NxRef<CaptureResult> ReadFile(const std::string& path);
  int Run(basic_structures::CImageSourceAdapter& source, const Capture::Handler& handler,
          const RunOptions& options);
  void NotifySource();
  int Submit(std::unique_ptr<basic_structures::CImageData> image, Capture::Handler handler,
             int waitMs);
  void Cancel();
  CaptureStatistics GetStatistics() const;
  std::string GetGraphDot() const;
  int GetThreadCount() const { return pool_->GetThreadCount(); }
  const std::vector<std::string>& GetNotes() const { return notes_; }
  const Trace& GetTrace() const { return trace_; }
  /// @}

  /// @name For the work objects of a graph
  /// @{
  NxDataManagerPool& GetManagers() { return managers_; }
  IntermediateResultReceiverVector& GetReceivers() { return receivers_.GetForWork(); }
  /// @}

  /// @name The stations of an image
  /// @{

  /// Numbers an image, and counts it unless a run's source does.
  Offer MakeOffer(bool isCounted);
  /// @param picture  readable
  /// @return empty if it has too many pixels
  /// @throws std::bad_alloc
  NxRef<CaptureJob> MakeJob(const Offer& offer, const NxRef<NxImageData>& picture, JobOwner& owner);
  /// Begins the work; waits before that until cancelled images have ended.
  /// @return false, with nothing begun, if a thread of the pool would have to wait: the cancelled
  ///         image may be its own
  bool Begin(CaptureJob& job);
  /// To be called first by a job's owner when the job is done.
  void Release(CaptureJob& job) noexcept;
  /// The result of a job that is done.
  NxRef<CaptureResult> Report(const CaptureJob& job);
  NxRef<CaptureResult> ReportFailure(const Offer& offer, const CaptureError& error,
                                     const basic_structures::CImageTag* tag);
  void CountDelivered();
  /// Counts an offered image as refused after all, for want of memory.
  void TakeBack();
  /// Counts an image that was offered and not taken.
  void CountRefused();

  /// @}

  /// Introduces the calling thread to the observers, once.
  /// @param name  empty for a caller's
  void IntroduceThread(std::string name = {});
  const Observers& GetObservers() const { return observers_; }
  /// Tells the observers of a span of the thread of an image source.
  void TellRead(const RunSpan& span);
  /// How many images keep all threads busy while the next are prepared.
  int GetMostInFlight() const { return 2 * GetThreadCount(); }
  bool IsPoolThread() const { return pool_->IsOwnThread(); }
  /// How often `Cancel` was called.
  std::int64_t GetCancellations() const;

 private:
  template <typename Call>
  NxRef<CaptureResult> ReadOne(const Call& read);
  NxRef<CaptureResult> ReadPicture(const Offer& offer, const NxRef<NxImageData>& picture);
  Delivery& GetDelivery();

  const CaptureOptions options_;
  const std::uint64_t serial_;  // no two engines of a process have the same
  Receivers receivers_;
  Observers observers_;    // ours and the caller's
  Observers callersOnly_;  // the caller's
  Statistics statistics_;
  Trace trace_;
  NxDataManagerPool managers_;
  Template template_;
  std::vector<std::string> notes_;
  NxRef<CaptureGraph> graph_;

  mutable Mutex mutex_;               // taken before those of clock and run
  std::condition_variable mayBegin_;  // what was cancelled has ended
  CaptureJob* firstInFlight_ VELMORA_GUARDED_BY(mutex_) = nullptr;
  int cancelledInFlight_ VELMORA_GUARDED_BY(mutex_) = 0;
  std::int64_t cancellations_ VELMORA_GUARDED_BY(mutex_) = 0;
  std::int64_t nextNumber_ VELMORA_GUARDED_BY(mutex_) = 0;
  ImageRun* run_ VELMORA_GUARDED_BY(mutex_) = nullptr;
  CaptureStatistics counts_ VELMORA_GUARDED_BY(mutex_);  // without those of the present run
  std::set<std::thread::id> introduced_ VELMORA_GUARDED_BY(mutex_);
  std::unique_ptr<Delivery> delivery_ VELMORA_GUARDED_BY(mutex_);  // made by the first Submit

  std::unique_ptr<CaptureThreadPool> pool_;
  std::unique_ptr<ClockThread> clock_;
};

}  // namespace velmora::capture
