// The sample pictures: what is in them, and what is told about those that cannot be read.
#include <gtest/gtest.h>

#include <fstream>
#include <set>
#include <sstream>

#include "tests/capture/capture_run.h"

namespace velmora::capture {
namespace {

using testing::ReadFile;

#if defined(VELMORA_HAS_MATRIX_READER)
constexpr bool kHasMatrixReader = true;
#else
constexpr bool kHasMatrixReader = false;
#endif

bool HoldsCode(const std::vector<Json::Value>& reports, const std::string& file,
               const std::string& symbology, const std::string& text) {
  for (const Json::Value& report : reports)
    for (const Json::Value& code : report["codes"])
      if (report["image"] == "samples/" + file && code["symbology"] == symbology &&
          code["text"] == text)
        return true;
  return false;
}

// Every line of the table that a module of this target can read, and nothing beside them.
TEST(Samples, HoldWhatTheTableSays) {
  const CaptureRun run = RunCapture({"--json", "samples"});
  EXPECT_EQ(run.status, 1) << "broken.png is among them";
  const std::vector<Json::Value> reports = run.Reports();
  ASSERT_EQ(reports.size(), 17u);
  unsigned expected = 0;
  unsigned missed = 0;
  std::ifstream table("samples/expected.tsv");
  for (std::string line; std::getline(table, line);) {
    if (line.empty() || line[0] == '#') continue;
    std::istringstream fields(line);
    std::string file, module, symbology, text;
    std::getline(std::getline(fields, file, '\t'), module, '\t');
    std::getline(std::getline(fields, symbology, '\t'), text);
    if (module == "MatrixReader" && !kHasMatrixReader) continue;
    ++expected;
    if (HoldsCode(reports, file, symbology, text)) continue;
    ++missed;
    ADD_FAILURE() << file << ": no " << symbology << " " << text;
  }
  unsigned found = 0;
  for (const Json::Value& report : reports) found += report["codes"].size();
  std::cout << expected << " codes expected, " << missed << " missed\n";
  EXPECT_EQ(expected, kHasMatrixReader ? 18u : 14u);
  EXPECT_EQ(found, expected) << "more than the table knows";
  EXPECT_EQ(run.err.find("MatrixReader") == std::string::npos, kHasMatrixReader)
      << "an optional task is left out with a note";
}

// One file for both targets, and for one thread as for four: places and texts are the same.
TEST(Samples, GiveTheSameJsonEverywhere) {
  const std::string expected = ReadFile(VELMORA_CAPTURE_TESTS "/linear.jsonl");
  ASSERT_FALSE(expected.empty());
  for (const char* threads : {"1", "4"}) {
    SCOPED_TRACE(threads);
    const CaptureRun run = RunCapture(
        {"--json", "--threads", threads, "--template", "templates/linear.json", "samples"});
    EXPECT_EQ(run.out, expected);
    EXPECT_NE(run.err.find("17 images, 16 read, 1 failed, 14 codes"), std::string::npos) << run.err;
  }
}

TEST(Samples, ReadAsLinesFromAList) {
  const CaptureRun run =
      RunCapture({"--template=templates/linear.json", "-"}, "samples/qr.png\r\n\nsamples/none.jpg");
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(run.out.substr(0, run.out.find("2 images")),
            "samples/qr.png: 209x209, 1 code\n"
            "    QR          https://example.org/velmora\n"
            "samples/none.jpg: 640x480, no code\n");
  EXPECT_NE(run.out.find("\n2 images, 2 read, 0 failed, 1 code;"), std::string::npos) << run.out;
  EXPECT_EQ(run.err, "");
}

TEST(Failures, NameTheFileAndDoNotEndTheRun) {
  const CaptureRun run = RunCapture({"--template", "templates/linear.json", "samples/broken.png",
                                     "no such.png", "samples/expected.tsv", "samples/qr.png"});
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.err,
            "samples/broken.png: Failed to read the image. Corrupt PNG (-10012)\n"
            "no such.png: The file is not found. (-10005)\n"
            "samples/expected.tsv: The file type is not supported. Image not of any known type, or "
            "corrupt (-10006)\n");
  EXPECT_NE(run.out.find("https://example.org/velmora"), std::string::npos);
  EXPECT_NE(run.out.find("4 images, 1 read, 3 failed, 1 code;"), std::string::npos) << run.out;
}

// In the system's own encoding on the command line, in UTF-8 in JSON.
TEST(Failures, NameFilesInUtf8) {
#if defined(_WIN32)
  const char* const name = "gr\xFC\xDF.png";
#else
  const char* const name = "gr\xC3\xBC\xC3\x9F.png";
#endif
  const std::vector<Json::Value> reports = RunCapture({"--json", name}).Reports();
  ASSERT_EQ(reports.size(), 1u);
  EXPECT_EQ(reports[0]["image"], "gr\xC3\xBC\xC3\x9F.png");
  EXPECT_EQ(reports[0]["errors"][0]["code"], -10005);
}

TEST(Failures, DoNotHideThatADirectoryHoldsNoPicture) {
  const testing::TemporaryDirectory folder;
  const CaptureRun run = RunCapture({folder.GetPath().string()});
  EXPECT_EQ(run.status, 0);
  EXPECT_NE(run.err.find("note: there is no picture in " + folder.GetPath().string()),
            std::string::npos)
      << run.err;
  EXPECT_NE(run.out.find("0 images,"), std::string::npos) << run.out;
}

TEST(Usage, IsRefusedWithASentence) {
  struct Row {
    std::vector<std::string> arguments;
    const char* error;
  };
  for (const Row& row : {
           Row{{}, "there is nothing to read"},
           Row{{"--frobnicate", "x.png"}, "there is no option --frobnicate"},
           Row{{"x.png", "--threads"}, "--threads needs a value"},
           Row{{"--threads=0", "x.png"}, "--threads takes a number from 1 to 256, not '0'"},
           Row{{"--timeout", "1s", "x.png"}, "--timeout takes a number from 1 to"},
           Row{{"--overflow", "grow", "x.png"}, "--overflow takes block or drop, not 'grow'"},
           Row{{"--raw", "640x480:nv13", "x.raw"}, "'640x480:nv13' is not WIDTHxHEIGHT:FORMAT"},
           Row{{"--raw", "640x480:rgb@", "x.raw"}, "'640x480:rgb@' is not WIDTHxHEIGHT"},
           Row{{"--raw", "640:rgb", "x.raw"}, "'640:rgb' is not WIDTHxHEIGHT"},
           Row{{"--raw", "639x480:nv12", "x.raw"}, "must be even"},
           Row{{"--raw", "0x480:rgb", "x.raw"}, "must be 1 to 16384"},
           Row{{"--template", "none.json", "x.png"}, "the template 'none.json' cannot be read"},
           Row{{"--log-config", "none.ini", "x.png"}, "'none.ini' cannot be read"},
           Row{{"--trace", "no/where.json", "x.png"}, "'no/where.json' cannot be written"},
           Row{{"--graph", "no/where.svg", "x.png"}, "cannot be written"},
           Row{{"--overlay", "samples/qr.png", "x.png"}, "the folder 'samples/qr.png' cannot be"},
       }) {
    const CaptureRun run = RunCapture(row.arguments);
    EXPECT_EQ(run.status, 2) << row.error;
    EXPECT_EQ(run.out, "");
    EXPECT_NE(run.err.find(row.error), std::string::npos) << run.err;
  }
}

TEST(Usage, HelpAndVersionNeedNoPicture) {
  const CaptureRun help = RunCapture({"--help"});
  EXPECT_EQ(help.status, 0);
  EXPECT_EQ(help.out.find("usage: velmora-capture"), 0u);
  const CaptureRun version = RunCapture({"--version"});
  EXPECT_EQ(version.status, 0);
  EXPECT_EQ(version.out, "velmora-capture 4.6.50.9329\n");
}

}  // namespace
}  // namespace velmora::capture
