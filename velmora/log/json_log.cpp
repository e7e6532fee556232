#include <json/value.h>

#include <utility>

#include "velmora/log/internal/log_state.h"
#include "velmora/log/internal/with_json.h"
#include "velmora/log/json_converter.h"
#include "velmora/log/log.h"

namespace velmora {
namespace {

using internal::GetLogState;
using internal::LogState;
using Lock = platform::SectionLock;

constexpr std::size_t kWaitingRecords = 4096;

// Appends the oldest record to the main log file and forgets it. False, with the record kept, if
// the file refuses: a record that was cut short is written again in full, because readers look for
// whole records.
bool OutputOldest(LogState& state) VELMORA_REQUIRES(state.lock) {
  const auto oldest = state.jsonRecords.begin();
  const std::string text = JsonConverter::GetStyledString(oldest->second) + '\n';
  if (!internal::AppendWhole(state, text)) return false;
  state.jsonRecords.erase(oldest);
  return true;
}

// Or changes nothing when it throws.
bool AppendStage(Json::Value& record, const Json::Value& stage) {
  constexpr char kStages[] = "Stages";
  if (!record.isObject() && !record.isNull()) return false;
  Json::Value added = stage;
  if (record.isMember(kStages) && record[kStages].isArray()) {
    record[kStages].append(std::move(added));
    return true;
  }
  Json::Value stages(Json::arrayValue);
  stages.append(std::move(added));
  if (record.isObject()) {
    record[kStages].swap(stages);
  } else {
    Json::Value made(Json::objectValue);
    made[kStages].swap(stages);
    record.swap(made);
  }
  return true;
}

}  // namespace

std::uint64_t NxLog::AddJsonRecord(const Json::Value& record) {
  LogState& state = GetLogState();
  const Lock lock(state.lock);
  // Before the record is filed: without memory for the text of another, it is not filed at all.
  while (state.jsonRecords.size() >= kWaitingRecords && OutputOldest(state)) {
  }
  auto* const records = &state.jsonRecords;  // this function has the lock, not the lambda
  const std::uint64_t number = state.lastRecordNumber + 1;
  internal::WithJson([&] { return records->emplace(number, record); });
  state.lastRecordNumber = number;
  return number;
}

bool NxLog::AddJsonStage(std::uint64_t recordNumber, const Json::Value& stage) {
  LogState& state = GetLogState();
  const Lock lock(state.lock);
  const auto found = state.jsonRecords.find(recordNumber);
  if (found == state.jsonRecords.end()) return false;
  return internal::WithJson([&] { return AppendStage(found->second, stage); });
}

bool NxLog::OutputJsonLog() {
  LogState& state = GetLogState();
  const Lock lock(state.lock);
  while (!state.jsonRecords.empty()) {
    if (!OutputOldest(state)) return false;
  }
  return true;
}

}  // namespace velmora
