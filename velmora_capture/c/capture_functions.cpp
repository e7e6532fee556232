// The C functions that create captures and hand images to them.
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <system_error>
#include <utility>

#include "velmora/foundation/core_module.h"
#include "velmora/image/image_data.h"
#include "velmora/log/log.h"
#include "velmora_capture/c/internal/handles.h"
#include "velmora_capture/capture.h"

using velmora::NxRef;
using velmora::capture::Capture;
using velmora::capture::CaptureOptions;
using velmora::capture::CaptureResult;
using velmora::capture::CaptureStatistics;
using velmora::capture::TaskCounts;
using velmora::capture::TemplateError;
using velmora::capture::c::CheckLookup;
using velmora::capture::c::CheckOutput;
using velmora::capture::c::Guarded;
using velmora::capture::c::HasValidSize;
using velmora::capture::c::Store;

struct velmora_capture {
  std::unique_ptr<Capture> capture;
};

struct velmora_template_errors {
  std::vector<TemplateError> errors;
  std::vector<std::string> texts;  // of the errors, as `ToString` gives them
};

struct velmora_statistics {
  CaptureStatistics statistics;
};

namespace velmora::capture::c {
namespace {

using basic_structures::CImageData;
using basic_structures::ImagePixelFormat;
using ResultHandle = std::unique_ptr<velmora_result, decltype(&velmora_result_release)>;

// The capture whose callback runs on this thread; null outside callbacks.
thread_local const velmora_capture* delivering = nullptr;

// Calls a caller's release function once, at the latest when it is destroyed.
class PixelRelease {
 public:
  PixelRelease(velmora_release_function release, void* user) : release_(release), user_(user) {}
  PixelRelease(PixelRelease&& other) noexcept
      : release_(std::exchange(other.release_, nullptr)), user_(other.user_) {}
  PixelRelease& operator=(PixelRelease&&) = delete;
  ~PixelRelease() { Now(); }

  void Now() {
    if (release_ != nullptr) std::exchange(release_, nullptr)(user_);
  }
  bool IsWanted() const { return release_ != nullptr; }

 private:
  velmora_release_function release_;
  void* user_;
};

// An image whose pixels the caller lent.
class LentImage : public CImageData {
 public:
  LentImage(std::size_t length, const unsigned char* bytes, const velmora_image& image, int stride,
            PixelRelease release)
      : CImageData(length, bytes, nullptr, image.width, image.height, stride,
                   static_cast<ImagePixelFormat>(image.format), image.orientation, nullptr),
        release_(std::move(release)) {}

