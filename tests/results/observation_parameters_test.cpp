#include "velmora/results/observation_parameters.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "tests/support/barrier.h"
#include "velmora/results/intermediate_result_receiver.h"

namespace velmora::intermediate_results {
namespace {

constexpr IntermediateResultUnitType Bit(int bit) {
  return static_cast<IntermediateResultUnitType>(std::uint64_t{1} << bit);
}

TEST(ObservationParameters, ObservesEverythingUntilToldOtherwise) {
  CObservationParametersImp parameters;
  EXPECT_EQ(parameters.GetObservedResultUnitTypes(), ~0ULL);
  EXPECT_EQ(parameters.GetResultUnitTypesOnlyForInput(), 0ULL);
  EXPECT_TRUE(parameters.IsResultUnitTypeObserved(Bit(63)));
  EXPECT_FALSE(parameters.IsResultUnitTypeObserved(IRUT_None));
  EXPECT_FALSE(parameters.IsResultUnitTypeOnlyForInput(IRUT_All));
  EXPECT_TRUE(parameters.IsTaskObserved("any"));
  EXPECT_TRUE(parameters.IsTaskObserved(nullptr));
  EXPECT_EQ(parameters.GetFunctionMark(~0ULL), 0ULL);
  EXPECT_EQ(parameters.GetTimeMark(~0ULL), 0ULL);
}

TEST(ObservationParameters, MasksAre64BitsWideAndApart) {
  CObservationParametersImp parameters;
  parameters.SetObservedResultUnitTypes(Bit(33) | Bit(1));
  parameters.SetResultUnitTypesOnlyForInput(Bit(32));
  for (int bit = 0; bit < 64; ++bit) {
    SCOPED_TRACE(bit);
    EXPECT_EQ(parameters.IsResultUnitTypeObserved(Bit(bit)), bit == 33 || bit == 1);
    EXPECT_EQ(parameters.IsResultUnitTypeOnlyForInput(Bit(bit)), bit == 32);
  }
}

TEST(ObservationParameters, TheFirstTaskEndsTheObservationOfOthers) {
  CObservationParametersImp parameters;
  parameters.AddObservedTask(nullptr);
  EXPECT_TRUE(parameters.IsTaskObserved("b"));
  parameters.AddObservedTask("a");
  parameters.AddObservedTask("a");
  EXPECT_TRUE(parameters.IsTaskObserved("a"));
  EXPECT_FALSE(parameters.IsTaskObserved("b"));
  EXPECT_FALSE(parameters.IsTaskObserved(nullptr));
  parameters.RemoveObservedTask("b");
  parameters.RemoveObservedTask(nullptr);
  EXPECT_FALSE(parameters.IsTaskObserved("b"));
  parameters.RemoveObservedTask("a");
  EXPECT_TRUE(parameters.IsTaskObserved("b")) << "twice added, once there";
}

TEST(ObservationParameters, MarksOnlyGainBits) {
  CObservationParametersImp parameters;
  parameters.SetFunctionMark(1);
  parameters.SetFunctionMark(4);
  parameters.SetFunctionMark(0);
  parameters.SetTimeMark(1ULL << 63);
  EXPECT_EQ(parameters.GetFunctionMark(~0ULL), 5ULL);
  EXPECT_EQ(parameters.GetFunctionMark(6), 4ULL);
  EXPECT_EQ(parameters.GetTimeMark(~0ULL), 1ULL << 63);
}

// Thread t sets the bits t, t + 8, t + 16... in this order, the function mark before the time mark:
// nobody may see a later one without an earlier one, or see one go again.
TEST(ObservationParameters, EightThreadsLoseNoMark) {
  for (int round = 0; round < 200; ++round) {
    CObservationParametersImp parameters;
    testing::RunTogether(8, [&parameters](int thread) {
      unsigned long long seen = 0;
      for (int bit = thread; bit < 64; bit += 8) {
        parameters.SetFunctionMark(1ULL << bit);
        parameters.SetTimeMark(1ULL << bit);
        const unsigned long long times = parameters.GetTimeMark(~0ULL);
        const unsigned long long functions = parameters.GetFunctionMark(~0ULL);
        EXPECT_EQ(seen & ~functions, 0U);
        EXPECT_EQ(functions >> 8 & ~functions, 0U);
        EXPECT_EQ(times & ~functions, 0U);
        seen = functions;
      }
    });
    EXPECT_EQ(parameters.GetFunctionMark(~0ULL), ~0ULL);
    EXPECT_EQ(parameters.GetTimeMark(~0ULL), ~0ULL);
  }
}

// An application's observer that writes down what it was told.
class Recorder final : public CAbstractIntermediateResultReceiver {
 public:
  void OnTargetROIResultsReceived(const CIntermediateResult*,
                                  const IntermediateResultInfo* info) override {
    Record("target", info);
  }
  void OnTaskResultsReceived(const CIntermediateResult*,
                             const IntermediateResultInfo* info) override {
    Record("task", info);
  }
  void OnSectionResultsReceived(const CIntermediateResult*,
                                const IntermediateResultInfo* info) override {
    Record("section", info);
  }
  void OnUnitResultReceived(CIntermediateResultUnit*, const IntermediateResultInfo* info) override {
    Record("unit", info);
  }

  std::vector<std::string> calls;

 private:
  void Record(const std::string& what, const IntermediateResultInfo* info) {
    calls.push_back(what + ":" + info->targetROIDefName + "/" + info->taskName + "/" +
                    std::to_string(info->sectionType));
  }
};

TEST(IntermediateResultReceiver, HasItsOwnParametersAndIsCalledThroughItsBase) {
  struct Shifted {
    char first = 0;
    Recorder recorder;
  };
  const auto held = std::make_unique<Shifted>();
  CAbstractIntermediateResultReceiver& receiver = held->recorder;
  CObservationParametersImp* parameters = receiver.GetObservationParameters();
  EXPECT_TRUE(parameters->IsTaskObserved("any"));
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(parameters) % 8, 0U) << "marks are read whole";
  Recorder other;
  parameters->AddObservedTask("a");
  EXPECT_TRUE(other.GetObservationParameters()->IsTaskObserved("b"));

  IntermediateResultInfo info;
  receiver.OnTargetROIResultsReceived(nullptr, &info);
  info = {"roi", "barcodes", 2};
  receiver.OnTaskResultsReceived(nullptr, &info);
  receiver.OnSectionResultsReceived(nullptr, &info);
  receiver.OnUnitResultReceived(nullptr, &info);
  EXPECT_EQ(held->recorder.calls,
            (std::vector<std::string>{"target://-1", "task:roi/barcodes/2",
                                      "section:roi/barcodes/2", "unit:roi/barcodes/2"}));
}

}  // namespace
}  // namespace velmora::intermediate_results
