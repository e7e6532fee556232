#include "velmora_capture/internal/capture_engine.h"

#include <algorithm>
#include <atomic>
#include <new>
#include <utility>

#include "velmora/foundation/error_code.h"
#include "velmora/platform/mutex.h"
#include "velmora/region/region_image_info.h"
#include "velmora_capture/image_file/image_file.h"
#include "velmora_capture/internal/delivery.h"
#include "velmora_capture/internal/graph_builder.h"
#include "velmora_capture/internal/graph_picture.h"
#include "velmora_capture/internal/image_run.h"
#include "velmora_capture/internal/module_registry.h"
#include "velmora_capture/internal/result_builder.h"
#include "velmora_capture/internal/source_image.h"

namespace velmora::capture {

using namespace basic_structures;

namespace {

using Clock = std::chrono::steady_clock;

std::int64_t Nanoseconds(Clock::duration time) {
  return std::chrono::duration_cast<std::chrono::nanoseconds>(time).count();
}

std::uint64_t NextSerial() {
  static std::atomic<std::uint64_t> serial{0};
  return ++serial;
}

CaptureError ErrorOf(int code) {
  return {code, {}, {}, {}};
}

// Waits for one job.
class Waiter final : public JobOwner {
 public:
  explicit Waiter(CaptureEngine& engine) : engine_(engine) {}

  void OnJobDone(CaptureJob& job) noexcept override {
    engine_.Release(job);
    // Notified with the lock held: who waits may destroy this as soon as it is free.
    const MutexLock lock(mutex_);
    isDone_ = true;
    done_.notify_one();
  }
  void Wait() {
    WaitingLock lock(mutex_);
    done_.wait(lock.Native(), [this] { return isDone_; });
  }

