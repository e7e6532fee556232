#include <fcntl.h>
#include <json/reader.h>
#include <unistd.h>

#include "tests/tools/capture_run.h"
#include "tools/capture/system.h"

namespace velmora::capture {
namespace {

std::string WithoutCarriageReturns(std::string text) {
  text.erase(std::remove(text.begin(), text.end(), '\r'), text.end());
  return text;
}

void ExpectText(const std::string& text, const std::string& part) {
  if (part.empty()) {
    EXPECT_EQ(text, "");
  } else {
    EXPECT_PRED_FORMAT2(::testing::IsSubstring, part, text);
  }
}

int Launch(const std::vector<std::string>& arguments) {
  std::vector<std::string> command = {VELMORA_CAPTURE_PROGRAM};
  command.insert(command.end(), arguments.begin(), arguments.end());
  return RunProgram(command);
}

}  // namespace

CaptureRun RunCapture(const std::vector<std::string>& arguments, const std::string& input) {
  const testing::TemporaryDirectory scratch;
  testing::WriteFile(scratch / "input", input);
  // The child inherits the streams of this process.
  EXPECT_NE(std::freopen((scratch / "input").c_str(), "rb", stdin), nullptr);
  CaptureRun run;
  ::testing::internal::CaptureStdout();
  ::testing::internal::CaptureStderr();
  run.status = Launch(arguments);
  run.out = WithoutCarriageReturns(::testing::internal::GetCapturedStdout());
  run.err = WithoutCarriageReturns(::testing::internal::GetCapturedStderr());
  std::fclose(stdin);
  return run;
}

CaptureRun RunWithoutOutput(const std::vector<std::string>& arguments) {
  CaptureRun run;
  ::testing::internal::CaptureStderr();
  std::fflush(stdout);
  const int kept = dup(1);
  const int readOnly = open("samples/expected.tsv", O_RDONLY);
  dup2(readOnly, 1);
  run.status = Launch(arguments);
  dup2(kept, 1);
  close(readOnly);
  close(kept);
  run.err = WithoutCarriageReturns(::testing::internal::GetCapturedStderr());
  return run;
}

void ExpectRun(const CaptureRun& run, int status, const std::string& out, const std::string& err) {
  EXPECT_EQ(run.status, status);
  ExpectText(run.out, out);
  ExpectText(run.err, err);
}

void RunRows(const std::vector<RunRow>& rows, const std::string& input) {
  for (const RunRow& row : rows) {
    SCOPED_TRACE(row.name);
    std::vector<std::string> arguments;
    std::istringstream all(row.arguments);
    for (std::string one; std::getline(all, one, '|');) arguments.push_back(one);
    ExpectRun(RunCapture(arguments, input), row.status, row.out, row.err);
  }
}

std::size_t CountOf(const std::string& text, const std::string& part) {
  std::size_t count = 0;
  for (std::size_t at = 0; (at = text.find(part, at)) != std::string::npos; ++at) ++count;
  return count;
}

Json::Value ParseJson(const std::string& text) {
  Json::CharReaderBuilder builder;
  Json::CharReaderBuilder::strictMode(&builder.settings_);
  std::istringstream stream(text);
  Json::Value value;
  std::string faults;
  EXPECT_TRUE(Json::parseFromStream(builder, stream, &value, &faults))
      << faults << text.substr(0, 200);
  return value;
}

std::vector<Json::Value> CaptureRun::Reports() const {
  std::vector<Json::Value> reports;
  std::istringstream lines(out);
  for (std::string line; std::getline(lines, line);) reports.push_back(ParseJson(line));
  return reports;
}

}  // namespace velmora::capture
