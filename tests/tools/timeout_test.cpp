// Time budgets: what was found before stays, the rest of the work does not happen.
#include "tests/tools/capture_run.h"

namespace velmora::capture {
namespace {

using testing::TemporaryDirectory;
using testing::WriteFile;

// Striped squares, `count` of them beside and below each other: each is a candidate without a code.
std::string StripedSquares(int count) {
  const int side = count * 60;
  std::string picture = "P5 " + std::to_string(side) + " " + std::to_string(side) + " 255\n";
  for (int y = 0; y < side; ++y) {
    for (int x = 0; x < side; ++x) {
      picture += x % 60 < 40 && y % 60 < 40 && x % 8 < 4 ? '\0' : '\xFF';
    }
  }
  return picture;
}

// Sharpness is done in no time; then each reader tries each square in vain.
std::string EndlessTemplate(int readers) {
  std::string text = R"({"Name":"endless","Definitions":[
      {"Name":"first","Tasks":[{"Name":"sharp","Module":"Sharpness","Output":true}]},
      {"Name":"squares","Parents":["first"],"Tasks":[
        {"Name":"locate","Module":"Locator","Settings":{"MaxCandidates":10000}}]},
      {"Name":"codes","Parents":["squares"],"Tasks":[)";
  for (int i = 0; i < readers; ++i) {
    text += R"({"Module":"CodeReader","Output":true,"Name":"r)" + std::to_string(i) + "\"},";
  }
  text.back() = ']';
  return text + "}]}";
}

TEST(Timeout, KeepsWhatWasFoundAndEndsInTime) {
  const TemporaryDirectory folder;
  WriteFile(folder / "squares.pgm", StripedSquares(20));
  WriteFile(folder / "t.json", EndlessTemplate(40));
  const CaptureRun run = RunCapture({"--json", "--threads", "2", "--timeout", "300", "--template",
                                     folder / "t.json", "--trace", folder / "trace.json", "--graph",
                                     folder / "g.svg", folder / "squares.pgm"});
  EXPECT_EQ(run.status, 1);
  const std::vector<Json::Value> reports = run.Reports();
  ASSERT_EQ(reports.size(), 1u);
  ASSERT_EQ(reports[0]["codes"].size(), 1u);
  EXPECT_EQ(reports[0]["codes"][0]["task"], "sharp");
  ASSERT_GT(reports[0]["errors"].size(), 0u);
  std::set<std::string> tasks;  // told once for each task, however many regions it met
  for (const Json::Value& error : reports[0]["errors"]) {
    EXPECT_EQ(error["code"], EC_Timeout);
    EXPECT_TRUE(tasks.insert(error["task"].asString()).second) << run.out;
  }
  EXPECT_NE(run.err.find("Operation timeout. (-10026)\n"), std::string::npos) << run.err;

  // The graph marks the very tasks that the errors name, begun or not.
  const std::string graph =
      testing::ReadFile(folder / "g.svg") + testing::ReadFile(folder / "g.svg.dot");
  EXPECT_EQ(CountOf(graph, "timed out"), tasks.size()) << graph;

  // The readers alone would take seconds. Work that begins late ends at its first look at the time.
  double begin = 1e12;
  double end = 0;
  double longest = 0;
  const Json::Value trace = ParseJson(testing::ReadFile(folder / "trace.json"));
  for (const Json::Value& event : trace["traceEvents"]) {
    if (event["cat"] != "work" || event["args"]["image"] != 0) continue;
    begin = std::min(begin, event["ts"].asDouble());
    end = std::max(end, event["ts"].asDouble() + event["dur"].asDouble());
    longest = std::max(longest, event["dur"].asDouble());
  }
  EXPECT_LT(end - begin, 300e3 + longest + 1000e3) << "microseconds";
}

}  // namespace
}  // namespace velmora::capture
