// The C functions that read results.
#include <atomic>
#include <memory>
#include <string>

#include "velmora/image/image_tag.h"
#include "velmora/platform/mutex.h"
#include "velmora_capture/c/internal/handles.h"

using velmora::MutexLock;
using velmora::NxRef;
using velmora::capture::CaptureError;
using velmora::capture::CaptureResult;
using velmora::capture::CaptureTimes;
using velmora::capture::CodeItem;
using velmora::capture::FoundRegion;
using velmora::capture::c::CheckLookup;
using velmora::capture::c::CheckOutput;
using velmora::capture::c::Guarded;
using velmora::capture::c::Store;

struct velmora_result {
  std::atomic<std::int32_t> references{1};
  NxRef<CaptureResult> result;  // set before the handle is handed out, and never again
  mutable velmora::Mutex mutex;
  mutable std::unique_ptr<const std::string> json VELMORA_GUARDED_BY(mutex);
};

namespace velmora::capture::c {

velmora_result* MakeResultHandle() {
  return new velmora_result;
}

void SetResult(velmora_result& handle, const NxRef<CaptureResult>& result) {
  handle.result = result;
}

namespace {

void StoreCorners(const basic_structures::CQuadrilateral& location, std::int32_t (&corners)[8]) {
  for (int i = 0; i < 4; ++i) {
    corners[2 * i] = location.points[i][0];
    corners[2 * i + 1] = location.points[i][1];
  }
}

std::size_t CountCodes(const velmora_result* handle) {
  return handle == nullptr ? 0 : static_cast<std::size_t>(handle->result->GetCodeCount());
}

// A list of a result; without a handle an empty one, which the lookup never reads.
template <typename Element>
const std::vector<Element>& ListOf(const velmora_result* handle,
                                   const std::vector<Element>& (CaptureResult::*get)() const) {
  static const std::vector<Element> none;
  return handle == nullptr ? none : (handle->result.get()->*get)();
}

const char* PathOf(const CaptureResult& result) {
  const auto* tag =
      dynamic_cast<const basic_structures::CFileImageTag*>(result.GetSourceImageTag());
  return tag == nullptr ? nullptr : tag->GetFilePath();
}

}  // namespace
}  // namespace velmora::capture::c

int32_t velmora_result_get_info(const velmora_result* result, velmora_result_info* info) {
  if (result == nullptr) return velmora::EC_NullPointer;
  if (const std::int32_t code = CheckOutput(info); code != 0) return code;
  return Guarded([&] {
    const CaptureResult& from = *result->result;
    const CaptureTimes& times = from.GetTimes();
    velmora_result_info value{};
    value.error_code = from.GetErrorCode();
    value.width = from.GetWidth();
    value.height = from.GetHeight();
    value.is_cancelled = from.IsCancelled() ? 1 : 0;
    value.job_number = from.GetJobNumber();
    value.read_ns = times.read;
    value.convert_ns = times.convert;
    value.work_ns = times.work;
    value.total_ns = times.total;
    value.path = velmora::capture::c::PathOf(from);
    Store(info, value);
    return velmora::EC_Ok;
  });
}

int32_t velmora_result_code_count(const velmora_result* result) {
  return result == nullptr ? velmora::EC_NullPointer : result->result->GetCodeCount();
}

int32_t velmora_result_get_code(const velmora_result* result, int32_t index, velmora_code* code) {
  if (const std::int32_t error =
          CheckLookup(result, index, velmora::capture::c::CountCodes(result), code);
      error != 0) {
    return error;
  }
  const CodeItem& from = result->result->GetCode(index);
  velmora_code value{};
  velmora::capture::c::StoreCorners(from.GetLocation(), value.corners);
  value.symbology = from.GetSymbology().c_str();
  value.text = from.GetText().c_str();
  value.text_length = from.GetText().size();
  // NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast): bytes seen as bytes
  value.bytes = reinterpret_cast<const unsigned char*>(from.GetBytes().data());
  value.bytes_length = from.GetBytes().size();
  value.definition = from.GetTargetROIDefName();
  value.task = from.GetTaskName();
  Store(code, value);
  return velmora::EC_Ok;
}

int32_t velmora_result_region_count(const velmora_result* result) {
  if (result == nullptr) return velmora::EC_NullPointer;
  return static_cast<std::int32_t>(result->result->GetRegions().size());
}

int32_t velmora_result_get_region(const velmora_result* result, int32_t index,
                                  velmora_region* region) {
  const auto& regions = velmora::capture::c::ListOf(result, &CaptureResult::GetRegions);
  if (const std::int32_t error = CheckLookup(result, index, regions.size(), region); error != 0) {
    return error;
  }
  const FoundRegion& from = regions[static_cast<std::size_t>(index)];
  velmora_region value{};
  velmora::capture::c::StoreCorners(from.location, value.corners);
  value.definition = from.definition.c_str();
  value.task = from.task.c_str();
  Store(region, value);
  return velmora::EC_Ok;
}

int32_t velmora_result_error_count(const velmora_result* result) {
  if (result == nullptr) return velmora::EC_NullPointer;
  return static_cast<std::int32_t>(result->result->GetErrors().size());
}

int32_t velmora_result_get_error(const velmora_result* result, int32_t index,
                                 velmora_image_error* error) {
  const auto& errors = velmora::capture::c::ListOf(result, &CaptureResult::GetErrors);
  if (const std::int32_t code = CheckLookup(result, index, errors.size(), error); code != 0) {
    return code;
  }
  const CaptureError& from = errors[static_cast<std::size_t>(index)];
  Store(error, {0, from.code, from.text.c_str(), from.definition.c_str(), from.task.c_str()});
  return velmora::EC_Ok;
}

int32_t velmora_result_get_json(const velmora_result* result, const char** json, size_t* length) {
  if (json == nullptr) return velmora::EC_NullPointer;
  *json = nullptr;
  if (result == nullptr) return velmora::EC_NullPointer;
  return Guarded([&] {
    const MutexLock lock(result->mutex);
    if (result->json == nullptr) {
      result->json = std::make_unique<const std::string>(result->result->ToJson());
    }
    *json = result->json->c_str();
    if (length != nullptr) *length = result->json->size();
    return velmora::EC_Ok;
  });
}

int32_t velmora_result_retain(velmora_result* result) {
  if (result == nullptr) return velmora::EC_NullPointer;
  // Relaxed: the caller holds a reference, through which it sees the result already.
  result->references.fetch_add(1, std::memory_order_relaxed);
  return velmora::EC_Ok;
}

void velmora_result_release(velmora_result* result) {
  if (result == nullptr) return;
  // Release: what this thread read must be read before another thread deletes; acquire: the thread
  // that deletes does so after all of them.
  if (result->references.fetch_sub(1, std::memory_order_acq_rel) == 1) delete result;
}
