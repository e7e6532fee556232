#include "velmora_capture/capture_result.h"

#include <json/value.h>
#include <json/writer.h>

#include <utility>

#include "velmora/foundation/error_code.h"
#include "velmora/geometry/rect.h"
#include "velmora_capture/internal/json_memory.h"

namespace velmora::capture {

using namespace basic_structures;

namespace {

Json::Value ToJson(const CQuadrilateral& location) {
  Json::Value points(Json::arrayValue);
  for (const auto& corner : location.points) {
    Json::Value point(Json::arrayValue);
    point.append(corner[0]);
    point.append(corner[1]);
    points.append(point);
  }
  return points;
}

Json::Value ToJson(const CodeItem& code) {
  Json::Value value;
  value["symbology"] = code.GetSymbology();
  value["text"] = code.GetText();
  value["corners"] = ToJson(code.GetLocation());
  value["definition"] = code.GetTargetROIDefName();
  value["task"] = code.GetTaskName();
  return value;
}

Json::Value ToJson(const FoundRegion& region) {
  Json::Value value;
  value["corners"] = ToJson(region.location);
  value["definition"] = region.definition;
  value["task"] = region.task;
  return value;
}

Json::Value ToJson(const CaptureError& error) {
  Json::Value value;
  value["code"] = error.code;
  value["message"] = Nc_GetErrorString(error.code);
  if (!error.text.empty()) value["text"] = error.text;
  if (!error.task.empty()) value["definition"] = error.definition;
  if (!error.task.empty()) value["task"] = error.task;
  return value;
}

template <typename Values>
Json::Value ToJsonArray(const Values& values) {
  Json::Value array(Json::arrayValue);
  for (const auto& value : values) array.append(ToJson(value));
  return array;
}

}  // namespace

CodeItem::CodeItem(Code code, const std::string& definition, const std::string& task)
    : code_(std::move(code)) {
  SetCCapturedResultItemPtr(this);
  SetTargetAndTaskName(definition, task);
}

CodeItem::CodeItem(const CodeItem& other)
    : NxvItemBase(other), CCapturedResultItem(other), code_(other.code_) {
  SetCCapturedResultItemPtr(this);
}

CodeItem::~CodeItem() = default;

bool CodeItem::IsSameAs(const CodeItem& other) const {
  if (code_.symbology != other.code_.symbology || code_.text != other.code_.text) return false;
  // The boxes overlap: linear codes are seen as wherever a scan line crossed them.
  const CRect a = code_.location.GetBoundingRect();
  const CRect b = other.code_.location.GetBoundingRect();
  return a.left <= b.right && b.left <= a.right && a.top <= b.bottom && b.top <= a.bottom;
}

const CCapturedResultItem* CodeItem::GetReferenceItem() const {
  const NxRef<NxvItemBase>& item = NxvItemBase::GetReferenceItem();
  return item ? item->GetCCapturedResultItemPtr() : nullptr;
}

const char* CodeItem::GetTargetROIDefName() const {
  return GetTargetName().c_str();
}

const char* CodeItem::GetTaskName() const {
  return NxvItemBase::GetTaskName().c_str();
}

CCapturedResultItem* CodeItem::Clone() const {
  return (new CodeItem(*this))->RetainCache();
}

void CodeItem::Retain() const {
  const_cast<CodeItem*>(this)->RetainCache();
}

void CodeItem::Release() const {
  const_cast<CodeItem*>(this)->ReleaseCache();
}

CaptureResult::CaptureResult(const char* sourceImageHashId, const CImageTag* tag)
    : ResultImpBase(sourceImageHashId, tag) {}

CaptureResult::~CaptureResult() = default;

std::string CaptureResult::ToJson() const {
  return WithJson([this] {
    Json::Value codes(Json::arrayValue);
    for (int i = 0; i < GetCodeCount(); ++i) codes.append(capture::ToJson(GetCode(i)));
    Json::Value value;
    value["width"] = width_;
    value["height"] = height_;
    value["codes"] = codes;
    value["regions"] = ToJsonArray(regions_);
    value["errors"] = ToJsonArray(errors_);
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "";
    return WriteJson(builder, value);
  });
}

const char* CaptureResult::GetSourceImageHashId() const {
  return GetSourceImageHashIdBase().c_str();
}

const CImageTag* CaptureResult::GetSourceImageTag() const {
  return ResultImpBase::GetSourceImageTag();
}

void CaptureResult::GetSourceImageRotationMatrix(double matrix[9]) const {
  ResultImpBase::GetSourceImageRotationMatrix(matrix);
}

int CaptureResult::GetErrorCode() const {
  return ResultImpBase::GetErrorCode();
}

const char* CaptureResult::GetErrorString() const {
  return GetErrorStringBase().c_str();
}

}  // namespace velmora::capture