 private:
  CaptureEngine& engine_;
  Mutex mutex_;
  std::condition_variable done_;
  bool isDone_ = false;
};

}  // namespace

CaptureEngine::CaptureEngine(const CaptureOptions& options)
    : options_(options),
      serial_(NextSerial()),
      receivers_(options.receivers),
      trace_(options.keepTrace) {
  observers_.Add(&statistics_);
  observers_.Add(&trace_);
  for (RunObserver* observer : options.observers) {
    observers_.Add(observer);
    callersOnly_.Add(observer);
  }
}

CaptureEngine::~CaptureEngine() {
  Cancel();
  // A handler may submit until it has returned: the delivery stays in its place until then.
  Delivery* delivery = nullptr;
  {
    const MutexLock lock(mutex_);
    delivery = delivery_.get();
  }
  if (delivery != nullptr) delivery->Stop();
  // No other call is running: nothing is in flight.
  if (pool_ != nullptr) pool_->Stop();
}

bool CaptureEngine::Prepare(const std::string& templateText, std::vector<TemplateError>& errors) {
  JsonDocument document(options_.templateName.empty() ? "template" : options_.templateName,
                        templateText);
  Template source;
  NxRef<CaptureGraph> graph;
  if (document.Parse()) source = ReadTemplate(document);
  if (document.GetErrors().empty()) {
    const ModuleRegistry registry(options_.moduleFolders);
    GraphBuilder builder(registry, managers_, GetReceivers(), document);
    graph = builder.Build(source);
    notes_ = builder.GetNotes();
  }
  errors = document.GetErrors();
  if (errors.empty()) Prepare(std::move(source), std::move(graph));
  return errors.empty();
}

void CaptureEngine::Prepare(Template source, NxRef<CaptureGraph> graph) {
  template_ = std::move(source);
  if (options_.timeoutMs > 0) template_.timeoutMs = options_.timeoutMs;
  graph_ = std::move(graph);
  graph_->SetManagerPool(&managers_);
  graph_->SetObservers(observers_);
  if (!options_.receivers.empty()) graph_->SetReceivers(receivers_);
  std::vector<std::string> running;
  for (const CaptureDefinition* definition : graph_->GetDefinitions()) {
    for (const NxRef<NxTargetTaskSetting>& task : definition->GetTasks()) {
      running.push_back(task->GetTaskFullName());
    }
  }
  for (const CaptureDefinition* definition : graph_->GetDefinitions()) {
    for (const NxRef<NxTargetTaskSetting>& task : definition->GetTasks()) {
      receivers_.ObserveTask(task->GetTaskName().c_str());
    }
  }
  statistics_.AddTasks(template_, running);
  const int processors = std::max(1, static_cast<int>(std::thread::hardware_concurrency()));
  pool_ = std::make_unique<CaptureThreadPool>(options_.threads > 0 ? options_.threads : processors,
                                              observers_);
  clock_ = std::make_unique<ClockThread>(managers_);
}

NxRef<CaptureResult> CaptureEngine::Read(const CImageData& image) {
  return ReadOne([&](Offer& offer) {
    if (!IsReadable(image)) {
      return ReportFailure(offer, ErrorOf(EC_ImageDataParameterInvalid), image.GetImageTag());
    }
    // A receiver may keep a unit, and with it the image.
    const bool isKept = options_.keepImages || !options_.receivers.empty();
    return ReadPicture(offer, isKept ? CopyImage(image) : BorrowImage(image));
  });
}

NxRef<CaptureResult> CaptureEngine::ReadFile(const std::string& path) {
  return ReadOne([&](Offer& offer) {
    LoadedImage loaded;
    {
      const SpanScope span(observers_, RunStage::kRead, "read", offer.number);
      loaded = LoadImageFile(path, -1);
    }
    offer.readNanoseconds = Nanoseconds(Clock::now() - offer.time);
    if (loaded.image != nullptr) return ReadPicture(offer, TakeOverImage(std::move(loaded.image)));
    const CFileImageTag tag(path.c_str(), 0, 1);
    return ReportFailure(offer, {loaded.code, loaded.reason, {}, {}}, &tag);
  });
}

// Offers an image that `read` makes a result of, and counts it.
template <typename Call>
NxRef<CaptureResult> CaptureEngine::ReadOne(const Call& read) {
  if (IsPoolThread()) {
    CountRefused();
    return ResultBuilder::MakeFailure(ErrorOf(EC_CallRejectedWhileCapturing), nullptr, -1, {});
  }
  IntroduceThread();
  Offer offer = MakeOffer(true);
  try {
    NxRef<CaptureResult> result;
    try {
      result = read(offer);
    } catch (const std::bad_alloc&) {
      result = ReportFailure(offer, ErrorOf(EC_NoMemory), nullptr);
    }
    CountDelivered();
    return result;
  } catch (...) {
    TakeBack();
    throw;
  }
}

NxRef<CaptureResult> CaptureEngine::ReadPicture(const Offer& offer,
                                                const NxRef<NxImageData>& picture) {
  Waiter waiter(*this);
  const NxRef<CaptureJob> job = MakeJob(offer, picture, waiter);
  if (!job) return ReportFailure(offer, ErrorOf(EC_ImagePixelFormatNotMet), picture->GetImageTag());
  Begin(*job);
  waiter.Wait();
  const SpanScope span(observers_, RunStage::kReport, "report", offer.number);
  return Report(*job);
}

int CaptureEngine::Run(CImageSourceAdapter& source, const Capture::Handler& handler,
                       const RunOptions& options) {
  if (IsPoolThread()) return EC_CallRejectedWhileCapturing;
  IntroduceThread();
  ImageRun run(*this, source, handler, options);
  {
    const MutexLock lock(mutex_);
    if (run_ != nullptr) return EC_CallRejectedWhileCapturing;
    run_ = &run;
  }
  run.Go();
  {
    const MutexLock lock(mutex_);
    run.AddFinalCountsTo(counts_);
    run_ = nullptr;
  }
  run.RethrowError();
  return EC_Ok;
}

void CaptureEngine::NotifySource() {
  const MutexLock lock(mutex_);
  if (run_ != nullptr) run_->Wake();
}

int CaptureEngine::Submit(std::unique_ptr<CImageData> image, Capture::Handler handler, int waitMs) {
  if (image == nullptr) return EC_NullPointer;
  try {
    return GetDelivery().Submit(std::move(image), std::move(handler), waitMs);
  } catch (const std::bad_alloc&) {
    return EC_NoMemory;
  }
}

Delivery& CaptureEngine::GetDelivery() {
  const MutexLock lock(mutex_);
  if (delivery_ == nullptr) delivery_ = std::make_unique<Delivery>(*this);
  return *delivery_;
}

void CaptureEngine::Cancel() {
  const MutexLock lock(mutex_);
  ++cancellations_;
  for (CaptureJob* job = firstInFlight_; job != nullptr; job = job->nextInFlight) {
    if (job->isCancelled.exchange(true)) continue;
    ++cancelledInFlight_;
  }
  if (cancelledInFlight_ > 0) managers_.GetTaskEffectTimeManager()->SetTimePointToTaskEffect(1);
  mayBegin_.notify_all();
  if (run_ != nullptr) run_->Wake();
}

Offer CaptureEngine::MakeOffer(bool isCounted) {
  const MutexLock lock(mutex_);
  if (isCounted) {
    ++counts_.offered;
    ++counts_.queued;
  }
  return {nextNumber_++, cancellations_, Clock::now(), 0};
}

NxRef<CaptureJob> CaptureEngine::MakeJob(const Offer& offer, const NxRef<NxImageData>& picture,
                                         JobOwner& owner) {
  const auto begin = Clock::now();
  NxRef<NxImageData> grey;
  {
    const SpanScope span(observers_, RunStage::kConvert, "convert", offer.number,
                         picture->GetImageTag());
    grey = MakeGrey(picture);
  }
  if (!grey) return nullptr;
  const auto converted = Clock::now();
  // Both are the same image to whoever compares ids, and hashing it once is enough.
  if (grey != picture) grey->SetHashID(picture->GetHashID());
  NxRef<NxSourceImageObject> source = new NxSourceImageObject(
      picture.get(), static_cast<std::uint64_t>(offer.number), template_.timeoutMs);
  source->SetManagerPool(&managers_);
  // The grey image has the coordinates of the picture: no matrix stands for the identity.
  const NxRef<NxRegionImageInfo> info = new NxRegionImageInfo(grey.get(), nullptr);
  const NxRef<NxRegionObject> whole =
      new NxRegionObject(source.get(), intermediate_results::ROET_Default, info, nullptr);
  NxRef<CaptureJob> job = new CaptureJob(*graph_, whole, pool_.get(), owner);
  job->number = offer.number;
  job->cancellations = offer.cancellations;
  job->offered = offer.time;
  job->readNanoseconds = offer.readNanoseconds;
  job->convertNanoseconds = Nanoseconds(converted - begin);
  return job;
}

bool CaptureEngine::Begin(CaptureJob& job) {
  {
    WaitingLock lock(mutex_);
    const auto wasCancelled = [&]() VELMORA_REQUIRES(mutex_) {
      return job.cancellations != cancellations_;
    };
    const auto mayBegin = [&]() VELMORA_REQUIRES(mutex_) {
      return cancelledInFlight_ == 0 || wasCancelled();
    };
    if (IsPoolThread() && !mayBegin()) return false;
    mayBegin_.wait(lock.Native(), mayBegin);
    if (wasCancelled()) {
      job.isCancelled = true;
      ++cancelledInFlight_;
      managers_.GetTaskEffectTimeManager()->SetTimePointToTaskEffect(1);
    }
    job.nextInFlight = firstInFlight_;
    if (firstInFlight_ != nullptr) firstInFlight_->previousInFlight = &job;
    firstInFlight_ = &job;
    if (job.nextInFlight == nullptr) clock_->SetBusy(true);
  }
  const SpanScope span(observers_, RunStage::kSchedule, "start", job.number);
  job.Start();
  return true;
}

void CaptureEngine::Release(CaptureJob& job) noexcept {
  job.done = Clock::now();
  const MutexLock lock(mutex_);
  CaptureJob* const next = job.nextInFlight;
  if (next != nullptr) next->previousInFlight = job.previousInFlight;
  (job.previousInFlight != nullptr ? job.previousInFlight->nextInFlight : firstInFlight_) = next;
  if (firstInFlight_ == nullptr) clock_->SetBusy(false);
  if (!job.isCancelled || --cancelledInFlight_ > 0) return;
  managers_.GetTaskEffectTimeManager()->SetTimePointToTaskEffect(0);
  mayBegin_.notify_all();
}

NxRef<CaptureResult> CaptureEngine::Report(const CaptureJob& job) {
  try {
    return ResultBuilder::Build(*graph_, job, options_.keepImages, statistics_);
  } catch (const std::bad_alloc&) {
    return ResultBuilder::MakeFailure(ErrorOf(EC_NoMemory), nullptr, job.number, {});
  }
}

NxRef<CaptureResult> CaptureEngine::ReportFailure(const Offer& offer, const CaptureError& error,
                                                  const CImageTag* tag) {
  return ResultBuilder::MakeFailure(
      error, tag, offer.number,
      {offer.readNanoseconds, 0, 0, Nanoseconds(Clock::now() - offer.time)});
}

void CaptureEngine::CountDelivered() {
  const MutexLock lock(mutex_);
  --counts_.queued;
  ++counts_.delivered;
}

void CaptureEngine::TakeBack() {
  const MutexLock lock(mutex_);
  --counts_.queued;
  ++counts_.refused;
}

void CaptureEngine::CountRefused() {
  const MutexLock lock(mutex_);
  ++counts_.offered;
  ++counts_.refused;
}

void CaptureEngine::IntroduceThread(std::string name) {
  thread_local std::uint64_t introducedTo = 0;
  if (introducedTo == serial_) return;
  bool isNew = false;
  {
    const MutexLock lock(mutex_);
    isNew = introduced_.insert(std::this_thread::get_id()).second;
    if (name.empty()) name = "caller " + std::to_string(introduced_.size());
  }
  if (isNew) observers_.ThreadStarted(name.c_str());
  introducedTo = serial_;
}

void CaptureEngine::TellRead(const RunSpan& span) {
  trace_.AddSourceSpan(span);
  callersOnly_.Ended(span);
}

std::int64_t CaptureEngine::GetCancellations() const {
  const MutexLock lock(mutex_);
  return cancellations_;
}

CaptureStatistics CaptureEngine::GetStatistics() const {
  CaptureStatistics statistics;
  {
    const MutexLock lock(mutex_);
    statistics = counts_;
    if (run_ != nullptr) run_->AddCountsTo(statistics);
  }
  statistics.tasks = statistics_.GetTasks();
  return statistics;
}

std::string CaptureEngine::GetGraphDot() const {
  return DrawGraph(template_, statistics_.GetTasks());
}

}  // namespace velmora::capture
