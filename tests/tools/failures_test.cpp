// What users really do: outputs that cannot be written, inputs of every strange kind, and what the
// program says then.
#include "tests/tools/capture_run.h"
#include "tools/capture/progress.h"

namespace velmora::capture {
namespace {

using testing::TemporaryDirectory;
using testing::WriteFile;

TEST(Options, AreReadAsUsersWriteThem) {
  RunRows({
      {"the short form", "-h", 0, "usage: velmora-capture", ""},
      {"version", "--version", 0, "velmora-capture 4.6.50.9329\n", ""},
      {"everything else is a file", "--|--json|-h", 1, "2 images", "--json: The file is not"},
  });
  const CaptureRun quiet = RunCapture({"--quiet", "samples/qr.png"});
  ExpectRun(quiet, 0, "org/velmora\n", "");
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
  WriteFile(folder / "garbage.ini", std::string("\177ELF\0\1\2\3 = [", 12));
  WriteFile(
      folder / "silent.json",
      R"({"Name":"t","Definitions":[{"Name":"A","Tasks":[{"Name":"x","Module":"Locator"}]}]})");
  WriteFile(folder / "huge.ppm", "P6 20000 20000 255\n");
  RunRows({
      {"JSON without end", "--template|" + (folder / "deep.json") + "|x.png", 2, "",
       "deep.json:1:108: nested more than 100 levels deep (-10030"},
      {"a log ini of garbage", "--log-config|" + (folder / "garbage.ini") + "|x.png", 2, "",
       "garbage.ini' has no section [BARCODECONFIG]"},
      {"a template that tells nothing",
       "--template|" + (folder / "silent.json") + "|samples/qr.png", 0,
       "samples/qr.png: 209x209, no code", "no task has \"Output\""},
      {"a folder below a file", "--overlay|" + (folder / "huge.ppm/in") + "|x.png", 2, "",
       "cannot be made"},
      {"too many pixels by default", folder / "huge.ppm", 1, "1 image, 0 read, 1 failed",
       "too large: 20000 x 20000 pixels, the limit is 268435456 (-10012)"},
      {"too many pixels", "--max-pixels=43680|samples/qr.png", 1, "1 image, 0 read, 1 failed",
       "too large: 209 x 209 pixels, the limit is 43680 (-10012)"},
      {"as many as allowed", "--quiet|--max-pixels=43681|samples/qr.png", 0, "1 code", ""},
  });
}

#if defined(_WIN32)
// 768 MB of holes, and as much again for the pixels, in an address space of 2 GiB.
TEST(Files, MayBeTooLargeForTheAddressSpace) {
  const TemporaryDirectory folder;
  WriteFile(folder / "big.ppm", "P6 16000 16000 255\n");
  std::filesystem::resize_file(folder / "big.ppm", 768'000'019);
  RunRows({{"twice",
            "--threads=2|" + (folder / "big.ppm") + "|" + (folder / "big.ppm") + "|samples/qr.png",
            1, "3 images, 1 read, 2 failed, 1 code", "big.ppm: Not enough memory"}});
}
#endif

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

// Every name in UTF-8, whatever the system's own encoding, also where it has none for a letter.
TEST(Files, MayHaveAnyName) {
  const TemporaryDirectory folder;
  const auto name = std::filesystem::u8path(u8"gr\u00FC\u00DF \u65E5\u672C.png");
  std::filesystem::copy("samples/qr.png", folder.GetPath() / name);
  const std::string path = (folder.GetPath() / name).u8string();
  RunRows({{"in a directory", "--json|" + folder.GetPath().string(), 0, "\\u672c.png\"", "1 code"},
           {"by name", "--json|" + path, 0, "\\u672c.png\"", "1 code"},
           {"in a list", "--json|-", 1, "\\u672c.png\"", "3 images, 1 read, 2 failed"}},
          path + "\r\n\nnone\nnone");
  RunRows({{"in a list with NUL", "--json|-0|-", 1, "\"none\\n\"", "2 images, 1 read"}},
          path + '\0' + "none\n");
}

TEST(Progress, FitsIntoOneLine) {
  using Width = std::pair<int, const char*>;
  for (const auto& [columns, want] : {
           Width{80, "[###############               ] 50/100, 25.0 images/s, 2 s left"},
           Width{40, "[##   ] 50/100, 25.0 images/s, 2 s left"},
           Width{39, "50/100, 25.0 images/s, 2 s left"},
           Width{20, "50/100, 25.0 images"},
           Width{0, ""},
       }) {
    EXPECT_EQ(ProgressText(50, 100, 2, columns), want) << columns;
  }
  EXPECT_EQ(ProgressText(50, 0, 2, 40), "50 images, 25.0 images/s");
}

}  // namespace
}  // namespace velmora::capture
