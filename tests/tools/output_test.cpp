// The files that the program writes beside its lines.
#include "tests/tools/capture_run.h"

namespace velmora::capture {
namespace {

using testing::ReadFile;
using testing::TemporaryDirectory;

std::vector<std::string> FilesIn(const std::string& folder) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    names.push_back(entry.path().filename().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

TEST(Output, OverlaysShowPictureRegionsAndTexts) {
  const TemporaryDirectory folder;
  const CaptureRun run =
      RunCapture({"--template=templates/linear.json", "--overlay", folder / "made/here",
                  "samples/label.jpg", "samples/broken.png", "samples/qr.png"});
  EXPECT_EQ(run.status, 1);
  const std::vector<std::string> names = {"0000-label.jpg.svg", "0002-qr.png.svg"};
  ASSERT_EQ(FilesIn(folder / "made/here"), names) << "there is nothing to draw over a broken file";
  for (const std::string& name : names) {
    std::string svg = ReadFile(folder / "made/here/" + name);
    const std::size_t picture = svg.find("iVBORw0KGgo");
    svg.erase(picture, svg.find('"', picture) - picture);
    EXPECT_EQ(svg, ReadFile(VELMORA_CAPTURE_TESTS "/overlays/" + name));
  }
}

TEST(Output, IntermediateFilesAreWhatAnObserverSees) {
  const TemporaryDirectory folder;
  const CaptureRun run =
      RunCapture({"--template=templates/linear.json", "--threads=1", "--intermediate", folder / "i",
                  "samples/qr.png", "samples/none.jpg"});
  EXPECT_EQ(run.status, 0) << run.err;
  ASSERT_EQ(FilesIn(folder / "i"),
            (std::vector<std::string>{
                "0000-000-candidates-locate.png", "0000-001-candidates-locate.json",
                "0001-002-candidates-locate.png", "0001-003-candidates-locate.json"}));
  const Json::Value regions = ParseJson(ReadFile(folder / "i/0000-001-candidates-locate.json"));
  EXPECT_EQ(regions["regions"].size(), 1u);
  EXPECT_EQ(regions["regions"][0]["corners"].size(), 4u);
  // An image of its own: it can be read like any other.
  const CaptureRun again = RunCapture(
      {"--json", "--template=templates/linear.json", folder / "i/0000-000-candidates-locate.png"});
  ExpectRun(again, 0, "https://example.org/velmora", "1 image, 1 read,");
}

TEST(Output, TraceHasOneLaneAThread) {
  const TemporaryDirectory folder;
  RunCapture({"--threads=3", "--trace", folder / "t.json", "samples/label.jpg", "samples/qr.png"});
  const Json::Value events = ParseJson(ReadFile(folder / "t.json"))["traceEvents"];
  std::map<int, std::string> lanes;
  std::map<std::string, int> counts;
  std::map<int, double> end;  // of the last work in the lane
  for (const Json::Value& event : events) {
    const int lane = event["tid"].asInt();
    if (event["ph"] == "M") {
      lanes[lane] = event["args"]["name"].asString();
      continue;
    }
    EXPECT_EQ(event["ph"], "X");
    EXPECT_GE(event["dur"].asDouble(), 0);
    ++counts[event["cat"].asString()];
    if (event["cat"] != "work") continue;
    EXPECT_EQ(event["args"]["name"].asString().find("samples/"), 0u);
    EXPECT_EQ(event["args"]["region"].size(), 4u);
    EXPECT_NE(event["args"]["mode"].asString(), "");
    EXPECT_EQ(lanes[lane].find("pool "), 0u);
    EXPECT_GE(event["ts"].asDouble(), end[lane]) << "a thread does one thing at a time";
    end[lane] = event["ts"].asDouble() + event["dur"].asDouble();
  }
  EXPECT_EQ(lanes.size(), 5u) << "caller, source and the pool";
  EXPECT_EQ(counts["read"], 2);
  // A thread may still have to put down the item whose work ended the run.
  EXPECT_NEAR(counts["work"], counts["item"], 3);
}

// One page with all of it, that asks for nothing outside itself.
TEST(Output, ReportHoldsTheWholeRun) {
  const TemporaryDirectory folder;
  std::filesystem::copy("samples/qr.png", folder.GetPath() / "a,b & c.png");
  const CaptureRun run =
      RunCapture({"--csv", "--template=templates/linear.json", "--report", folder / "r.html",
                  "samples/label.jpg", "samples/broken.png", folder / "a,b & c.png"});
  ExpectRun(run, 1, "2,\"" + (folder / "a,b & c.png") + "\",QR,", "3 images, 2 read, 1 failed");
  const std::string page = ReadFile(folder / "r.html");
  for (const char* part :
       {"<h2>samples/label.jpg</h2>", "a,b &amp; c.png</h2>", "<td>EAN-13<td class=\"text\">",
        "<p class=\"bad\">Failed to read the image. the file ends within the picture (-10012)</p>",
        "3 images, 2 read, 1 failed, 4 codes;", "<tr><td>{codes}[linear]<td>CodeReader",
        "<span>source</span>", "<span>pool 1</span>", "{candidates}[locate] samples/label.jpg, "}) {
    EXPECT_PRED_FORMAT2(::testing::IsSubstring, part, page);
  }
  EXPECT_EQ(CountOf(page, "<figure"), 2u);
  EXPECT_EQ(CountOf(page, "href=") + CountOf(page, "src="),
            CountOf(page, "href=\"data:") + CountOf(page, "src=\"data:"));
  EXPECT_EQ(page.find("</html>\n") + 8, page.size());
}

TEST(Output, GraphShowsTheStateOfEveryTask) {
  const TemporaryDirectory folder;
  const CaptureRun run = RunCapture({"--graph", folder / "g.svg", "samples/qr.png"});
  EXPECT_EQ(run.status, 0) << run.err;
  const bool isDrawn = std::filesystem::exists(folder / "g.svg");
  EXPECT_EQ(isDrawn, run.err.find("note: Graphviz is not there") == std::string::npos) << run.err;
  const std::string text = ReadFile(isDrawn ? folder / "g.svg" : folder / "g.svg.dot");
  EXPECT_NE(isDrawn, std::filesystem::exists(folder / "g.svg.dot"));
  for (const char* part : {"locate (Locator)", "linear (CodeReader)", "matrix (MatrixReader)",
                           "in 1 call, 1 found", "done", "unless found", "not run"}) {
    EXPECT_PRED_FORMAT2(::testing::IsSubstring, part, text);
  }
}

TEST(Output, LogFollowsItsIniFile) {
  const TemporaryDirectory folder;
  std::string path = folder / "";
  path.erase(path.find(' '), 1);  // the log's paths know no blank
  std::filesystem::create_directory(path);
  testing::WriteFile(folder / "log.ini",
                     "[BARCODECONFIG]\nPath = " + path + "\nLevel=9\nMode=2\nOutputMode=1\n");
  EXPECT_EQ(RunCapture({"--log-config", folder / "log.ini", "samples/qr.png"}).status, 0);
  std::string log;
  for (const std::string& file : FilesIn(path)) log += ReadFile(path + file);
  EXPECT_NE(log.find("[TargetROI:candidates][Task:locate]"), std::string::npos) << log;
  std::filesystem::remove_all(path);
}

}  // namespace
}  // namespace velmora::capture
