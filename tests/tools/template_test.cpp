// Templates: every fault is found before the first picture is read, with its place, the value that
// is wrong and what would be right.
#include "tests/tools/capture_run.h"

namespace velmora::capture {
namespace {

using testing::TemporaryDirectory;
using testing::WriteFile;

// A template of one definition with one task, whose members follow the name.
std::string OneTask(const std::string& members) {
  return R"({"Name":"t","Definitions":[{"Name":"A","Tasks":[{"Name":"x",)" + members + "}]}]}";
}

// Members, then a definition that locates.
std::string Locating(const std::string& members) {
  return "{" + members +
         R"("Definitions":[{"Name":"A","Tasks":[{"Name":"x","Module":"Locator"}]}]})";
}

CaptureRun RunTemplate(const std::string& text) {
  const TemporaryDirectory folder;
  WriteFile(folder / "t.json", text);
  return RunCapture({"--json", "--template", folder / "t.json", "samples/qr.png"});
}

TEST(Template, NamesPlaceValueAndAllowedValues) {
  const std::pair<std::string, std::string> rows[] = {
      {"{\"Name\": \"t\",\n  ,}",
       ":2:3: Missing '}' or object member name (-10030: Json parse failed.)"},
      {"[]", ":1:1: an array stands where an object is wanted (-10031: Json type is invalid.)"},
      {Locating(""), ":1:1: this object has no \"Name\" (-10034: "},
      {R"({"Name":"t"})", ":1:1: the key \"Definitions\" is missing (-10032: "},
      {OneTask(R"("Module":"Locator","Outptu":true)"),
       R"(Tasks[0].Outptu: there is no key "Outptu" here; allowed are "Name", "Module", )"
       R"("Optional", "Output", "WorkModes", "UnlessFoundBy", "Settings" (-10032: )"},
      {OneTask(R"("Module":7,"Output":1)"),
       "t.json:1:81: Definitions[0].Tasks[0].Output: 1 stands where true or false is wanted "},
      {Locating(R"("Name":"a{b",)"),
       R"(:1:9: Name: "a{b" cannot be a name: a name is not empty and has none of {}[] (-10033: )"},
      {Locating(R"("Name":"t","TimeoutMs":0,)"),
       "TimeoutMs: 0 is not between 1 and 1000000000 (-10033: "},
      {OneTask(R"("Module":"Locator"},{"Name":"x","Module":"Locator")"),
       "Tasks[1].Name: \"x\" is used twice (-10035: "},
      {OneTask(R"("Module":"Locator","UnlessFoundBy":["y"])"),
       R"(Tasks[0].UnlessFoundBy: there is no "y"; there is "x" (-10037: )"},
      {OneTask(R"("Module":"Locator","UnlessFoundBy":["x"])"),
       "Definitions[0].Tasks: these wait for each other: x -> x (-10037: "},
      {"{\"Name\":\"t\",\"Definitions\":[\n"
       R"({"Name":"C","Parents":["A"],"Tasks":[{"Name":"x","Module":"Locator"}]},)"
       R"({"Name":"A","Parents":["B"],"Tasks":[{"Name":"x","Module":"Locator"}]},)"
       R"({"Name":"B","Parents":["A"],"Tasks":[{"Name":"x","Module":"Locator"}]}]})",
       ":1:27: Definitions: these wait for each other: A -> B -> A (-10037: "},
      {OneTask("\"Module\":\"../Nope\""),
       "Tasks[0].Module: \"../Nope\" is not the name of a module (-10033: "},
      {R"({"Name":"t","Definitions":[{"Name":"A","Priority":-1,"Tasks":[{"Name":"x",)"
       R"("Module":"Locator"}]}]})",
       "Definitions[0].Priority: -1 is not between 0 and 2147483647 (-10033: "},
      {OneTask(R"("Module":"Locator","Settings":{"Radius":0})"),
       "t.json:1:101: Definitions[0].Tasks[0].Settings.Radius: 0 is not between 1 and 1000 "
       "(-10033: "},
      {OneTask(R"("Module":"CodeReader","Settings":{"Symbologies":["QR","Kix"]})"),
       R"(Settings.Symbologies[1]: "Kix" is not among "EAN-13", )"},
      {OneTask(R"("Module":"CodeReader","Settings":{"Symbologies":[]})"),
       R"(Settings.Symbologies: an array stands where an array of "EAN-13", )"},
  };
  for (const auto& [text, error] : rows) {
    SCOPED_TRACE(text);
    ExpectRun(RunTemplate(text), 2, "", error);
  }
}

// A task without its module is left out; settings reach the module, and one task's finds spare
// another one's work: what is found is how sharp black beside white is.
TEST(Template, RunsWhatItSays) {
  ExpectRun(RunTemplate(
                OneTask(R"("Module":"Nope","Optional":true},{"Name":"read","Module":"CodeReader",)"
                        R"("Output":true,"UnlessFoundBy":["x"])")),
            0, R"("text":"https://example.org/velmora"}],"errors":[])",
            "note: {A}[x] is left out: module \"Nope\" was not found");
  ExpectRun(
      RunTemplate(OneTask(
          R"("Module":"CodeReader","Output":true,"Settings":{"Symbologies":["EAN-13"]}})"
          R"(,{"Name":"sharp","Module":"Sharpness","Output":true},)"
          R"({"Name":"spared","Module":"CodeReader","Output":true,"UnlessFoundBy":["sharp"])")),
      0, R"("symbology":"Sharpness","task":"sharp","text":"255"}],"errors":[])",
      "1 image, 1 read, 0 failed, 1 code;");
}

// What one task found excludes its own place from another one's work, and no more: the label
// carries three codes that CodeReader reads.
TEST(Template, ExcludesTheAreaOfWhatWasFound) {
  const TemporaryDirectory folder;
  const std::string reader = R"("Module":"CodeReader","Output":true)";
  struct Row {
    const char* name;
    std::string definitions;
    std::vector<std::string> found;  // definition, task and symbology
  };
  const std::string first =
      R"({"Name":"A","Tasks":[{"Name":"qr",)" + reader + R"(,"Settings":{"Symbologies":["QR"]}})";
  const auto second = [&](const char* key, const char* parents) {
    return R"(]},{"Name":"B",)" + std::string(key) + R"("Parents":[)" + parents +
           R"(],"Tasks":[{"Name":"all",)" + reader + "}]}";
  };
  for (const Row& row : {
           Row{"in the same definition",
               first + R"(,{"Name":"all",)" + reader + R"(,"UnlessFoundBy":["qr"]}]})",
               {"A all CODE-128", "A all EAN-13", "A qr QR"}},
           Row{"only if nothing was found",
               first + second(R"("OnlyIfNothingFound":true,)", "\"A\""),
               {"A qr QR"}},
           Row{"regions without a find",
               first + R"(]},{"Name":"C","Tasks":[{"Name":"locate","Module":"Locator"})" +
                   second(R"("OnlyIfNothingFound":true,)", "\"A\",\"C\""),
               {"A qr QR", "B all CODE-128", "B all EAN-13"}},
       }) {
    SCOPED_TRACE(row.name);
    WriteFile(folder / "t.json", R"({"Name":"t","Definitions":[)" + row.definitions + "]}");
    const CaptureRun run =
        RunCapture({"--json", "--template", folder / "t.json", "samples/label.jpg"});
    std::vector<std::string> found;
    for (const Json::Value& report : run.Reports()) {
      for (const Json::Value& code : report["codes"]) {
        found.push_back(code["definition"].asString() + ' ' + code["task"].asString() + ' ' +
                        code["symbology"].asString());
      }
    }
    std::sort(found.begin(), found.end());
    EXPECT_EQ(found, row.found) << run.out << run.err;
  }
}

// What docs/writing-a-module.md shows is in the modules and their projects.
TEST(Module, IsWhatItsDocumentationShows) {
  const std::string page = testing::ReadFile("../../docs/writing-a-module.md");
  const auto read = [](const char* file) {
    return testing::ReadFile(std::string("../../") + file);
  };
  std::string comment = read("examples/own_module/brightness.cpp");
  for (std::size_t at = 0; (at = comment.find("\n//   ", at)) != std::string::npos; ++at) {
    comment.erase(at + 1, 5);
  }
  struct Row {
    std::string fence;
    std::string files;
    int blocks;
  };
  for (const Row& row : {
           Row{"```cpp\n", read("modules/sharpness/sharpness.cpp"), 4},
           Row{"```cmake\n",
               read("modules/CMakeLists.txt") + read("examples/own_module/CMakeLists.txt"), 3},
           Row{"```sh\n", comment, 1},
       }) {
    int blocks = 0;
    for (std::size_t at = 0; (at = page.find(row.fence, at)) != std::string::npos; ++blocks) {
      at += row.fence.size();
      const std::string block = page.substr(at, page.find("```", at) - at);
      EXPECT_NE(row.files.find(block), std::string::npos) << block;
      at += block.size() + 3;
    }
    EXPECT_EQ(blocks, row.blocks) << row.fence;
  }
}

}  // namespace
}  // namespace velmora::capture
