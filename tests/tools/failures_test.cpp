// What users really do: outputs that cannot be written, inputs of every strange kind, and what the
// program says then.
#include "tests/tools/capture_run.h"
#include "tools/capture/progress.h"

namespace velmora::capture {
namespace {

using testing::TemporaryDirectory;
using testing::WriteFile;

struct Row {
  const char* name;
  std::vector<std::string> arguments;
  int status;
  std::string out;
  std::string err;
};

void RunRows(const std::vector<Row>& rows, const std::string& input = {}) {
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    ExpectRun(RunCapture(row.arguments, input), row.status, row.out, row.err);
  }
}

TEST(Options, AreReadAsUsersWriteThem) {
  RunRows({
      {"a value for a flag", {"--json=1", "x.png"}, 2, "", "--json takes no value;"},
      {"the short form", {"-h"}, 0, "usage: velmora-capture", ""},
      {"everything else is a file",
       {"--", "--json", "-h"},
       1,
       "2 images",
       "--json: The file is not"},
      {"watching and naming", {"--watch", "samples", "x.png"}, 2, "", "--watch reads the pictures"},
      {"nothing to watch", {"--watch", "no such"}, 2, "", "'no such' cannot be watched"},
      {"quiet", {"--quiet", "samples/qr.png"}, 0, "org/velmora\n", ""},
      {"no such code",
       {"--symbologies", "QR,Kix", "x.png"},
       2,
       "",
       "does not read 'Kix'; it reads"},
  });
  const CaptureRun quiet = RunCapture({"--quiet", "samples/qr.png"});
  EXPECT_EQ(CountOf(quiet.out, "\n"), 2u) << quiet.out;
}

// Tasks and definitions that have nothing to read any more are left out, with every mention.
TEST(Options, NarrowTheTemplateToSomeCodes) {
  const TemporaryDirectory folder;
  WriteFile(folder / "t.json", R"({"Name":"t","Definitions":[
      {"Name":"A","Tasks":[{"Name":"a","Module":"CodeReader","Output":true,
                            "Settings":{"Symbologies":["EAN-13"]}}]},
      {"Name":"B","Parents":["A"],"Tasks":[
        {"Name":"x","Module":"CodeReader","Output":true,"Settings":{"Symbologies":["EAN-13"]}},
        {"Name":"y","Module":"CodeReader","Output":true,"UnlessFoundBy":["x"],
         "Settings":{"Symbologies":["QR","Code 128"]}}]}]})");
  ExpectRun(RunCapture({"--csv", "--symbologies=QR", "--template", folder / "t.json",
                        "samples/qr.png", "samples/ean13.bmp"}),
            0,
            "id,image,symbology,text,x1,y1,x2,y2,x3,y3,x4,y4,definition,task\n"
            "0,samples/qr.png,QR,https://example.org/velmora,",
            "2 images, 2 read, 0 failed, 1 code;");
  // A fault is told with its place in the file as the user wrote it.
  WriteFile(folder / "t.json",
            "{\"Name\":\"t\",\n\"Typo\":1,\"Definitions\":[{\"Name\":\"A\",\"Tasks\":["
            "{\"Name\":\"a\",\"Module\":\"CodeReader\",\"Output\":true,"
            "\"Settings\":{\"Symbologies\":[\"QR\"]}}]}]}");
  ExpectRun(RunCapture({"--symbologies=QR", "--template", folder / "t.json", "x.png"}), 2, "",
            "t.json:2:8: Typo: there is no key");
}

