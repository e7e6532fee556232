/// @file
/// Image in, results out.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "velmora/engine/work_object_base.h"
#include "velmora/foundation/ref.h"
#include "velmora/image/image_data.h"
#include "velmora/image/image_source_adapter.h"
#include "velmora_capture/capture_result.h"
#include "velmora_capture/capture_template.h"
#include "velmora_capture/export.h"
#include "velmora_capture/run_observer.h"

namespace velmora::capture {

class CaptureEngine;

/// How a `Capture` works. Receivers and observers are borrowed and outlive the Capture; what a
/// receiver wants to see is settled before.
struct CaptureOptions {
  std::string templateName;  ///< stands for the template in errors; empty for "template"
  int threads = 0;           ///< of the pool; 0 for as many as there are processors
  int timeoutMs = 0;         ///< time budget of an image; 0 for the template's
  bool keepImages = false;   ///< whether results keep their image
  bool keepTrace = false;    ///< whether single spans are kept for `WriteTrace`; sums always are
  std::vector<std::string> moduleFolders;      ///< UTF-8; searched first for modules
  IntermediateResultReceiverVector receivers;  ///< of intermediate results
  std::vector<RunObserver*> observers;
};

/// How `Capture::Run` works.
struct RunOptions {
  bool inOrder = true;  ///< hand results over as the images were taken, otherwise as they are done
};

/// An image source whose pictures may fail to read implements this beside `CImageSourceAdapter`.
///
/// Such a picture takes its place among the others: the source hands out an image without pixels,
/// and its result holds the error that this function tells.
class ReadErrorSource {
 public:
  /// @param image  without pixels, as it came from `GetImage`
  virtual CaptureError GetReadError(const basic_structures::CImageData& image) const = 0;
  /// When the image was read: `RunMoment::Now()` on the thread that did it, before and after.
  /// @return false if nobody knows
  virtual bool GetReadMoments(const basic_structures::CImageData& image, RunMoment& begin,
                              RunMoment& end) const = 0;

 protected:
  ~ReadErrorSource() = default;
};

/// What a task did so far.
struct TaskCounts {
  std::string definition;
  std::string task;
  std::string module;
  std::vector<std::string> unlessFoundBy;
  bool isLeftOut = false;        ///< optional, and its module is missing
  std::int64_t runs = 0;         ///< pieces of work that ended
  std::int64_t found = 0;        ///< regions and codes
  std::int64_t nanoseconds = 0;  ///< of the modules' work, processor time where the system tells
  std::int64_t failures = 0;     ///< errors but for time-outs
  std::int64_t timeouts = 0;
};

/// Processor time of a stage, all threads added up.
struct StageTime {
  RunStage stage;
  std::string name;
  std::int64_t nanoseconds = 0;
  std::int64_t count = 0;
};

/// What a Capture did so far, as it was at one instant:
/// offered == delivered + dropped + refused + queued.
struct CaptureStatistics {
  std::int64_t offered = 0;  ///< images: of `Read`, `ReadFile` and `Submit`, and of a Run's source
  std::int64_t delivered = 0;     ///< results handed over
  std::int64_t dropped = 0;       ///< by a Run's source, for want of room
  std::int64_t refused = 0;       ///< by the Capture or a Run's source
  std::int64_t queued = 0;        ///< accepted, or in the buffer of a Run's source
  std::vector<TaskCounts> tasks;  ///< in the order of the template
};

/// A template, made ready: takes images and gives results.
///
///     std::vector<TemplateError> errors;
///     const auto capture = Capture::Create(GetDefaultTemplate(), {}, errors);
///     const NxRef<CaptureResult> result = capture->ReadFile("label.jpg");
///     for (int i = 0; i < result->GetCodeCount(); ++i) std::cout << result->GetCode(i).GetText();
///
/// Immutable: a new template is a new Capture. Several may live in one process; each has its
/// threads, its clock, its statistics and its trace, while modules and the log are the process's.
/// It configures no log, prints nothing, handles no signal, and wakes no thread while it is idle.
///
/// @threadsafety every operation from any thread. The destructor cancels and waits; it is never
///               called from a handler, nor while another call is running.
class VELMORA_CAPTURE_EXPORT Capture {
 public:
  using Handler = std::function<void(const NxRef<CaptureResult>&)>;

  /// Reads a template, loads the modules it names and starts the threads.
  ///
  /// @param templateText  JSON; docs/capture.md lists the keys
  /// @param errors        receives all faults; empty if there is none
  /// @return null if there is an error
  [[nodiscard]] static std::unique_ptr<Capture> Create(const std::string& templateText,
                                                       const CaptureOptions& options,
                                                       std::vector<TemplateError>& errors);

  Capture(const Capture&) = delete;
  Capture& operator=(const Capture&) = delete;
  ~Capture();

  /// Captures one image and waits for the result. The pixels are borrowed until it returns.
  ///
  /// @return never empty; what went wrong is in the result: `EC_CallRejectedWhileCapturing`
  ///         (-10062) if the caller is a thread of this Capture's pool
  /// @throws std::bad_alloc if there is no memory even for a result that says so
  NxRef<CaptureResult> Read(const basic_structures::CImageData& image);

  /// Reads and decodes a file, then captures it as `Read` does.
  /// @param path  UTF-8; kept in the result's file tag
  NxRef<CaptureResult> ReadFile(const std::string& path);

  /// Takes images from @p source until it has no more, and hands the results to @p handler, on the
  /// calling thread.
  ///
  /// The source is fetching already. `source.GetImage` is asked every 5 ms while it has nothing,
  /// and at once after `NotifySource`.
  /// The source's errors are results too (`ReadErrorSource`). Ends early when the run is cancelled.
  /// What the handler or the source throws leaves `Run` once nothing is in flight.
  ///
  /// @return 0; -10062 if another Run is going on, or the caller is a thread of the pool
  int Run(basic_structures::CImageSourceAdapter& source, const Handler& handler,
          const RunOptions& options = {});

  /// Tells a Run that its source has an image, or has come to its end.
  void NotifySource();

  /// Queues an image and returns; @p handler gets the result on the delivery thread, one result at
  /// a time, as they are done. It must not wait for this Capture, nor destroy it; what it throws is
  /// dropped.
  ///
  /// @param image   taken over
  /// @param waitMs  how long to wait for room; not at all on the delivery thread
  /// @return 0; otherwise the handler is not called: -10062 if there was no room, if the Capture is
  ///         being destroyed, or if a thread of its pool would have to wait for cancelled work;
  ///         -10001 if there was no memory, -10002 if there is no image
  int Submit(std::unique_ptr<basic_structures::CImageData> image, Handler handler, int waitMs);

  /// Ends the work on all images that were accepted until now; their results say so. Images that
  /// come later wait until that work has ended.
  void Cancel();

  CaptureStatistics GetStatistics() const;
  std::vector<StageTime> GetStageTimes() const;
  int GetThreadCount() const;
  /// Sentences on what the user may not have meant: optional tasks whose module is missing, a
  /// template without an output.
  const std::vector<std::string>& GetNotes() const;

  /// Writes the spans in the trace-event format that Perfetto and chrome://tracing open.
  void WriteTrace(std::ostream& out) const;
  /// The graph with the times and states so far, in the DOT language of Graphviz.
  std::string GetGraphDot() const;

 private:
  explicit Capture(std::unique_ptr<CaptureEngine> engine);

  const std::unique_ptr<CaptureEngine> engine_;
};

}  // namespace velmora::capture
