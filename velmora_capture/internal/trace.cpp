#include "velmora_capture/internal/trace.h"

#include <json/value.h>
#include <json/writer.h>

#include <algorithm>
#include <cstring>
#include <iomanip>

#include "velmora/platform/mutex.h"

namespace velmora::capture {
namespace {

using Clock = std::chrono::steady_clock;

const char* CategoryOf(RunStage stage) {
  static constexpr const char* kNames[] = {"read", "convert", "schedule", "item", "work", "report"};
  return kNames[static_cast<int>(stage)];
}

std::int64_t Nanoseconds(Clock::duration time) {
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

std::uint64_t NextSerial() {
  static std::atomic<std::uint64_t> serial{0};
  return ++serial;
}

// The corners as a JSON array, as results have them.
std::string DescribeRegion(const basic_structures::CQuadrilateral& region) {
  std::string text;
  for (const auto& corner : region.points) {
    text += (text.empty() ? "[[" : ",[") + std::to_string(corner[0]) + "," +
            std::to_string(corner[1]) + "]";
  }
  return text + "]";
}

// The file's path, or the number of a frame.
std::string DescribeTag(const basic_structures::CImageTag& tag) {
  if (const auto* file = dynamic_cast<const basic_structures::CFileImageTag*>(&tag)) {
    return file->GetFilePath() != nullptr ? file->GetFilePath() : "";
  }
  return "frame " + std::to_string(tag.GetImageId());
}

}  // namespace

// The spans of one thread.
class Trace::Lane {
 public:
  explicit Lane(std::string name) : name_(std::move(name)) {}

  void Add(const RunSpan& span, bool isKept) {
    const MutexLock lock(mutex_);
    if (isKept) {
      spans_.push_back({span.stage, span.name, span.workMode, span.jobNumber,
                        span.region != nullptr ? DescribeRegion(*span.region) : std::string(),
                        span.begin.time, span.end.time});
    }
    std::int64_t used = span.end.processorNanoseconds - span.begin.processorNanoseconds;
    // An item's own time: the sums may be asked for when its work has ended and it has not.
    if (span.stage == RunStage::kWork) workOfItem_ += used;
    if (span.stage == RunStage::kItem) used -= std::exchange(workOfItem_, 0);
    AddTotal(span.stage, span.name, used);
  }

  void AddTotalsTo(std::vector<StageTime>& stages) const {
    const MutexLock lock(mutex_);
    for (const Total& total : totals_) {
      auto stage = std::find_if(stages.begin(), stages.end(), [&](const StageTime& s) {
        return s.stage == total.stage && s.name == total.name;
      });
      if (stage == stages.end()) stage = stages.insert(stage, {total.stage, total.name, 0, 0});
      stage->nanoseconds += total.nanoseconds;
      stage->count += total.count;
    }
  }

  void Write(std::ostream& out, std::size_t number, Clock::time_point start,
             const std::map<std::int64_t, std::string>& imageNames) const {
    const MutexLock lock(mutex_);
    out << "{\"ph\":\"M\",\"name\":\"thread_name\",\"pid\":1,\"tid\":" << number
        << ",\"args\":{\"name\":" << Json::valueToQuotedString(name_.c_str()) << "}}";
    for (const Span& span : spans_) {
      out << ",\n{\"ph\":\"X\",\"name\":" << Json::valueToQuotedString(span.name) << ",\"cat\":\""
          << CategoryOf(span.stage) << "\",\"pid\":1,\"tid\":" << number
          << ",\"ts\":" << Microseconds{Nanoseconds(span.begin - start)}
          << ",\"dur\":" << Microseconds{Nanoseconds(span.end - span.begin)};
      if (span.job >= 0) {
        out << ",\"args\":{\"image\":" << span.job;
        if (const auto name = imageNames.find(span.job); name != imageNames.end()) {
          out << ",\"name\":" << Json::valueToQuotedString(name->second.c_str());
        }
        if (!span.region.empty()) out << ",\"region\":" << span.region;
        if (*span.mode != 0) out << ",\"mode\":" << Json::valueToQuotedString(span.mode);
        out << "}";
      }
      out << "}";
    }
  }

 private:
  struct Span {
    RunStage stage;
    const char* name;
    const char* mode;
    std::int64_t job;
    std::string region;  // JSON; empty if the span has none
    Clock::time_point begin;
    Clock::time_point end;
  };
  struct Total {
    RunStage stage;
    const char* name;
    std::int64_t nanoseconds;
    std::int64_t count;
  };

  // With the lock held. Names are compared by address first: a lane has few.
  void AddTotal(RunStage stage, const char* name, std::int64_t nanoseconds) {
    auto total = std::find_if(totals_.begin(), totals_.end(), [&](const Total& t) {
      return t.stage == stage && (t.name == name || std::strcmp(t.name, name) == 0);
    });
    if (total == totals_.end()) total = totals_.insert(total, {stage, name, 0, 0});
    total->nanoseconds += nanoseconds;
    ++total->count;
  }

  const std::string name_;
  mutable Mutex mutex_;
  std::vector<Span> spans_;
  std::vector<Total> totals_;
  std::int64_t workOfItem_ = 0;  // of the item that is being worked on
};

Trace::Trace(bool keepsSpans)
    : keepsSpans_(keepsSpans), serial_(NextSerial()), start_(Clock::now()) {}

Trace::~Trace() = default;

void Trace::OnThreadStarted(const char* name) {
  auto lane = std::make_unique<Lane>(name);
  const MutexLock lock(mutex_);
  byThread_[std::this_thread::get_id()] = lane.get();
  lanes_.push_back(std::move(lane));
}

Trace::Lane& Trace::FindLane() {
  // Of the trace that the thread worked for last.
  thread_local std::uint64_t lastSerial = 0;
  thread_local Lane* last = nullptr;
  if (last != nullptr && lastSerial == serial_) return *last;
  const MutexLock lock(mutex_);
  last = byThread_.at(std::this_thread::get_id());
  lastSerial = serial_;
  return *last;
}

void Trace::KeepName(const RunSpan& span) {
  if (!keepsSpans_ || span.imageTag == nullptr) return;
  std::string name = DescribeTag(*span.imageTag);
  const MutexLock lock(mutex_);
  imageNames_[span.jobNumber] = std::move(name);
}

void Trace::OnSpan(const RunSpan& span) {
  KeepName(span);
  FindLane().Add(span, keepsSpans_);
}

void Trace::AddSourceSpan(const RunSpan& span) {
  KeepName(span);
  const MutexLock lock(mutex_);
  if (source_ == nullptr) {
    lanes_.push_back(std::make_unique<Lane>("source"));
    source_ = lanes_.back().get();
  }
  source_->Add(span, keepsSpans_);
}

std::vector<StageTime> Trace::GetStageTimes() const {
  std::vector<StageTime> stages;
  {
    const MutexLock lock(mutex_);
    for (const auto& lane : lanes_) lane->AddTotalsTo(stages);
  }
  std::stable_sort(stages.begin(), stages.end(), [](const StageTime& a, const StageTime& b) {
    return a.stage != b.stage ? a.stage < b.stage : a.name < b.name;
  });
  return stages;
}

void Trace::WriteJson(std::ostream& out) const {
  const MutexLock lock(mutex_);
  out << "{\"displayTimeUnit\":\"ms\",\"traceEvents\":[\n";
  for (std::size_t i = 0; i < lanes_.size(); ++i) {
    lanes_[i]->Write(out, i + 1, start_, imageNames_);
    out << (i + 1 < lanes_.size() ? ",\n" : "\n");
  }
  out << "]}\n";
}

}  // namespace velmora::capture
