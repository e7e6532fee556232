#include "tests/memory/operation.h"

#include <exception>
#include <iostream>

namespace velmora::testing {
namespace {

char runningOperation[100] = "";

[[noreturn]] void TellWhereItEnded() {
  StopFailing();
  std::fprintf(stderr, "std::terminate: %s\n", runningOperation);
  std::abort();
}

// Gives the number of failed allocations, and in `fault` what is wrong.
long RunOnce(const Operation& operation, long successes, bool forGood, const std::string& whole,
             std::string& fault) {
  const Trial trial = operation.make();
  const std::string before = trial.look();
  bool ranOut = false;
  StartFailing(successes, forGood);
  try {
    trial.act();
  } catch (const std::bad_alloc&) {
    ranOut = true;
  } catch (const std::exception& error) {
    StopFailing();
    fault = std::string("throws ") + error.what();
  }
  const long failures = StopFailing();
  const std::string seen = trial.look();
  if (!fault.empty()) return failures;
  if (!ranOut) {
    const auto& documented = operation.documented;
    const bool isDocumented =
        failures > 0 && std::count(documented.begin(), documented.end(), seen) != 0;
    if (seen == whole) return failures;
    if (!isDocumented) fault = "silently leaves\n" + seen + "\nin place of\n" + whole;
  } else if (operation.promise == kUnchanged && seen != before) {
    fault = "throws and leaves\n" + seen + "\nin place of\n" + before;
  }
  if (!fault.empty()) return failures;
  trial.act();
  const std::string repeated = trial.look();
  if (operation.promise == kUnchanged && repeated != whole) {
    fault = "when repeated leaves\n" + repeated + "\nin place of\n" + whole;
  }
  return failures;
}

long Sweep(const Operation& operation) {
  std::string whole;
  for (int warmUp = 0; warmUp < 2; ++warmUp) {
    const Trial trial = operation.make();
    trial.look();
    trial.act();
    whole = trial.look();
  }
  TakeOverAllocation();
  long points = 0;
  for (const bool forGood : {false, true}) {
    for (long successes = 0;; ++successes, ++points) {
      std::snprintf(runningOperation, sizeof runningOperation, "%s, allocation %ld%s",
                    operation.name, successes + 1, forGood ? " and all later ones" : "");
      std::string fault;
      long failures = 0, leaked = 1;
      // Blocks that stay for later calls do not stay again and again.
      for (int i = 0; i < 4 && leaked > 0 && fault.empty(); ++i) {
        const long live = CountLiveBlocks();
        failures = RunOnce(operation, successes, forGood, whole, fault);
        leaked = CountLiveBlocks() - live;
      }
      if (fault.empty() && leaked > 0) fault = "leaks " + std::to_string(leaked) + " blocks";
      if (!fault.empty()) ADD_FAILURE() << runningOperation << ": " << fault;
      if (failures == 0 || !fault.empty()) break;
    }
  }
  return points;
}

}  // namespace

long RunOutOfMemory(const char* room, const std::vector<Operation>& operations) {
  const auto usual = std::set_terminate(&TellWhereItEnded);
  TakeOverAllocation();
  long points = 0;
  for (const Operation& operation : operations) points += Sweep(operation);
  std::set_terminate(usual);
  std::cout << room << ": " << operations.size() << " operations, memory ran out at " << points
            << " points\n";
  return points;
}

}  // namespace velmora::testing
