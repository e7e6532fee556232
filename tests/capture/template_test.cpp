// Templates: every fault is found before the first picture is read, with its place, the value that
// is wrong and what would be right.
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/capture/capture_run.h"

namespace velmora::capture {
namespace {

using testing::TemporaryDirectory;
using testing::WriteFile;

#if defined(_WIN32)
constexpr char kNopeFile[] = "Nopex86.dll";
#else
constexpr char kNopeFile[] = "Nope.so";
#endif

// A template of one definition with one task, whose members follow the name.
std::string OneTask(const std::string& members) {
  return R"({"Name":"t","Definitions":[{"Name":"A","Tasks":[{"Name":"x",)" + members + "}]}]}";
}

CaptureRun RunTemplate(const std::string& text, const TemporaryDirectory& folder) {
  WriteFile(folder / "t.json", text);
  return RunCapture({"--json", "--template", folder / "t.json", "samples/qr.png"});
}

TEST(Template, NamesPlaceValueAndAllowedValues) {
  const TemporaryDirectory folder;
  struct Row {
    std::string text;
    std::string error;  // behind the file's name
  };
  for (
      const Row& row : {
          Row{"{\"Name\": \"t\",\n  ,}",
              ":2:3: Missing '}' or object member name (-10030: Json parse failed.)"},
          Row{"[]",
              ":1:1: an array stands where an object is wanted (-10031: Json type is invalid.)"},
          Row{R"({"Definitions":[{"Name":"A","Tasks":[{"Name":"x","Module":"Locator"}]}]})",
              ":1:1: this object has no \"Name\" (-10034: "},
          Row{R"({"Name":"t"})", ":1:1: the key \"Definitions\" is missing (-10032: "},
          Row{OneTask(R"("Module":"Locator","Outptu":true)"),
              R"(Tasks[0].Outptu: there is no key "Outptu" here; allowed are "Name", "Module", )"
              R"("Optional", "Output", "WorkModes", "UnlessFoundBy", "Settings" (-10032: )"},
          Row{OneTask("\"Module\":7"),
              ":1:70: Definitions[0].Tasks[0].Module: 7 stands where a string is wanted (-10031: "},
          Row{R"({"Name":"a{b","Definitions":[{"Name":"A","Tasks":[{"Name":"x","Module":"Locator"}]}]})",
              R"(:1:9: Name: "a{b" cannot be a name: a name is not empty and has none of {}[] (-10033: )"},
          Row{R"({"Name":"t","TimeoutMs":0,"Definitions":[{"Name":"A","Tasks":[{"Name":"x","Module":"Locator"}]}]})",
              "TimeoutMs: 0 is not between 1 and 1000000000 (-10033: "},
          Row{OneTask(R"("Module":"Locator"},{"Name":"x","Module":"Locator")"),
              "Tasks[1].Name: \"x\" is used twice (-10035: "},
          Row{OneTask(R"("Module":"Locator","UnlessFoundBy":["y"])"),
              R"(Tasks[0].UnlessFoundBy: there is no "y"; there is "x" (-10037: )"},
          Row{OneTask(R"("Module":"Locator","UnlessFoundBy":["x"])"),
              "Definitions[0].Tasks: these wait for each other: x -> x (-10037: "},
          Row{"{\"Name\":\"t\",\"Definitions\":[\n"
              R"({"Name":"C","Parents":["A"],"Tasks":[{"Name":"x","Module":"Locator"}]},)"
              R"({"Name":"A","Parents":["B"],"Tasks":[{"Name":"x","Module":"Locator"}]},)"
              R"({"Name":"B","Parents":["A"],"Tasks":[{"Name":"x","Module":"Locator"}]}]})",
              ":1:27: Definitions: these wait for each other: A -> B -> A (-10037: "},
          Row{OneTask("\"Module\":\"Nope\""),
              std::string("Tasks[0].Module: module \"Nope\" was not found: there is no usable ") +
                  kNopeFile + " beside the program or where the system looks (-10065: "},
          Row{OneTask(R"("Module":"Locator","WorkModes":["Thorough"])"),
              R"(WorkModes: "Thorough" is no work mode of Locator; there is "Contrast" (-10038: )"},
          Row{OneTask(R"("Module":"Locator","Settings":{"Radius":0})"),
              "Settings: \"Radius\": 0 is no whole number from 1 to 1000 (-10038: "},
          Row{OneTask(R"("Module":"Locator","Settings":{"Radios":9})"),
              "\"Radios\" is no setting of this module; there is \"Radius\", \"Offset\", "},
          Row{OneTask(R"("Module":"CodeReader","Settings":{"Symbologies":["QR","Kix"]})"),
              R"(Settings: "Symbologies": "Kix" is not among "EAN-13", )"},
      }) {
    const CaptureRun run = RunTemplate(row.text, folder);
    EXPECT_EQ(run.status, 2) << row.text;
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err.find((folder / "t.json") + ":"), 0u) << run.err;
    EXPECT_NE(run.err.find(row.error), std::string::npos) << run.err << "instead of " << row.error;
  }
}

TEST(Template, TellsAllFaultsAtOnce) {
  const TemporaryDirectory folder;
  const CaptureRun run =
      RunTemplate(OneTask(R"("Module":7,"Output":1},{"Name":"","Module":"Locator")"), folder);
  EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 3) << run.err;
}

TEST(Template, LeavesOutAnOptionalTaskWithoutItsModule) {
  const TemporaryDirectory folder;
  const CaptureRun run = RunTemplate(
      OneTask(R"("Module":"Nope","Optional":true},{"Name":"read","Module":"CodeReader",)"
              R"("Output":true,"UnlessFoundBy":["x"])"),
      folder);
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(run.err.find("note: {A}[x] is left out: module \"Nope\" was not found"), 0u) << run.err;
  EXPECT_EQ(run.Reports().at(0)["codes"][0]["text"], "https://example.org/velmora");
}

// The settings reach the module, and one task's finds spare another one's work.
TEST(Template, RunsWhatItSays) {
  const TemporaryDirectory folder;
  const std::string reader =
      R"("Module":"CodeReader","Output":true,"Settings":{"Symbologies":["EAN-13"]}})"
      R"(,{"Name":"sharp","Module":"Sharpness","Output":true},)"
      R"({"Name":"spared","Module":"CodeReader","Output":true,"UnlessFoundBy":["sharp"])";
  const CaptureRun run = RunTemplate(OneTask(reader), folder);
  EXPECT_EQ(run.status, 0) << run.err;
  const Json::Value report = run.Reports().at(0);
  ASSERT_EQ(report["codes"].size(), 1u) << run.out;
  EXPECT_EQ(report["codes"][0]["task"], "sharp");
  EXPECT_EQ(report["codes"][0]["text"], "255") << "black beside white";
}

// The code that docs/writing-a-module.md shows is that of the module.
TEST(Module, IsWhatItsDocumentationShows) {
  const std::string page = testing::ReadFile("../../docs/writing-a-module.md");
  const std::string code = testing::ReadFile("../modules/sharpness/sharpness.cpp");
  int blocks = 0;
  for (std::size_t at = 0; (at = page.find("```cpp\n", at)) != std::string::npos; ++blocks) {
    at += 7;
    const std::string block = page.substr(at, page.find("```", at) - at);
    EXPECT_NE(code.find(block), std::string::npos) << block;
    at += block.size() + 3;
  }
  EXPECT_EQ(blocks, 4);
}

}  // namespace
}  // namespace velmora::capture