TEST(Files, OfTheUserAreCheckedFirst) {
  const TemporaryDirectory folder;
  std::string deep = R"({"Name":)";
  deep.append(100'000, '[').append(100'000, ']').append("}");
  WriteFile(folder / "deep.json", deep);
  WriteFile(folder / "garbage.ini", std::string("\x7F"
                                                "ELF\0\1\2\3 = [",
                                                12));
  WriteFile(
      folder / "silent.json",
      R"({"Name":"t","Definitions":[{"Name":"A","Tasks":[{"Name":"x","Module":"Locator"}]}]})");
  WriteFile(folder / "file", "");
  RunRows({
      {"JSON without end",
       {"--template", folder / "deep.json", "x.png"},
       2,
       "",
       "deep.json:1:108: nested more than 100 levels deep (-10030"},
      {"a log ini of garbage",
       {"--log-config", folder / "garbage.ini", "x.png"},
       2,
       "",
       "garbage.ini' has no section [BARCODECONFIG]"},
      {"a template that tells nothing",
       {"--template", folder / "silent.json", "samples/qr.png"},
       0,
       "samples/qr.png: 209x209, no code",
       "no task has \"Output\""},
      {"a folder below a file",
       {"--overlay", folder / "file/in", "x.png"},
       2,
       "",
       "cannot be made"},
      {"a report nowhere", {"--report", folder / "no/r.html", "x.png"}, 2, "", "cannot be written"},
      {"too many pixels",
       {"--max-pixels=43680", "samples/qr.png"},
       1,
       "1 image, 0 read, 1 failed",
       "too large: 209 x 209 pixels, the limit is 43680 (-10012)"},
      {"as many as allowed", {"--quiet", "--max-pixels=43681", "samples/qr.png"}, 0, "1 code", ""},
  });
}

// What is in the way has the very name that is to be written.
TEST(Outputs, ThatAreInTheWayEndTheRun) {
  const TemporaryDirectory folder;
  for (const char* name : {"0000-qr.png.svg", "0000-000-candidates-locate.png"}) {
    std::filesystem::create_directory(folder / name);
  }
  const std::string directory = folder.GetPath().string();
  const CaptureRun overlay = RunCapture({"--overlay", directory, "samples/qr.png"});
  ExpectRun(overlay, 1, "samples/qr.png", "0000-qr.png.svg' cannot be written");
  EXPECT_EQ(overlay.out.find("1 image,"), std::string::npos) << "there is a summary";
  ExpectRun(RunCapture({"--threads=1", "--intermediate", directory, "samples/qr.png"}), 1, "",
            "000-candidates-locate.png' cannot be written");
  ExpectRun(RunWithoutOutput({"--report", folder / "r.html", "samples"}), 1, "",
            "velmora-capture: standard output cannot be written");
}

// Spoilt pictures fail alone, each for its own reason.
TEST(Files, MayHoldNoPicture) {
  const TemporaryDirectory folder;
  WriteFile(folder / "cut.pgm", "P5 400 300 255\n" + std::string(400 * 299, ' '));
  WriteFile(folder / "empty.pgm", "P5 400 0 255\n");
  WriteFile(folder / "huge.ppm", "P6 20000 20000 255\n");
  std::string jpeg = testing::ReadFile("samples/none.jpg");
  for (std::size_t at = jpeg.find("\xFF\xDB") + 2; at < 200; ++at) jpeg[at] = '\xFE';
  WriteFile(folder / "tables.jpg", jpeg);
  ExpectRun(RunCapture({folder.GetPath().string(), "samples/qr.png"}), 1,
            "5 images, 1 read, 4 failed, 1 code;",
            "too large: 20000 x 20000 pixels, the limit is 268435456 (-10012)");
  const CaptureRun run = RunCapture({folder.GetPath().string()});
  for (const char* reason : {"cut.pgm: Failed to read the image. the file ends within the picture",
                             "empty.pgm: Failed to read the image. a picture of 400 x 0 pixels",
                             "tables.jpg: Failed to read the image. "}) {
    EXPECT_PRED_FORMAT2(::testing::IsSubstring, reason, run.err);
  }
}

// Every name in UTF-8, whatever the system's own encoding, also where it has none for a letter.
TEST(Files, MayHaveAnyName) {
  const TemporaryDirectory folder;
  const auto name = std::filesystem::u8path(u8"gr\u00FC\u00DF \u65E5\u672C.png");
  std::filesystem::copy("samples/qr.png", folder.GetPath() / name);
  const std::string path = (folder.GetPath() / name).u8string();
  RunRows(
      {
          {"in a directory", {"--json", folder.GetPath().string()}, 0, "\\u672c.png\"", "1 code"},
          {"by name", {"--json", path}, 0, "\\u672c.png\"", "1 code"},
          {"in a list", {"--json", "-"}, 1, "\\u672c.png\"", "3 images, 1 read, 2 failed"},
      },
      path + "\r\n\nnone\nnone");
  RunRows({{"in a list with NUL", {"--json", "-0", "-"}, 1, "\"none\\n\"", "2 images, 1 read"}},
          path + '\0' + "none\n");
}

TEST(Progress, FitsIntoOneLine) {
  struct Width {
    int columns;
    const char* text;
  };
  for (const Width& row : {
           Width{80, "[###############               ] 50/100, 25.0 images/s, 2 s left"},
           Width{60, "[############             ] 50/100, 25.0 images/s, 2 s left"},
           Width{40, "[##   ] 50/100, 25.0 images/s, 2 s left"},
           Width{39, "50/100, 25.0 images/s, 2 s left"},
           Width{36, "50/100, 25.0 images/s, 2 s left"},
           Width{20, "50/100, 25.0 images"},
           Width{0, ""},
       }) {
    SCOPED_TRACE(row.columns);
    const std::string text = ProgressText(50, 100, 2, row.columns);
    EXPECT_LT(text.size(), static_cast<std::size_t>(row.columns == 0 ? 1 : row.columns));
    EXPECT_EQ(text, row.text);
  }
  EXPECT_EQ(ProgressText(50, 0, 2, 40), "50 images, 25.0 images/s");
}

}  // namespace
}  // namespace velmora::capture