 private:
  PixelRelease release_;
};

// A caller's image, checked.
struct Pixels {
  const unsigned char* bytes = nullptr;
  std::size_t length = 0;  // of what belongs to the image
  int stride = 0;
};

bool IsYuv(std::int32_t format) {
  return format == VELMORA_PIXELS_NV12 || format == VELMORA_PIXELS_NV21;
}

std::int32_t CheckImage(const velmora_image* image, Pixels& pixels) {
  constexpr int kBits[] = {1, 1, 8, 8, 16, 16, 24, 32, 48, 64, 32, 64, 24, 8, 8, 8};
  if (image == nullptr) return EC_NullPointer;
  if (!HasValidSize(*image)) return EC_ParameterValueInvalid;
  if (image->pixels == nullptr) return EC_NullPointer;
  if (image->format < 0 || image->format >= static_cast<std::int32_t>(std::size(kBits))) {
    return EC_ImageDataParameterInvalid;
  }
  if (image->width < 1 || image->height < 1) return EC_ImageDataParameterInvalid;
  if (image->orientation % 90 != 0 || image->orientation < 0 || image->orientation > 270) {
    return EC_ImageOrientationInvalid;
  }

  // A row of the chroma plane has as many pairs as two columns of pixels have.
  const std::int64_t width = image->width + (IsYuv(image->format) ? image->width % 2 : 0);
  const std::int64_t rowBytes = (width * kBits[image->format] + 7) / 8;
  const std::int64_t stride = image->stride == 0 ? rowBytes : image->stride;
  const std::int64_t rows =
      image->height +
      (IsYuv(image->format) ? (static_cast<std::int64_t>(image->height) + 1) / 2 : 0);
  // The last row may end where its pixels end.
  const std::int64_t length = stride * (rows - 1) + rowBytes;
  // The core's conversions refuse 2 GiB and more.
  if (stride < rowBytes || length > INT32_MAX ||
      static_cast<std::uint64_t>(length) > image->length) {
    return EC_ImageDataParameterInvalid;
  }
  pixels.bytes = static_cast<const unsigned char*>(image->pixels);
  pixels.length = static_cast<std::size_t>(length);
  pixels.stride = static_cast<int>(stride);
  return EC_Ok;
}

std::int32_t CheckOptions(const velmora_capture_options* from, CaptureOptions& options) {
  constexpr int kMostThreads = 1024;
  if (from == nullptr) return EC_Ok;
  if (!HasValidSize(*from) || from->threads < 0 || from->threads > kMostThreads ||
      from->timeout_ms < 0) {
    return EC_ParameterValueInvalid;
  }
  if (from->module_folder_count > 0 && from->module_folders == nullptr) return EC_NullPointer;
  options.threads = from->threads;
  options.timeoutMs = from->timeout_ms;
  if (from->template_name != nullptr) options.templateName = from->template_name;
  for (std::uint32_t i = 0; i < from->module_folder_count; ++i) {
    if (from->module_folders[i] == nullptr) return EC_NullPointer;
    options.moduleFolders.emplace_back(from->module_folders[i]);
  }
  return EC_Ok;
}

std::int32_t Create(const std::string& text, const CaptureOptions& options,
                    velmora_capture** capture, velmora_template_errors** errors) {
  std::vector<TemplateError> found;
  auto made = std::make_unique<velmora_capture>();
  made->capture = Capture::Create(text, options, found);
  if (made->capture != nullptr) {
    *capture = made.release();
    return EC_Ok;
  }
  const std::int32_t code = found.empty() || found[0].code == 0 ? EC_Unknown : found[0].code;
  if (errors == nullptr) return code;
  auto list = std::make_unique<velmora_template_errors>();
  for (const TemplateError& error : found) list->texts.push_back(error.ToString());
  list->errors = std::move(found);
  *errors = list.release();
  return code;
}

// What both ways to create a capture check first.
std::int32_t PrepareOutputs(velmora_capture** capture, velmora_template_errors** errors) {
  if (errors != nullptr) *errors = nullptr;
  if (capture == nullptr) return EC_NullPointer;
  *capture = nullptr;
  return EC_Ok;
}

// Calls `read` and stores its result.
template <typename Read>
std::int32_t ReadInto(velmora_result** result, const Read& read) {
  return Guarded([&] {
    ResultHandle handle(MakeResultHandle(), &velmora_result_release);
    const NxRef<CaptureResult> made = read();
    SetResult(*handle, made);
    *result = handle.release();
    return made->GetErrorCode();
  });
}

}  // namespace
}  // namespace velmora::capture::c

int32_t velmora_capture_abi_version() {
  return VELMORA_CAPTURE_ABI_VERSION;
}

const char* velmora_version() {
  return Nx_GetLibVersion();
}

const char* velmora_error_string(int32_t code) {
  return Nc_GetErrorString(code);
}

int32_t velmora_capture_create(const char* template_text, const velmora_capture_options* options,
                               velmora_capture** capture, velmora_template_errors** errors) {
  return Guarded([&] {
    CaptureOptions checked;
    std::int32_t code = velmora::capture::c::PrepareOutputs(capture, errors);
    if (code == 0) code = velmora::capture::c::CheckOptions(options, checked);
    if (code != 0) return code;
    const char* text =
        template_text == nullptr ? velmora::capture::GetDefaultTemplate() : template_text;
    return velmora::capture::c::Create(text, checked, capture, errors);
  });
}

