#include "tools/capture/report_page.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <iterator>
#include <system_error>

#include "tools/capture/graph_file.h"
#include "tools/capture/output_file.h"
#include "tools/capture/reporters.h"
#include "tools/capture/text.h"

namespace velmora::capture {
namespace {

// More would make the page slow, and no screen shows them.
constexpr std::size_t kMostBars = 5000;

constexpr char kHead[] = R"(<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width, initial-scale=1">
<title>velmora-capture</title>
<style>
:root { color-scheme: light dark; --text: #1b1f24; --back: #fff; --soft: #f2f4f7; --line: #c9d0d8;
  --dim: #59636e; --bad: #b3261e; --read: #3b6fb6; --convert: #2f8f83; --work: #6a9f2d;
  --report: #a05bb0; }
@media (prefers-color-scheme: dark) { :root { --text: #e3e7ec; --back: #15181c; --soft: #20252b;
  --line: #3a424c; --dim: #9aa5b1; --bad: #ff8a80; --read: #7aa7e8; --convert: #5cc0b3;
  --work: #9bcf5c; --report: #cf8fe0; } }
* { box-sizing: border-box; }
body { margin: 0 auto; padding: 1rem; max-width: 70rem; display: flex; flex-direction: column;
  font: 1rem/1.45 system-ui, sans-serif; color: var(--text); background: var(--back); }
h1 { font-size: 1.4rem; margin: 0 0 .5rem; order: -3; }
h2 { font-size: 1.1rem; margin: 0 0 .4rem; overflow-wrap: anywhere; }
section { border-top: 1px solid var(--line); padding: 1rem 0; min-width: 0; }
section.sum { order: -2; }
section.image { display: grid; gap: .5rem 1.5rem; }
@media (min-width: 48rem) { section.image { grid-template-columns: 1fr 1fr; }
  section.image h2 { grid-column: 1 / -1; } }
figure { margin: 0; }
figure svg { display: block; width: 100%; height: auto; background: #fff; }
.wide { overflow-x: auto; max-width: 100%; }
.wide img { background: #fff; }
table { border-collapse: collapse; font-size: .9rem; }
th, td { text-align: left; padding: .2rem .7rem .2rem 0; border-bottom: 1px solid var(--line);
  vertical-align: top; }
td.text { overflow-wrap: anywhere; min-width: 8rem; font-family: ui-monospace, monospace; }
.number { text-align: right; font-variant-numeric: tabular-nums; }
.dim { color: var(--dim); font-size: .9rem; margin: .4rem 0; }
.bad { color: var(--bad); overflow-wrap: anywhere; }
.lane { display: flex; align-items: center; gap: .5rem; margin: .15rem 0; }
.lane span { flex: 0 0 5rem; font-size: .85rem; color: var(--dim); overflow-wrap: anywhere; }
.lane svg { flex: 1; min-width: 0; height: 1.2rem; background: var(--soft); }
.ends { display: flex; justify-content: space-between; margin-left: 5.5rem; }
rect.read, i.read { fill: var(--read); background: var(--read); }
rect.convert, i.convert { fill: var(--convert); background: var(--convert); }
rect.work, i.work { fill: var(--work); background: var(--work); }
rect.report, i.report { fill: var(--report); background: var(--report); }
i { display: inline-block; width: .8rem; height: .8rem; margin: 0 .3rem 0 .8rem; }
</style>
</head>
<body>
<h1>velmora-capture</h1>
)";

// What a bar of the timeline stands for; null for spans that hold other spans.
const char* ClassOf(RunStage stage) {
  switch (stage) {
    case RunStage::kRead:
      return "read";
    case RunStage::kConvert:
      return "convert";
    case RunStage::kWork:
      return "work";
    case RunStage::kReport:
      return "report";
    default:
      return nullptr;
  }
}

void WriteCodes(std::ostream& out, const CaptureResult& result) {
  out << "<div class=\"wide\"><table><tr><th>Symbology<th>Text<th>Task</tr>\n";
  for (int i = 0; i < result.GetCodeCount(); ++i) {
    const CodeItem& code = result.GetCode(i);
    out << "<tr><td>" << EscapeXml(code.GetSymbology()) << "<td class=\"text\">"
        << EscapeXml(Printable(code.GetText())) << "<td>" << EscapeXml(code.GetTaskName())
        << "</tr>\n";
  }
  out << "</table></div>\n";
}

void WriteNumbers(std::ostream& out, const CaptureResult& result) {
  const CaptureTimes& times = result.GetTimes();
  out << "<p class=\"dim\">" << result.GetWidth() << " × " << result.GetHeight() << " pixels, "
      << Count(result.GetCodeCount(), "code") << ", "
      << Count(static_cast<int>(result.GetRegions().size()), "region") << "<br>read "
      << Milliseconds(times.read) << ", converted " << Milliseconds(times.convert) << ", worked "
      << Milliseconds(times.work) << ", done after " << Milliseconds(times.total) << "</p>\n";
}

void WriteTask(std::ostream& out, const TaskCounts& task) {
  out << "<tr><td>" << EscapeXml("{" + task.definition + "}[" + task.task + "]") << "<td>"
      << EscapeXml(task.module) << (task.isLeftOut ? " (left out)" : "");
  for (const std::int64_t number : {task.runs, task.found, task.failures, task.timeouts}) {
    out << "<td class=\"number\">" << number;
  }
  out << "<td class=\"number\">" << Milliseconds(task.nanoseconds) << "</tr>\n";
}

}  // namespace

void ReportPage::Begin() {
  if (out_.is_open()) return;
  errno = 0;
  out_.open(ToPath(file_), std::ios::binary);
  out_ << kHead;
}

void ReportPage::CheckWritten() {
  out_.flush();
  if (!out_) throw OutputError(DescribeWriteError("the report", file_));
}

void ReportPage::Add(const CaptureResult& result) {
  Begin();
  const std::string name = EscapeXml(Printable(NameOf(result)));
  if (names_.size() < kMostBars) names_.emplace(result.GetJobNumber(), name);
  out_ << "<section class=\"image\" id=\"image-" << IdOf(result) << "\">\n<h2>" << name
       << "</h2>\n";
  if (result.GetImage() != nullptr && result.GetWidth() > 0) {
    out_ << "<figure style=\"max-width:" << std::max(result.GetWidth(), 200) << "px\">\n";
    WriteOverlay(out_, result);
    out_ << "</figure>\n";
  }
  out_ << "<div>\n";
  if (result.GetCodeCount() > 0) WriteCodes(out_, result);
  for (const CaptureError& error : result.GetErrors()) {
    out_ << "<p class=\"bad\">" << EscapeXml(DescribeError(error)) << "</p>\n";
  }
  ++images_;
  failed_ += result.GetErrorCode() != 0 ? 1 : 0;
  codes_ += result.GetCodeCount();
  if (result.GetWidth() > 0) WriteNumbers(out_, result);
  out_ << "</div>\n</section>\n";
  CheckWritten();
}

void ReportPage::Finish(const Capture& capture) {
  Begin();
  const CaptureStatistics statistics = capture.GetStatistics();
  out_ << "<section class=\"sum\">\n<h2>What ran</h2>\n<p class=\"dim\">" << Count(images_, "image")
       << ", " << images_ - failed_ << " read, " << failed_ << " failed, " << Count(codes_, "code")
       << "; " << Count(capture.GetThreadCount(), "thread") << "</p>\n<div class=\"wide\"><table>"
       << "<tr><th>Task<th>Module<th class=\"number\">Runs<th class=\"number\">Found"
       << "<th class=\"number\">Errors<th class=\"number\">Time-outs<th "
          "class=\"number\">Time</tr>\n";
  for (const TaskCounts& task : statistics.tasks) WriteTask(out_, task);
  out_ << "</table></div>\n</section>\n";
  WriteGraph(capture.GetGraphDot());
  WriteTimeline();
  out_ << "</body>\n</html>\n";
  CheckWritten();
}

void ReportPage::WriteGraph(const std::string& dot) {
  const std::string file = file_ + ".graph.svg";
  const std::string written = WriteGraphFile(file, dot);
  if (written == file) {
    std::ifstream in(ToPath(file), std::ios::binary);
    const std::string svg{std::istreambuf_iterator<char>(in), {}};
    // As a picture: the styles of overlays are those of the whole page.
    out_
        << "<section class=\"sum\">\n<h2>Graph</h2>\n<div class=\"wide\"><img alt=\"the template's "
           "graph\" src=\"data:image/svg+xml;base64,"
        << ToBase64(svg) << "\"></div>\n</section>\n";
  }
  std::error_code ignored;
  std::filesystem::remove(ToPath(written), ignored);
}

void ReportPage::WriteTimeline() {
  const MutexLock lock(mutex_);
  RunMoment begin;
  RunMoment end;
  bool isFirst = true;
  for (const Lane& lane : lanes_) {
    for (const Bar& bar : lane.bars) {
      if (isFirst || bar.begin.time < begin.time) begin = bar.begin;
      if (isFirst || bar.end.time > end.time) end = bar.end;
      isFirst = false;
    }
  }
  if (isFirst) return;
  const std::int64_t all =
      std::chrono::duration_cast<std::chrono::nanoseconds>(end.time - begin.time).count();
  out_ << "<section class=\"sum\">\n<h2>Timeline</h2>\n<p class=\"dim\">";
  for (const char* stage : {"read", "convert", "work", "report"}) {
    out_ << "<i class=\"" << stage << "\"></i>" << stage;
  }
  if (barCount_ > kMostBars) out_ << "; the first " << kMostBars << " of " << barCount_ << " spans";
  out_ << "</p>\n";
  for (const Lane& lane : lanes_) WriteLane(lane, begin, std::max(1.0, static_cast<double>(all)));
  out_ << "<p class=\"dim ends\"><b>0 ms</b><b>" << Milliseconds(all) << "</b></p>\n</section>\n";
}

void ReportPage::WriteLane(const Lane& lane, const RunMoment& begin, double nanoseconds) {
  if (lane.bars.empty()) return;
  out_ << "<div class=\"lane\"><span>" << EscapeXml(lane.name)
       << "</span><svg viewBox=\"0 0 1000 10\" preserveAspectRatio=\"none\">\n";
  const auto position = [&](const RunMoment& moment) {
    const std::chrono::duration<double, std::nano> since = moment.time - begin.time;
    return 1000 * since.count() / nanoseconds;
  };
  for (const Bar& bar : lane.bars) {
    const double x = position(bar.begin);
    const auto name = names_.find(bar.jobNumber);
    out_ << "<rect class=\"" << ClassOf(bar.stage) << "\" x=\"" << x << "\" width=\""
         << std::max(0.3, position(bar.end) - x) << "\" height=\"10\"><title>"
         << EscapeXml(bar.name) << (name != names_.end() ? " " + name->second : "") << ", "
         << Milliseconds(
                std::chrono::duration_cast<std::chrono::nanoseconds>(bar.end.time - bar.begin.time)
                    .count())
         << "</title></rect>\n";
  }
  out_ << "</svg></div>\n";
}

void ReportPage::OnThreadStarted(const char* name) {
  const MutexLock lock(mutex_);
  laneOf_[std::this_thread::get_id()] = lanes_.size();
  lanes_.push_back({name, {}});
}

void ReportPage::OnSpan(const RunSpan& span) {
  if (ClassOf(span.stage) == nullptr) return;
  const MutexLock lock(mutex_);
  if (++barCount_ > kMostBars) return;
  // Reading is told by the thread that takes the images, not by the one that reads.
  const bool isRead = span.stage == RunStage::kRead;
  const std::thread::id thread = isRead ? std::thread::id() : std::this_thread::get_id();
  const auto [lane, isNew] = laneOf_.emplace(thread, lanes_.size());
  if (isNew) lanes_.push_back({isRead ? "source" : "caller", {}});
  lanes_[lane->second].bars.push_back(
      {span.stage, span.name, span.jobNumber, span.begin, span.end});
}

}  // namespace velmora::capture
