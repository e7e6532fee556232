#include "velmora/results/observation_parameters.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>

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
  for (int round = 0; round < 50; ++round) {
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

class Receiver final : public CAbstractIntermediateResultReceiver {
 public:
  void OnTargetROIResultsReceived(const CIntermediateResult*,
                                  const IntermediateResultInfo*) override {}
  void OnTaskResultsReceived(const CIntermediateResult*, const IntermediateResultInfo*) override {}
  void OnSectionResultsReceived(const CIntermediateResult*,
                                const IntermediateResultInfo*) override {}
  void OnUnitResultReceived(CIntermediateResultUnit*, const IntermediateResultInfo*) override {}
};

TEST(IntermediateResultReceiver, HasParametersOfItsOwnWhereMarksAreReadWhole) {
  struct Shifted {
    char first = 0;
    Receiver receiver;
  };
  const auto shifted = std::make_unique<Shifted>();
  Receiver other;
  CObservationParametersImp* parameters = shifted->receiver.GetObservationParameters();
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(parameters) % 8, 0U);
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(other.GetObservationParameters()) % 8, 0U);
  parameters->AddObservedTask("a");
  EXPECT_FALSE(parameters->IsTaskObserved("b"));
  EXPECT_TRUE(other.GetObservationParameters()->IsTaskObserved("b"));
}

}  // namespace
}  // namespace velmora::intermediate_results
