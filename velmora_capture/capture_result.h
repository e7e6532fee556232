/// @file
/// What a capture found in one image.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "velmora/foundation/ref.h"
#include "velmora/geometry/quadrilateral.h"
#include "velmora/image/image_data.h"
#include "velmora/results/captured_result_base.h"
#include "velmora/results/captured_result_item.h"
#include "velmora/results/item_base.h"
#include "velmora/results/result_imp_base.h"
#include "velmora_capture/export.h"

namespace velmora::capture {

/// The type of a `CodeItem`.
inline constexpr auto kCodeItemType = static_cast<basic_structures::CapturedResultItemType>(2);

/// A code that was read.
///
/// @threadsafety read-only once it is in a result; Retain() and Release() from any thread
class VELMORA_CAPTURE_EXPORT CodeItem final : public basic_structures::NxvItemBase,
                                              public basic_structures::CCapturedResultItem {
 public:
  /// What a module read, and where.
  struct Code {
    std::string symbology;  ///< "EAN-13", "QR"; never empty
    std::string text;       ///< UTF-8 wherever the code's bytes are text; may hold NUL bytes
    std::string bytes;      ///< the code's own bytes, before any interpretation as characters
    basic_structures::CQuadrilateral location;  ///< clockwise, in pixels of the image
  };

  CodeItem(Code code, const std::string& definition, const std::string& task);
  CodeItem(const CodeItem& other);
  CodeItem& operator=(const CodeItem&) = delete;
  ~CodeItem() override;

  const std::string& GetSymbology() const { return code_.symbology; }
  const std::string& GetText() const { return code_.text; }
  const std::string& GetBytes() const { return code_.bytes; }
  const basic_structures::CQuadrilateral& GetLocation() const { return code_.location; }

  /// Whether @p other is the same code, read once more: the same text at the same place.
  bool IsSameAs(const CodeItem& other) const;

  basic_structures::CapturedResultItemType GetType() const override { return kCodeItemType; }
  const basic_structures::CCapturedResultItem* GetReferenceItem() const override;
  const char* GetTargetROIDefName() const override;
  const char* GetTaskName() const override;
  [[nodiscard]] basic_structures::CCapturedResultItem* Clone() const override;
  void Retain() const override;
  void Release() const override;

 private:
  Code code_;
};

/// A region that a task found for other tasks to work on.
struct FoundRegion {
  basic_structures::CQuadrilateral location;  ///< clockwise, in pixels of the image
  std::string definition;
  std::string task;
};

/// An error of an image: reading it failed, or a task reported it.
struct CaptureError {
  int code = 0;            ///< an `ErrorCode`
  std::string text;        ///< more than the code's message; may be empty
  std::string definition;  ///< empty if no task reported it
  std::string task;
};

/// How long an image took, by the clock, in nanoseconds.
struct CaptureTimes {
  std::int64_t read = 0;     ///< reading and decoding the file; 0 for images from memory
  std::int64_t convert = 0;  ///< to grey
  std::int64_t work = 0;     ///< the modules' work, all threads added up
  std::int64_t total = 0;    ///< from acceptance to the result
};

/// The result of one image: its codes as items, and what happened on the way to them.
///
/// Complete when it is handed out, and independent of the `Capture` that made it, which it may
/// outlive. It keeps no pixels unless `CaptureOptions::keepImages` says so.
///
/// @threadsafety read-only once it is handed out; references from any thread
class VELMORA_CAPTURE_EXPORT CaptureResult final : public basic_structures::ResultImpBase,
                                                   public basic_structures::CCapturedResultBase {
 public:
  CaptureResult(const char* sourceImageHashId, const basic_structures::CImageTag* tag);
  ~CaptureResult() override;

  /// The codes, in the order of the template's definitions and tasks.
  int GetCodeCount() const { return static_cast<int>(GetResultItems().size()); }
  /// @param index  0 to GetCodeCount() - 1; not checked
  const CodeItem& GetCode(int index) const {
    return static_cast<const CodeItem&>(*GetResultItems()[static_cast<std::size_t>(index)]);
  }
  const std::vector<FoundRegion>& GetRegions() const { return regions_; }
  /// One entry for each error and task. `GetErrorCode()` is the code of the last.
  const std::vector<CaptureError>& GetErrors() const { return errors_; }
  const CaptureTimes& GetTimes() const { return times_; }

  /// Numbers images from 0 in the order in which the Capture accepted them.
  std::int64_t GetJobNumber() const { return jobNumber_; }
  /// Pixels of the image; 0 if it could not be read.
  int GetWidth() const { return width_; }
  int GetHeight() const { return height_; }
  /// Whether `Capture::Cancel` ended the work on it: what was found before is there.
  bool IsCancelled() const { return isCancelled_; }
  /// The image as captured; null unless it was to be kept.
  const basic_structures::CImageData* GetImage() const { return image_.get(); }

  /// The result as one JSON object in one line: "codes", "regions", "errors", "width", "height".
  /// Nothing in it depends on the run: no times, no numbers of jobs or threads.
  std::string ToJson() const;

  const char* GetSourceImageHashId() const override;
  /// Where the image came from: a clone of its tag, null if it had none.
  const basic_structures::CImageTag* GetSourceImageTag() const override;
  void GetSourceImageRotationMatrix(double matrix[9]) const override;
  int GetErrorCode() const override;
  const char* GetErrorString() const override;

 private:
  friend class ResultBuilder;

  std::vector<FoundRegion> regions_;
  std::vector<CaptureError> errors_;
  CaptureTimes times_;
  std::int64_t jobNumber_ = 0;
  int width_ = 0;
  int height_ = 0;
  bool isCancelled_ = false;
  std::unique_ptr<basic_structures::CImageData> image_;
};

}  // namespace velmora::capture
