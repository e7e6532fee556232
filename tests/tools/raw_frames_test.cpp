// Raw frames, played as a video, and what a buffer without room does with them.
#include "tests/tools/capture_run.h"

namespace velmora::capture {
namespace {

using testing::TemporaryDirectory;
using testing::WriteFile;

constexpr int kWidth = 550;
constexpr int kHeight = 198;

// The grey pixels of samples/code39.pgm (549 wide), one white column added to make the width even.
std::string Luminance() {
  const std::string file = testing::ReadFile("samples/code39.pgm");
  const std::size_t begin = file.size() - (kWidth - 1) * kHeight;
  std::string grey;
  for (std::size_t y = 0; y < kHeight; ++y) {
    grey += file.substr(begin + y * (kWidth - 1), kWidth - 1) + '\xFF';
  }
  return grey;
}

TEST(RawFrames, AreReadInEveryFormat) {
  const TemporaryDirectory folder;
  const std::string grey = Luminance();
  const std::string chroma(grey.size() / 2, '\x80');
  std::string rgb;
  for (const char c : grey) rgb.append(3, c);
  using Row = std::pair<const char*, std::string>;
  for (const auto& [format, frame] :
       {Row{"nv12", grey + chroma}, Row{"nv21", grey + chroma}, Row{"rgb", rgb}}) {
    SCOPED_TRACE(format);
    WriteFile(folder / "two.raw", frame + frame);
    const CaptureRun run =
        RunCapture({"--json", "--overflow=block", "--template=templates/linear.json",
                    std::string("--raw=550x198:") + format + "@50", folder / "two.raw"});
    ExpectRun(run, 0, "two.raw#1\"", "2 images, 2 read,");
    EXPECT_EQ(CountOf(run.out, "\"text\":\"VELMORA 39\""), 2u) << run.out;
  }
}

// Every frame is captured or counted as dropped; without a rate none is lost unless that is asked
// for.
TEST(RawFrames, AreLostExactlyAsTheStatisticsSay) {
  constexpr int kFrames = 60;
  const TemporaryDirectory folder;
  const std::string frame = Luminance() + std::string(kWidth * kHeight / 2, '\x80');
  std::string video;
  for (int i = 0; i < kFrames; ++i) video += frame;
  WriteFile(folder / "video.raw", video);
  // Each frame is read eight times over, so that the source is faster on every machine.
  std::string tasks;
  for (int i = 0; i < 8; ++i) {
    tasks += (i > 0 ? ", " : "") + std::string(R"({"Name": "read)") + std::to_string(i) +
             R"(", "Module": "CodeReader", "Output": true})";
  }
  WriteFile(folder / "slow.json",
            R"({"Name": "slow", "Definitions": [{"Name": "all", "Tasks": [)" + tasks + "]}]}");
  struct Row {
    const char* overflow;
    const char* rate;
    bool drops;
  };
  for (const Row& row : {Row{"", "", false}, Row{"--overflow=block", "@2000", false},
                         Row{"--overflow=drop", "", true}, Row{"", "@2000", true}}) {
    SCOPED_TRACE(std::string(row.overflow) + row.rate);
    std::vector<std::string> arguments = {"--json",
                                          "--threads=1",
                                          "--buffer=2",
                                          "--template",
                                          folder / "slow.json",
                                          std::string("--raw=550x198:nv12") + row.rate,
                                          folder / "video.raw"};
    if (row.overflow[0] != '\0') arguments.emplace_back(row.overflow);
    const CaptureRun run = RunCapture(arguments);
    std::vector<int> ids;
    for (const Json::Value& report : run.Reports()) ids.push_back(report["id"].asInt());
    const int captured = static_cast<int>(std::set<int>(ids.begin(), ids.end()).size());
    EXPECT_EQ(ids.size(), static_cast<std::size_t>(captured)) << "an image was told twice";
    EXPECT_TRUE(row.drops || std::is_sorted(ids.begin(), ids.end()));
    EXPECT_EQ(captured < kFrames, row.drops);
    ExpectRun(run, 0, "VELMORA 39",
              "frames: 60 played, " + std::to_string(captured) + " captured, " +
                  std::to_string(kFrames - captured) + " dropped\n");
  }
}

}  // namespace
}  // namespace velmora::capture
