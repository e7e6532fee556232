/// @file
/// One captured image while the tasks work on it: its errors and its time budget.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

#include "velmora/foundation/error_code.h"
#include "velmora/foundation/object_base.h"
#include "velmora/foundation/ref.h"
#include "velmora/platform/export.h"
#include "velmora/platform/mutex.h"

namespace velmora {

class NxDataManagerPool;
class NxImageData;

/// How urgent a check point is. Check points accept it and treat all levels alike; the values
/// belong to the modules that pass them.
enum CheckPointLevel : std::int32_t {};

/// An error that a task reported on an image.
struct SourceImageErrorInfo {
  ErrorCode code = EC_Ok;
  /// What the reporter gave with it, each empty if it gave none. Work items give the target-ROI
  /// definition name and the task name first.
  std::array<std::string, 4> texts;
};

/// Stands for one captured image while tasks work on it: the image, its id, how much time may be
/// spent on it, and the errors that were reported on it.
///
/// Time is not measured here. Whoever does charges it with `AddTimeDuration`; a task that may take
/// long asks at its check points whether to go on:
///
///     int errorCode = 0;
///     if (sourceImage->IsCheckPointNeedExit(&errorCode, level)) return errorCode;
///
/// @threadsafety any thread, but for `SetManagerPool`, which comes before the object is shared
class VELMORA_EXPORT NxSourceImageObject : public NxObjectBase {
 public:
  /// With the log at level 1 and in text mode, this also files a JSON record of the image with the
  /// log: "HashId", "ImageId" (of the image's tag; -1 if it has none), "ImagePath" (of a file tag;
  /// else empty) and "Stages" (an empty array, for later stages).
  /// @param image      shared; may be null
  /// @param imageId    the caller's number for the capture
  /// @param timeoutMs  milliseconds that may be spent on the image
  NxSourceImageObject(NxImageData* image, std::uint64_t imageId, int timeoutMs);
  ~NxSourceImageObject() override;
  NxSourceImageObject(const NxSourceImageObject&) = delete;
  NxSourceImageObject& operator=(const NxSourceImageObject&) = delete;

  const NxRef<NxImageData>& GetImage() const { return image_; }
  std::uint64_t GetImageId() const { return imageId_; }

  /// The number of the JSON record, with which `NxLog::AddJsonStage` adds to it; 0 if none was
  /// filed.
  std::uint64_t GetLogRecordNumber() const { return logRecordNumber_; }

  /// The hash id of the image, computed from its bytes on the first call; empty without an image.
  const std::string& GetHashID() const;

  /// The pool whose time point the check points watch; not owned, it outlives this object. Null,
  /// as at construction, counts as a closed time point.
  void SetManagerPool(NxDataManagerPool* pool) { managerPool_ = pool; }
  NxDataManagerPool* GetManagerPool() const { return managerPool_; }

  int GetTimeOut() const { return timeoutMs_; }                       ///< milliseconds
  int GetElapsedTime() const { return elapsedMs_.load(kUnordered); }  ///< milliseconds

  /// Charges @p ms milliseconds to the image. The sum is 32-bit and wraps.
  void AddTimeDuration(int ms) { elapsedMs_.fetch_add(ms, kUnordered); }

  /// True once more time was charged than the time-out allows.
  bool IsTimeOut() const { return GetElapsedTime() > timeoutMs_; }

  /// Asks whether work on this image has to stop here: because the pool's time point is open, or
  /// because the image is over its budget (which is logged at level 9).
  /// @param errorCode  may be null; when the answer is true it gets 0 for an open time point and
  ///                   `EC_Timeout` for a spent budget, and is left alone otherwise
  /// @param level      not used
  bool IsCheckPointNeedExit(int* errorCode, CheckPointLevel level) const;

  /// Appends an error. A null text leaves the text of its place empty.
  void AddErrorCodeInfo(ErrorCode code, const char* text1, const char* text2, const char* text3,
                        const char* text4);

  /// The code of the error reported last; `EC_Ok` if there was none.
  ErrorCode GetErrorCode() const;

  /// A copy of all errors, in the order in which they were reported.
  std::vector<SourceImageErrorInfo> GetErrorRecords() const;

 private:
  // The elapsed time orders nothing else: a task that reads a sum one charge old stops one check
  // point later.
  static constexpr std::memory_order kUnordered = std::memory_order_relaxed;

  NxRef<NxImageData> image_;
  std::uint64_t imageId_;
  std::int32_t timeoutMs_;
  mutable Mutex mutex_;
  std::vector<SourceImageErrorInfo> errors_ VELMORA_GUARDED_BY(mutex_);
  NxDataManagerPool* managerPool_ = nullptr;
  std::atomic<std::int32_t> elapsedMs_{0};
  std::uint64_t logRecordNumber_ = 0;
};

}  // namespace velmora
