#include "velmora/results/observation_parameters.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "tests/support/barrier.h"
#include "velmora/results/intermediate_result_receiver.h"

namespace velmora::intermediate_results {
namespace {

TEST(ObservationParameters, MasksAre64BitsWideAndApart) {
  const auto bit = [](int place) {
    return static_cast<IntermediateResultUnitType>(std::uint64_t{1} << place);
  };
  CObservationParametersImp fresh, masked;
  masked.SetObservedResultUnitTypes(bit(33) | bit(1));
  masked.SetResultUnitTypesOnlyForInput(bit(32));
  for (int place = 0; place < 64; ++place) {
    SCOPED_TRACE(place);
    EXPECT_TRUE(fresh.IsResultUnitTypeObserved(bit(place)));
    EXPECT_FALSE(fresh.IsResultUnitTypeOnlyForInput(bit(place)));
    EXPECT_EQ(masked.IsResultUnitTypeObserved(bit(place)), place == 33 || place == 1);
    EXPECT_EQ(masked.IsResultUnitTypeOnlyForInput(bit(place)), place == 32);
  }
  EXPECT_TRUE(masked.IsResultUnitTypeObserved(IRUT_All)) << "one of them is enough";
}

TEST(ObservationParameters, TheFirstTaskEndsTheObservationOfOthers) {
  CObservationParametersImp parameters;
  parameters.AddObservedTask(nullptr);
  EXPECT_TRUE(parameters.IsTaskObserved("b") && parameters.IsTaskObserved(nullptr));
  parameters.AddObservedTask("a");
  parameters.AddObservedTask("a");
  parameters.RemoveObservedTask("b");
  parameters.RemoveObservedTask(nullptr);
  EXPECT_TRUE(parameters.IsTaskObserved("a"));
  EXPECT_FALSE(parameters.IsTaskObserved("b") || parameters.IsTaskObserved(nullptr));
  parameters.RemoveObservedTask("a");
  EXPECT_TRUE(parameters.IsTaskObserved("b")) << "twice added, once there";
}

// Thread t sets the bits t, t + 8, t + 16... in this order, the function mark before the time mark:
// nobody may see a later one without an earlier one, or see one go again.
TEST(ObservationParameters, EightThreadsLoseNoMark) {
  constexpr int kThreads = 8;
  constexpr unsigned long long kOfOddThreads = 0xAAAA'AAAA'AAAA'AAAA;
  std::vector<CObservationParametersImp> all(500);
  testing::Lockstep lockstep(kThreads);
  testing::RunTogether(kThreads, [&](int thread) {
    int round = 0;
    for (CObservationParametersImp& parameters : all) {
      lockstep.Enter(round++);
      unsigned long long seen = 0;
      for (int bit = thread; bit < 64; bit += kThreads) {
        parameters.SetFunctionMark(1ULL << bit);
        parameters.SetTimeMark(1ULL << bit & kOfOddThreads);
        const unsigned long long times = parameters.GetTimeMark(~0ULL);
        const unsigned long long functions = parameters.GetFunctionMark(~0ULL);
        EXPECT_EQ((seen | times | functions >> kThreads) & ~functions, 0U);
        seen = functions;
      }
    }
  });
  for (const CObservationParametersImp& parameters : all) {
    EXPECT_EQ(parameters.GetFunctionMark(~0ULL), ~0ULL);
    EXPECT_EQ(parameters.GetTimeMark(~0ULL), kOfOddThreads);
    EXPECT_EQ(parameters.GetFunctionMark(6), 6U);
    EXPECT_EQ(parameters.GetTimeMark(6), 2U);
  }
}

// A mark that lay across two cache lines would not be read whole.
static_assert(alignof(CObservationParametersImp) % 8 == 0);
static_assert(alignof(CAbstractIntermediateResultReceiver) % 8 == 0);

}  // namespace
}  // namespace velmora::intermediate_results
