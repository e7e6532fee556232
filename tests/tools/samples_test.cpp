// The sample pictures: what is in them, and what is told about those that cannot be read.
#include "tests/tools/capture_run.h"

namespace velmora::capture {
namespace {

using testing::TemporaryDirectory;

// Every line of the table that a module of this target can read, and nothing beside them.
TEST(Samples, HoldWhatTheTableSays) {
  const CaptureRun run = RunCapture({"--json", "samples"});
  std::multiset<std::string> found;
  for (const Json::Value& report : run.Reports()) {
    for (const Json::Value& code : report["codes"]) {
      found.insert(report["image"].asString() + '\t' + code["symbology"].asString() + '\t' +
                   code["text"].asString());
      // Its left side is found short, and goes on as the right one does.
      if (code["symbology"] == "PDF417") {
        EXPECT_GT(code["corners"][3][1].asInt(), 170);
      }
    }
  }
  EXPECT_EQ(run.err.find("engine -"), std::string::npos) << "no share is negative";
  std::multiset<std::string> expected;
  std::ifstream table("samples/expected.tsv");
  for (std::string line; std::getline(table, line);) {
    if (line.empty() || line[0] == '#') continue;
    const std::size_t module = line.find('\t');
    const std::size_t symbology = line.find('\t', module + 1);
    const bool isLinuxOnly =
        line.find("\tAztec\t") != std::string::npos || line.find("\tPDF417\t") != std::string::npos;
    if (kReadsAllMatrixCodes || !isLinuxOnly) {
      expected.insert("samples/" + line.substr(0, module) + line.substr(symbology));
    }
  }
  EXPECT_EQ(found, expected);
  EXPECT_EQ(expected.size(), kReadsAllMatrixCodes ? 18u : 16u);
  EXPECT_EQ(run.err.find("MatrixReader"), std::string::npos) << "no task is left out";
}

// One file for both targets, and for one thread as for four: places and texts are the same.
TEST(Samples, GiveTheSameJsonEverywhere) {
  const std::string expected = testing::ReadFile(VELMORA_CAPTURE_TESTS "/linear.jsonl");
  for (const char* threads : {"1", "4"}) {
    SCOPED_TRACE(threads);
    const CaptureRun run = RunCapture(
        {"--json", "--threads", threads, "--template", "templates/linear.json", "samples"});
    EXPECT_EQ(run.out, expected);
    ExpectRun(run, 1, "broken.png", "17 images, 16 read, 1 failed, 14 codes");
  }
}

TEST(Run, TellsWhatWasReadAndWhatWasNot) {
  const TemporaryDirectory empty;
  const TemporaryDirectory folder;
  testing::WriteFile(folder / "short.raw", std::string(64 * 64 * 3, '\xFF') + "rest");
  const std::string raw = folder / "short.raw";
  RunRows(
      {
          {"a list", "--template=templates/linear.json|-", 0,
           "samples/qr.png: 209x209, 1 code\n"
           "    QR          https://example.org/velmora\n"
           "samples/none.jpg: 640x480, no code\n"
           "2 images, 2 read, 0 failed, 1 code;",
           ""},
          {"faults do not end the run",
           "samples/broken.png|no such.png|samples/expected.tsv|samples/none.jpg", 1,
           "samples/none.jpg: 640x480, no code\n4 images, 1 read, 3 failed, 0 codes;",
           "samples/broken.png: Failed to read the image. the file ends within the "
           "picture (-10012)\n"
           "no such.png: The file is not found. (-10005)\n"
           "samples/expected.tsv: The file type is not supported. (-10006)\n"},
          {"a directory without pictures", empty.GetPath().string(), 0, "0 images,",
           "note: there is no picture in " + empty.GetPath().string()},
          {"a raw file that ends within a frame", "--raw|64x64:rgb|" + raw + "|no.raw", 1,
           "short.raw#0: 64x64, no code\n3 images, 1 read, 2 failed,",
           "short.raw#1: Failed to read the image. the file ends within the frame (-10012)\n"
           "no.raw: The file is not found. (-10005)\n"},
          {"what cannot be read is not dropped",
           "--overflow=drop|--buffer=1|--raw|64x64:rgb|no.raw|" + raw + "|none.raw", 1, "3 failed,",
           "no.raw: The file is not found. (-10005)\n"},
      },
      "samples/qr.png\r\n\nsamples/none.jpg");
}

TEST(Usage, IsRefusedWithASentence) {
  using Row = std::pair<std::vector<std::string>, const char*>;
  for (const auto& [arguments, error] : {
           Row{{}, "there is nothing to read"},
           Row{{"--frobnicate", "x.png"}, "there is no option --frobnicate"},
           Row{{"--json=1", "x.png"}, "--json takes no value;"},
           Row{{"--watch", "samples", "x.png"}, "--watch reads the pictures"},
           Row{{"--watch", "no such"}, "'no such' cannot be watched"},
           Row{{"--symbologies", "QR,Kix", "x.png"}, "does not read 'Kix'; it reads"},
           Row{{"--report", "no/r.html", "x.png"}, "cannot be written"},
           Row{{"x.png", "--threads"}, "--threads needs a value"},
           Row{{"--threads=0", "x.png"}, "--threads takes a number from 1 to 256, not '0'"},
           Row{{"--timeout", "1s", "x.png"}, "--timeout takes a number from 1 to"},
           Row{{"--overflow", "grow", "x.png"}, "--overflow takes block or drop, not 'grow'"},
           Row{{"--raw", "640x480:nv13", "x.raw"}, "'640x480:nv13' is not WIDTHxHEIGHT:FORMAT"},
           Row{{"--raw", "640x480:rgb@", "x.raw"}, "'640x480:rgb@' is not WIDTHxHEIGHT"},
           Row{{"--raw", "639x480:nv12", "x.raw"}, "must be even"},
           Row{{"--raw", "0x480:rgb", "x.raw"}, "must be 1 to 16384"},
           Row{{"--template", "none.json", "x.png"}, "the template 'none.json' cannot be read"},
           Row{{"--log-config", "none.ini", "x.png"}, "'none.ini' cannot be read"},
           Row{{"--trace", "no/where.json", "x.png"}, "'no/where.json' cannot be written"},
           Row{{"--graph", "no/where.svg", "x.png"}, "cannot be written"},
           Row{{"--overlay", "samples/qr.png", "x.png"}, "the folder 'samples/qr.png' cannot be"},
       }) {
    SCOPED_TRACE(error);
    ExpectRun(RunCapture(arguments), 2, "", error);
  }
}

}  // namespace
}  // namespace velmora::capture
