// Which job is next, and how long programs wait for a broker.
#include "tools/cluster/hand.h"

#include "tests/support/test.h"
#include "tools/cluster/back_off.h"

namespace velmora::cluster {
namespace {

using Clock = Hand::Clock;
using std::chrono::seconds;

const Clock::time_point kStart{};

HeldJob Held(const std::string& id, int priority, int failures, int arrivalSeconds = 0) {
  HeldJob held;
  held.job.id = id;
  held.job.priority = priority;
  held.deliveries = {1};
  held.failures = failures;
  held.arrival = kStart + seconds(arrivalSeconds);
  return held;
}

// The ids in the order in which they are begun, one at a time.
std::string OrderOf(const std::vector<HeldJob>& jobs, int nowSeconds) {
  Hand hand;
  for (const HeldJob& held : jobs) hand.Add(held);
  std::string order;
  while (const auto next = hand.TakeNext(kStart + seconds(nowSeconds), 0)) order += next->job.id;
  EXPECT_EQ(hand.Count(), 0u);
  return order;
}

TEST(Hand, ChoosesTheNextJob) {
  struct Row {
    const char* name;
    std::vector<HeldJob> jobs;
    int now;
    const char* order;
  };
  for (const Row& row : {
           Row{"priority, then arrival",
               {Held("a", 2, 0), Held("b", 1, 0), Held("c", 0, 0), Held("d", 1, 0)},
               0,
               "cbda"},
           Row{"what waited for long goes first",
               {Held("a", 2, 0, 0), Held("b", 0, 0, 30), Held("c", 0, 0, 40)},
               61,
               "abc"},
           Row{"a suspect lets fresh jobs pass", {Held("a", 0, 1, 1), Held("b", 2, 0, 1)}, 1, "ba"},
           Row{"but not for ever", {Held("a", 2, 1, 0), Held("b", 0, 0, 0)}, 1, "ab"},
       }) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(OrderOf(row.jobs, row.now), row.order);
  }
}

TEST(Hand, RunsASuspectAlone) {
  Hand hand;
  hand.Add(Held("suspect", 0, 1));
  EXPECT_FALSE(hand.TakeNext(kStart, 1)) << "beside another job";
  ASSERT_TRUE(hand.TakeNext(kStart, 0));
  hand.Add(Held("fresh", 0, 0));
  EXPECT_FALSE(hand.TakeNext(kStart, 1)) << "beside the suspect";
  ASSERT_TRUE(hand.TakeNext(kStart, 0)) << "the suspect has ended";
  hand.Add(Held("second", 0, 0));
  EXPECT_TRUE(hand.TakeNext(kStart, 1)) << "beside a fresh job";
}

TEST(BackOff, DoublesWithinItsBounds) {
  for (unsigned seed = 0; seed < 50; ++seed) {
    BackOff backOff(seed, 100, 1000);
    for (int round = 0; round < 2; ++round) {
      for (const int limit : {100, 200, 400, 800, 1000, 1000}) {
        const int wait = backOff.Next();
        EXPECT_GE(wait, limit / 2);
        EXPECT_LE(wait, limit);
      }
      backOff.Reset();
    }
  }
  BackOff one(1);
  BackOff other(2);
  EXPECT_NE(one.Next(), other.Next());
}

}  // namespace
}  // namespace velmora::cluster
