#include <json/value.h>

#include <mutex>

#include "velmora/log/internal/log_state.h"
#include "velmora/log/json_converter.h"
#include "velmora/log/log.h"

namespace velmora {
namespace {

using internal::GetLogState;
using internal::LogState;
using Lock = std::lock_guard<platform::CriticalSection>;

}  // namespace

std::uint64_t NxLog::AddJsonRecord(const Json::Value& record) {
  LogState& state = GetLogState();
  const Lock lock(state.lock);
  state.jsonRecords.emplace(state.lastRecordNumber + 1, record);
  return ++state.lastRecordNumber;
}

bool NxLog::AddJsonStage(std::uint64_t recordNumber, const Json::Value& stage) {
  LogState& state = GetLogState();
  const Lock lock(state.lock);
  const auto found = state.jsonRecords.find(recordNumber);
  if (found == state.jsonRecords.end()) return false;
  Json::Value& record = found->second;
  if (!record.isObject() && !record.isNull()) return false;
  Json::Value& stages = record["Stages"];
  if (!stages.isArray()) stages = Json::Value(Json::arrayValue);
  stages.append(stage);
  return true;
}

bool NxLog::OutputJsonLog() {
  LogState& state = GetLogState();
  const Lock lock(state.lock);
  while (!state.jsonRecords.empty()) {
    const auto oldest = state.jsonRecords.begin();
    const std::string text = JsonConverter::GetStyledString(oldest->second) + '\n';
    // A record that the file cut short is written again in full by the next call: readers look for
    // whole records.
    if (!internal::AppendWhole(state, text)) return false;
    state.jsonRecords.erase(oldest);
  }
  return true;
}

}  // namespace velmora
