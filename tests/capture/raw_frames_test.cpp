// Raw frames, played as a video, and what a buffer without room does with them.
#include <gtest/gtest.h>

#include <cstdio>
#include <set>

#include "tests/capture/capture_run.h"

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
  for (std::size_t y = 0; y < kHeight; ++y)
    grey += file.substr(begin + y * (kWidth - 1), kWidth - 1) + '\xFF';
  return grey;
}

TEST(RawFrames, AreReadInEveryFormat) {
  const TemporaryDirectory folder;
  const std::string grey = Luminance();
  const std::string chroma(grey.size() / 2, '\x80');
  std::string rgb;
  for (const char c : grey) rgb.append(3, c);
  struct Row {
    const char* format;
    std::string frame;
  };
  for (const Row& row : {Row{"nv12", grey + chroma}, Row{"nv21", grey + chroma}, Row{"rgb", rgb}}) {
    SCOPED_TRACE(row.format);
    WriteFile(folder / "two.raw", row.frame + row.frame);
    const CaptureRun run =
        RunCapture({"--json", "--overflow=block", "--template=templates/linear.json",
                    std::string("--raw=550x198:") + row.format + "@50", folder / "two.raw"});
    EXPECT_EQ(run.status, 0) << run.err;
    const std::vector<Json::Value> reports = run.Reports();
    ASSERT_EQ(reports.size(), 2u);
    for (int i = 0; i < 2; ++i) {
      const Json::Value& report = reports[static_cast<std::size_t>(i)];
      EXPECT_EQ(report["codes"][0]["text"], "VELMORA 39");
      EXPECT_EQ(report["image"], (folder / "two.raw") + "#" + std::to_string(i));
    }
  }
  // A file that ends within a frame, and one that is not there.
  WriteFile(folder / "short.raw", rgb + "rest");
  const CaptureRun run = RunCapture({"--raw", "550x198:rgb", folder / "short.raw", "no.raw"});
  EXPECT_EQ(run.status, 1);
  EXPECT_NE(run.err.find("short.raw#1: Failed to read the image. the file ends within the frame"),
            std::string::npos)
      << run.err;
  EXPECT_NE(run.err.find("no.raw: The file is not found. (-10005)"), std::string::npos) << run.err;
}

// Every frame is captured or counted as dropped; a source that blocks drops none.
TEST(RawFrames, AreLostExactlyAsTheStatisticsSay) {
  constexpr int kFrames = 60;
  const TemporaryDirectory folder;
  const std::string frame = Luminance() + std::string(kWidth * kHeight / 2, '\x80');
  std::string video;
  for (int i = 0; i < kFrames; ++i) video += frame;
  WriteFile(folder / "video.raw", video);
  for (const char* overflow : {"block", "drop"}) {
    SCOPED_TRACE(overflow);
    const bool drops = overflow == std::string("drop");
    const CaptureRun run = RunCapture({"--json", "--threads", "1", "--buffer", "2", "--overflow",
                                       overflow, "--raw", "550x198:nv12", folder / "video.raw"});
    EXPECT_EQ(run.status, 0) << run.err;
    int played = 0, captured = 0, dropped = -1;
    const std::size_t line = run.err.find("frames: ");
    ASSERT_NE(line, std::string::npos) << run.err;
    std::sscanf(run.err.c_str() + line, "frames: %d played, %d captured, %d dropped", &played,
                &captured, &dropped);
    EXPECT_EQ(played, kFrames);
    EXPECT_EQ(captured + dropped, kFrames);
    EXPECT_EQ(dropped > 0, drops);
    std::set<int> ids;
    int previous = -1;
    for (const Json::Value& report : run.Reports()) {
      EXPECT_TRUE(drops || report["id"].asInt() == previous + 1) << "in order, none missing";
      previous = report["id"].asInt();
      ids.insert(previous);
    }
    EXPECT_EQ(static_cast<int>(ids.size()), captured);
  }
}

}  // namespace
}  // namespace velmora::capture
