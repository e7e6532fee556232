#include "tests/support/test.h"

namespace velmora::intermediate_results {
namespace {

TEST(ObservationParameters, MasksAre64BitsWideAndApart) {
  CObservationParametersImp fresh, masked;
  masked.SetObservedResultUnitTypes(0x2'0000'0002);
  masked.SetResultUnitTypesOnlyForInput(0x1'0000'0000);
  for (int place = 0; place < 64; ++place) {
    SCOPED_TRACE(place);
    const auto bit = static_cast<IntermediateResultUnitType>(std::uint64_t{1} << place);
    EXPECT_TRUE(fresh.IsResultUnitTypeObserved(bit) && !fresh.IsResultUnitTypeOnlyForInput(bit));
    EXPECT_EQ(masked.IsResultUnitTypeObserved(bit), place == 33 || place == 1);
    EXPECT_EQ(masked.IsResultUnitTypeOnlyForInput(bit), place == 32);
  }
  EXPECT_TRUE(masked.IsResultUnitTypeObserved(IRUT_All)) << "one of them is enough";
}

TEST(ObservationParameters, TheFirstTaskEndsTheObservationOfOthers) {
  CObservationParametersImp parameters;
  parameters.AddObservedTask(nullptr);
  EXPECT_TRUE(parameters.IsTaskObserved(nullptr));
  for (int i = 0; i < 2; ++i) parameters.AddObservedTask("a");
  for (const char* other : {static_cast<const char*>(nullptr), "b"}) {
    parameters.RemoveObservedTask(other);
    EXPECT_FALSE(parameters.IsTaskObserved(other));
  }
  EXPECT_TRUE(parameters.IsTaskObserved("a"));
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
    EXPECT_EQ(parameters.GetFunctionMark(6) + parameters.GetTimeMark(6), 6U + 2U);
  }
}

// A mark that lay across two cache lines would not be read whole.
static_assert(alignof(CObservationParametersImp) % 8 == 0);
static_assert(alignof(CAbstractIntermediateResultReceiver) % 8 == 0);

}  // namespace
}  // namespace velmora::intermediate_results
