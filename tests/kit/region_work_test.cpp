// One piece of work from the table to its results, without a capture around it.

#include "velmora_kit/region_work.h"
#include "tests/support/test.h"
#include "velmora_kit/recogniser.h"

namespace velmora::kit {
namespace {

using namespace basic_structures;

constexpr int kWidth = 20;
constexpr int kHeight = 10;

class Probe final : public Recogniser {
 public:
  explicit Probe(std::function<int(RegionWork&)> work)
      : Recogniser({"First", "Second", "Third"}), work_(std::move(work)) {
    SetTargetDefName("definition");
    SetTaskName("task");
  }

 private:
  int Recognise(RegionWork& work) override { return work_(work); }

  std::function<int(RegionWork&)> work_;
};

// A task on a part of an image, and a probe that does its work.
class Task {
 public:
  Task(const Corner (&corners)[4], ImagePixelFormat format, std::function<int(RegionWork&)> work)
      : probe_(new Probe(std::move(work))) {
    const std::string pixels(kWidth * kHeight, 'p');
    const NxRef<NxImageData> image =
        new NxImageData(pixels.size(), reinterpret_cast<const unsigned char*>(pixels.data()),
                        kWidth, kHeight, kWidth, format, 0, nullptr);
    const NxRef<NxSourceImageObject> source = new NxSourceImageObject(image.get(), 1, 10000);
    const Nx_Quad quad(corners);
    NxRef<NxRegionObject> region = new NxRegionObject(
        source.get(), kCandidateRegion, new NxRegionImageInfo(image.get(), kIdentity), &quad);
    output_ = new NxTaskOutput(region, region, "task", TT_ATOMIC_0, false, 3);
    probe_->AppendWorkOutputs(output_.get(), 0);
  }

  // Does the next piece of work; what it returned, -1 if there was none.
  int DoNext() {
    const NxRef<NxWorkOutput> work = output_->GetWorkTable()->GetNextTopPriorityWorkOutput({});
    if (!work) return -1;
    const NxRef<ExecutableWorkItem> item =
        new ExecutableWorkItem(work.get(), probe_.get(), nullptr, 0);
    const int code = probe_->Work(item.get(), nullptr);
    EXPECT_TRUE(item->IsWorkFinished());
    return code;
  }
  const CodeRegion& GetCode(int index) const {
    return dynamic_cast<const CodeRegion&>(*output_->GetResult(index)->GetRegion());
  }

 private:
  static constexpr double kIdentity[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
  NxRef<Probe> probe_;
  NxRef<NxTaskOutput> output_;
};

const Corner kSquare[4] = {{4, 2}, {13, 2}, {13, 8}, {4, 8}};

TEST(Recogniser, TriesItsWorkModesInTurn) {
  std::vector<std::string> modes;
  Task task(kSquare, PXF_Grayscale8, [&](RegionWork& work) {
    modes.push_back(work.GetMode());
    return static_cast<int>(modes.size());
  });
  EXPECT_EQ(task.DoNext(), 1);
  EXPECT_EQ(task.DoNext(), 2);
  EXPECT_EQ(task.DoNext(), 3);
  EXPECT_EQ(task.DoNext(), -1);
  EXPECT_EQ(modes, (std::vector<std::string>{"First", "Second", "Third"}));

  Task coloured(kSquare, PXF_Colour888, [](RegionWork&) { return 0; });
  EXPECT_EQ(coloured.DoNext(), EC_ImagePixelFormatNotMet) << "modules work on grey";
}

TEST(RegionWork, CutsWindowsOffAtTheBorders) {
  using Row = std::pair<int, Window>;
  Task task(kSquare, PXF_Grayscale8, [](RegionWork& work) {
    for (const auto& [margin, want] : {Row{0, {4, 2, 10, 7}}, Row{1, {3, 1, 12, 9}},
                                       Row{3, {1, 0, 16, 10}}, Row{50, {0, 0, kWidth, kHeight}}}) {
      const Window got = work.GetWindow(margin);
      EXPECT_EQ(std::make_tuple(got.left, got.top, got.width, got.height),
                std::make_tuple(want.left, want.top, want.width, want.height))
          << margin;
      EXPECT_EQ(work.GetPixels(got).Row(1) - work.GetImage().Row(got.top), got.left + kWidth);
    }
    return 0;
  });
  EXPECT_EQ(task.DoNext(), 0);
}

TEST(RegionWork, AddsCodesWithPlaceBytesAndOrigin) {
  Task task(kSquare, PXF_Grayscale8, [](RegionWork& work) {
    const Corner place[4] = {{5, 3}, {9, 3}, {9, 7}, {5, 7}};
    const Corner line[4] = {{5, 3}, {9, 3}, {9, 3}, {5, 3}};
    work.AddCode("QR", "text", place, std::string("\0b", 2));
    work.AddCode("EAN-8", "1234", line);
    EXPECT_FALSE(work.MakeCandidate(line, 1));
    return 0;
  });
  EXPECT_EQ(task.DoNext(), 0);
  EXPECT_EQ(task.GetCode(0).GetSymbology() + task.GetCode(0).GetText(), "QRtext");
  EXPECT_EQ(task.GetCode(0).GetBytes(), std::string("\0b", 2));
  EXPECT_EQ(task.GetCode(0).GetVertices()[2], Corner(9, 7));
  EXPECT_EQ(task.GetCode(1).GetBytes(), "1234") << "the text's, if the module names none";
  EXPECT_EQ(task.GetCode(1).GetVertices()[2], Corner(13, 8)) << "a line covers its region";
  EXPECT_EQ(task.GetCode(1).GetTargetROIDefName(), "definition");
  EXPECT_EQ(task.GetCode(1).GetProductTaskName(), "task");
}

}  // namespace
}  // namespace velmora::kit
