#include "velmora/region/source_image_object.h"

#include <json/json.h>

#include <utility>

#include "velmora/engine/data_manager_pool.h"  // the back-pointer is followed here only
#include "velmora/image/image_tag.h"
#include "velmora/image/nx_image_data.h"
#include "velmora/log/log.h"

namespace velmora {

using basic_structures::CFileImageTag;
using basic_structures::CImageTag;

namespace {

Json::Value LogRecordOf(NxImageData* image) {
  const CImageTag* const tag = image != nullptr ? image->GetImageTag() : nullptr;
  const auto* const fileTag = dynamic_cast<const CFileImageTag*>(tag);
  const char* const path = fileTag != nullptr ? fileTag->GetFilePath() : nullptr;
  Json::Value record;
  record["HashId"] = image != nullptr ? image->GetHashID() : std::string();
  record["ImageId"] = tag != nullptr ? tag->GetImageId() : -1;
  record["ImagePath"] = path != nullptr ? path : "";
  record["Stages"] = Json::Value(Json::arrayValue);
  return record;
}

std::string TextOrEmpty(const char* text) {
  return text != nullptr ? text : "";
}

}  // namespace

NxSourceImageObject::NxSourceImageObject(NxImageData* image, std::uint64_t imageId, int timeoutMs)
    : image_(image), imageId_(imageId), timeoutMs_(timeoutMs) {
  NxLog& log = NxLog::GetInstance();
  if (log.AllowLogging(1, LM_Text)) logRecordNumber_ = log.AddJsonRecord(LogRecordOf(image));
}

NxSourceImageObject::~NxSourceImageObject() = default;

const std::string& NxSourceImageObject::GetHashID() const {
  static const std::string none;
  return image_ ? image_->GetHashID() : none;
}

bool NxSourceImageObject::IsCheckPointNeedExit(int* errorCode, CheckPointLevel) const {
  if (managerPool_ != nullptr && managerPool_->GetTaskEffectTimeManager()->IsTimePointOpen()) {
    if (errorCode != nullptr) *errorCode = EC_Ok;
    return true;
  }
  const int elapsedMs = GetElapsedTime();
  if (elapsedMs <= timeoutMs_) return false;
  if (errorCode != nullptr) *errorCode = EC_Timeout;
  VELMORA_LOG_TEXT(9, "timeout: %d", elapsedMs);
  return true;
}

void NxSourceImageObject::AddErrorCodeInfo(ErrorCode code, const char* text1, const char* text2,
                                           const char* text3, const char* text4) {
  SourceImageErrorInfo error{
      code, {TextOrEmpty(text1), TextOrEmpty(text2), TextOrEmpty(text3), TextOrEmpty(text4)}};
  const MutexLock lock(mutex_);
  errors_.push_back(std::move(error));
}

ErrorCode NxSourceImageObject::GetErrorCode() const {
  const MutexLock lock(mutex_);
  return errors_.empty() ? EC_Ok : errors_.back().code;
}

std::vector<SourceImageErrorInfo> NxSourceImageObject::GetErrorRecords() const {
  const MutexLock lock(mutex_);
  return errors_;
}

}  // namespace velmora
