// Runs random scenarios on a fresh pair of plugins and checks, after every
// step, the rules every run must keep: one answer per call and in the right
// shape, events of the known kinds and only while listening, one status
// observer at most, every call answered by its deadline, and nothing
// answered, sent or left pending once the plugins are gone.
//
//   MOVARO_STRESS_SCENARIOS  how many scenarios (each test has its default)
//   MOVARO_STRESS_SEED       the first scenario's seed, or "random"; scenario
//                            i runs with seed + i, so a reported seed replays
//                            alone with MOVARO_STRESS_SCENARIOS=1
//   MOVARO_STRESS_SUMMARY=1  print one summary line at the end
#ifndef MOVARO_TESTS_SUPPORT_STRESS_DRIVER_H_
#define MOVARO_TESTS_SUPPORT_STRESS_DRIVER_H_

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "support/plugin_harness.h"
#include "support/stress_scenario.h"

namespace movaro::stress {

struct Violation {
  size_t step = 0;   // steps done when it was found
  std::string kind;  // stable across replays, for shrinking
  std::string message;
};

struct RunResult {
  std::optional<Violation> violation;
  size_t stepsRun = 0;
};

RunResult runScenario(const Scenario& scenario);

// Lets callbacks on other threads finish, then runs what they posted, until
// nothing is due.
void settle(testing::PluginHarness& harness);
// Everything the Mac could still deliver: every extension request answered
// with every outcome, the user's location decision, every saved profile
// connected, reasserting and disconnected, callbacks on other threads,
// timers up to 20 minutes on.
void deliverEverything(testing::PluginHarness& harness);

// Drops steps, big chunks first, as long as the run still fails.
std::vector<Step> shrink(
    std::vector<Step> steps,
    const std::function<bool(const std::vector<Step>&)>& stillFails,
    int budget);

// Runs the scenarios the environment asks for (`defaultCount` unless told),
// reports the first few failing ones, shortened, as test failures, and
// returns how many failed.
uint64_t runScenarios(uint64_t defaultCount, bool otherThreads);

}  // namespace movaro::stress

#endif  // MOVARO_TESTS_SUPPORT_STRESS_DRIVER_H_