int32_t velmora_capture_create_from_file(const char* path, const velmora_capture_options* options,
                                         velmora_capture** capture,
                                         velmora_template_errors** errors) {
  return Guarded([&] {
    CaptureOptions checked;
    std::int32_t code = velmora::capture::c::PrepareOutputs(capture, errors);
    if (code == 0) code = velmora::capture::c::CheckOptions(options, checked);
    if (code != 0) return code;
    if (path == nullptr) return static_cast<std::int32_t>(velmora::EC_NullPointer);
    if (checked.templateName.empty()) checked.templateName = path;
    std::ifstream file(std::filesystem::u8path(path), std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    if (!file.good()) return static_cast<std::int32_t>(velmora::EC_FileNotFound);
    return velmora::capture::c::Create(text, checked, capture, errors);
  });
}

int32_t velmora_capture_destroy(velmora_capture* capture) {
  if (capture == nullptr) return velmora::EC_Ok;
  // Waiting here for this very callback would never end.
  if (velmora::capture::c::delivering == capture) return velmora::EC_CallRejectedWhileCapturing;
  return Guarded([&] {
    delete capture;
    return velmora::EC_Ok;
  });
}

int32_t velmora_capture_cancel(velmora_capture* capture) {
  if (capture == nullptr) return velmora::EC_NullPointer;
  return Guarded([&] {
    capture->capture->Cancel();
    return velmora::EC_Ok;
  });
}

int32_t velmora_capture_note_count(const velmora_capture* capture) {
  if (capture == nullptr) return velmora::EC_NullPointer;
  return static_cast<std::int32_t>(capture->capture->GetNotes().size());
}

int32_t velmora_capture_get_note(const velmora_capture* capture, int32_t index, const char** note) {
  if (note == nullptr) return velmora::EC_NullPointer;
  *note = nullptr;
  if (capture == nullptr) return velmora::EC_NullPointer;
  const std::vector<std::string>& notes = capture->capture->GetNotes();
  if (index < 0 || static_cast<std::size_t>(index) >= notes.size()) return velmora::EC_IndexInvalid;
  *note = notes[static_cast<std::size_t>(index)].c_str();
  return velmora::EC_Ok;
}

int32_t velmora_template_errors_count(const velmora_template_errors* errors) {
  if (errors == nullptr) return velmora::EC_NullPointer;
  return static_cast<std::int32_t>(errors->errors.size());
}

int32_t velmora_template_errors_get(const velmora_template_errors* errors, int32_t index,
                                    velmora_template_error* error) {
  const std::size_t count = errors == nullptr ? 0 : errors->errors.size();
  if (const std::int32_t code = CheckLookup(errors, index, count, error); code != 0) return code;
  const TemplateError& from = errors->errors[static_cast<std::size_t>(index)];
  Store(error, {0, from.code, from.line, from.column, from.file.c_str(), from.path.c_str(),
                from.message.c_str(), errors->texts[static_cast<std::size_t>(index)].c_str()});
  return velmora::EC_Ok;
}

void velmora_template_errors_release(velmora_template_errors* errors) {
  delete errors;
}

int32_t velmora_capture_read_file(velmora_capture* capture, const char* path,
                                  velmora_result** result) {
  if (result == nullptr) return velmora::EC_NullPointer;
  *result = nullptr;
  if (capture == nullptr || path == nullptr) return velmora::EC_NullPointer;
  return velmora::capture::c::ReadInto(result, [&] { return capture->capture->ReadFile(path); });
}

int32_t velmora_capture_read(velmora_capture* capture, const velmora_image* image,
                             velmora_release_function release, void* user,
                             velmora_result** result) {
  const velmora::capture::c::PixelRelease releaseAtEnd(release, user);
  if (result == nullptr) return velmora::EC_NullPointer;
  *result = nullptr;
  if (capture == nullptr) return velmora::EC_NullPointer;
  velmora::capture::c::Pixels pixels;
  if (const std::int32_t code = CheckImage(image, pixels); code != 0) return code;
  return velmora::capture::c::ReadInto(result, [&] {
    const velmora::basic_structures::CImageData borrowed(
        pixels.length, pixels.bytes, nullptr, image->width, image->height, pixels.stride,
        static_cast<velmora::basic_structures::ImagePixelFormat>(image->format), image->orientation,
        nullptr);
    return capture->capture->Read(borrowed);
  });
}

int32_t velmora_capture_submit(velmora_capture* capture, const velmora_image* image,
                               velmora_release_function release, void* release_user,
                               velmora_result_callback callback, void* user, int32_t wait_ms) {
  using namespace velmora::capture::c;
  PixelRelease lent(release, release_user);
  if (capture == nullptr || callback == nullptr) return velmora::EC_NullPointer;
  if (wait_ms < 0) return velmora::EC_ParameterValueInvalid;
  Pixels pixels;
  if (const std::int32_t code = CheckImage(image, pixels); code != 0) return code;
  return Guarded([&] {
    std::unique_ptr<CImageData> owned;
    if (lent.IsWanted()) {
      owned = std::make_unique<LentImage>(pixels.length, pixels.bytes, *image, pixels.stride,
                                          std::move(lent));
    } else {
      owned = std::make_unique<CImageData>(
          pixels.length, pixels.bytes, image->width, image->height, pixels.stride,
          static_cast<ImagePixelFormat>(image->format), image->orientation, nullptr);
    }
    const std::shared_ptr<velmora_result> handle(MakeResultHandle(), &velmora_result_release);
    const auto deliver = [capture, callback, user, handle](const NxRef<CaptureResult>& result) {
      SetResult(*handle, result);
      delivering = capture;
      callback(user, handle.get());
      delivering = nullptr;
    };
    return capture->capture->Submit(std::move(owned), deliver, wait_ms);
  });
}

int32_t velmora_capture_get_statistics(const velmora_capture* capture,
                                       velmora_statistics** statistics) {
  if (statistics == nullptr) return velmora::EC_NullPointer;
  *statistics = nullptr;
  if (capture == nullptr) return velmora::EC_NullPointer;
  return Guarded([&] {
    *statistics = new velmora_statistics{capture->capture->GetStatistics()};
    return velmora::EC_Ok;
  });
}

int32_t velmora_statistics_get_images(const velmora_statistics* statistics,
                                      velmora_image_counts* counts) {
  if (statistics == nullptr) return velmora::EC_NullPointer;
  if (const std::int32_t code = CheckOutput(counts); code != 0) return code;
  const CaptureStatistics& from = statistics->statistics;
  Store(counts, {0, 0, from.offered, from.delivered, from.dropped, from.refused, from.queued});
  return velmora::EC_Ok;
}

int32_t velmora_statistics_task_count(const velmora_statistics* statistics) {
  if (statistics == nullptr) return velmora::EC_NullPointer;
  return static_cast<std::int32_t>(statistics->statistics.tasks.size());
}

int32_t velmora_statistics_get_task(const velmora_statistics* statistics, int32_t index,
                                    velmora_task_counts* counts) {
  const std::size_t count = statistics == nullptr ? 0 : statistics->statistics.tasks.size();
  if (const std::int32_t code = CheckLookup(statistics, index, count, counts); code != 0) {
    return code;
  }
  const TaskCounts& from = statistics->statistics.tasks[static_cast<std::size_t>(index)];
  Store(counts, {0, from.isLeftOut ? 1 : 0, from.runs, from.found, from.nanoseconds, from.failures,
                 from.timeouts, from.definition.c_str(), from.task.c_str(), from.module.c_str()});
  return velmora::EC_Ok;
}

void velmora_statistics_release(velmora_statistics* statistics) {
  delete statistics;
}

int32_t velmora_log_configure(const velmora_log_options* options) {
  if (options == nullptr) return velmora::EC_NullPointer;
  if (!HasValidSize(*options) || (options->mode & ~(VELMORA_LOG_IMAGES | VELMORA_LOG_LINES)) != 0 ||
      options->keep_in_memory < 0 || options->keep_in_memory > 1) {
    return velmora::EC_ParameterValueInvalid;
  }
  return Guarded([&] {
    velmora::NxLog& log = velmora::NxLog::GetInstance();
    log.SetOutputMode(static_cast<velmora::OutputMode>(options->keep_in_memory));
    log.InitLogFromSetting(static_cast<velmora::LogMode>(options->mode), options->level,
                           options->path);
    return velmora::EC_Ok;
  });
}

int32_t velmora_log_flush() {
  return Guarded([] {
    velmora::NxLog& log = velmora::NxLog::GetInstance();
    const bool areLinesWritten = log.OutputCacheLog();
    return log.OutputJsonLog() && areLinesWritten ? velmora::EC_Ok : velmora::EC_FileSaveFailed;
  });
}
