#include "velmora_capture/internal/trace.h"

#include <json/value.h>
#include <json/writer.h>

#include <algorithm>
#include <cstring>
#include <iomanip>

#include "tools/capture/system.h"

namespace velmora::capture {
namespace {

thread_local TraceLane* currentLane = nullptr;

const char* CategoryOf(SpanKind kind) {
  static constexpr const char* kNames[] = {"read", "convert", "schedule", "item", "work", "report"};
  return kNames[static_cast<int>(kind)];
}

std::int64_t Nanoseconds(TraceLane::Clock::duration time) {
  return std::chrono::duration_cast<std::chrono::nanoseconds>(time).count();
}

// The format counts in microseconds; three decimals keep the nanoseconds.
struct Microseconds {
  std::int64_t nanoseconds;
  friend std::ostream& operator<<(std::ostream& out, const Microseconds& time) {
    return out << time.nanoseconds / 1000 << "." << std::setw(3) << std::setfill('0')
               << time.nanoseconds % 1000;
  }
};

}  // namespace

TraceStamp TraceStamp::Now() {
  return {TraceLane::Clock::now(), ThreadNanoseconds()};
}

void TraceLane::Add(SpanKind kind, const char* name, int image, const TraceStamp& begin,
                    const TraceStamp& end) {
  if (keepsSpans_) spans_.push_back({kind, name, image, begin.time, end.time});
  auto total = std::find_if(totals_.begin(), totals_.end(), [&](const Total& t) {
    return t.kind == kind && (t.name == name || std::strcmp(t.name, name) == 0);
  });
  if (total == totals_.end()) total = totals_.insert(total, {kind, name, 0, 0});
  total->nanoseconds += end.processorNanoseconds - begin.processorNanoseconds;
  ++total->count;
}

TraceLane* Trace::AddLane(const std::string& name) {
  const std::lock_guard<std::mutex> lock(mutex_);
  lanes_.push_back(std::make_unique<TraceLane>(name, keepsSpans_));
  return currentLane = lanes_.back().get();
}

TraceLane& Trace::CurrentLane() {
  return *currentLane;
}

std::vector<Trace::StageTotal> Trace::GetTotals() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  std::vector<StageTotal> stages;
  for (const auto& lane : lanes_) {
    for (const TraceLane::Total& total : lane->totals_) {
      auto stage = std::find_if(stages.begin(), stages.end(), [&](const StageTotal& s) {
        return s.kind == total.kind && s.name == total.name;
      });
      if (stage == stages.end()) stage = stages.insert(stage, {total.kind, total.name, 0, 0});
      stage->nanoseconds += total.nanoseconds;
      stage->count += total.count;
    }
  }
  std::stable_sort(stages.begin(), stages.end(), [](const StageTotal& a, const StageTotal& b) {
    return a.kind != b.kind ? a.kind < b.kind : a.name < b.name;
  });
  return stages;
}

std::int64_t Trace::GetNanoseconds(SpanKind kind) const {
  std::int64_t sum = 0;
  for (const StageTotal& stage : GetTotals()) sum += stage.kind == kind ? stage.nanoseconds : 0;
  return sum;
}

void Trace::WriteJson(std::ostream& out) const {
  const std::lock_guard<std::mutex> lock(mutex_);
  out << "{\"displayTimeUnit\":\"ms\",\"traceEvents\":[\n";
  for (std::size_t lane = 0; lane < lanes_.size(); ++lane) {
    const std::size_t tid = lane + 1;
    out << "{\"ph\":\"M\",\"name\":\"thread_name\",\"pid\":1,\"tid\":" << tid
        << ",\"args\":{\"name\":" << Json::valueToQuotedString(lanes_[lane]->GetName().c_str())
        << "}}";
    for (const TraceLane::Span& span : lanes_[lane]->spans_) {
      out << ",\n{\"ph\":\"X\",\"name\":" << Json::valueToQuotedString(span.name) << ",\"cat\":\""
          << CategoryOf(span.kind) << "\",\"pid\":1,\"tid\":" << tid
          << ",\"ts\":" << Microseconds{Nanoseconds(span.begin - start_)}
          << ",\"dur\":" << Microseconds{Nanoseconds(span.end - span.begin)};
      if (span.image >= 0) out << ",\"args\":{\"image\":" << span.image << "}";
      out << "}";
    }
    out << (lane + 1 < lanes_.size() ? ",\n" : "\n");
  }
  out << "]}\n";
}

}  // namespace velmora::capture
