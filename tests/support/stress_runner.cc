// Many scenarios in a row, the failing ones shortened and reported, a
// summary line on request; and what the Mac delivers after each step.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <iomanip>
#include <iostream>
#include <random>
#include <sstream>

#include "support/stress_driver.h"

namespace movaro::stress {
namespace {

// Failing scenarios shortened and printed; the others are only counted.
constexpr int kReported = 3;
// Replays spent shortening one failing scenario.
constexpr int kShrinkBudget = 1500;

uint64_t seedFromEnvironment() {
  const char* seed = std::getenv("MOVARO_STRESS_SEED");
  std::random_device device;
  return seed == nullptr                 ? 20300101
         : std::string(seed) == "random" ? (uint64_t(device()) << 32) ^ device()
                                         : std::strtoull(seed, nullptr, 10);
}

// Shortens a failing scenario to the fewest steps that break the same
// rule, and reports it.
void reportShortened(const Scenario& original, const Violation& found) {
  Scenario shortest = original;
  shortest.steps = shrink(
      original.steps,
      [&](const std::vector<Step>& candidate) {
        shortest.steps = candidate;
        RunResult again = runScenario(shortest);
        return again.violation && again.violation->kind == found.kind;
      },
      kShrinkBudget);
  const Violation violation = runScenario(shortest).violation.value_or(found);
  const bool closing = violation.step > shortest.steps.size();
  std::ostringstream out;
  out << "stress: scenario seed " << original.seed
      << " broke a rule: " << violation.message
      << "\n  shortest failing run: " << shortest.steps.size() << " of "
      << original.steps.size() << " steps, broken "
      << (closing ? std::string("in the closing phase")
                  : "at step " + std::to_string(violation.step))
      << " [" << violation.kind
      << "]; replay with MOVARO_STRESS_SEED=" << original.seed
      << " MOVARO_STRESS_SCENARIOS=1 build/tests/stress_tests "
         "--gtest_filter=RandomDriverTest."
      << ::testing::UnitTest::GetInstance()->current_test_info()->name()
      << "\n";
  for (size_t i = 0; i < shortest.steps.size(); ++i) {
    out << "  " << (i + 1) << ". " << describe(shortest.steps[i]) << "\n";
  }
  if (closing) {
    out << "  then: release what is held"
        << (original.earlyTeardown ? "" : ", 600 s, a busy-flag probe, 600 s")
        << ", tear the plugins down, deliver everything\n";
  }
  ADD_FAILURE() << out.str();
}

}  // namespace

void settle(testing::PluginHarness& harness) {
  for (int round = 0; round < 100; ++round) {
    harness.mac.notifications.joinCallbacks();
    harness.runUntilIdle();
    harness.mac.notifications.joinCallbacks();
    auto next = harness.mac.dispatch.nextDueIn();
    if (!next || *next > platform::Duration::zero()) {
      return;
    }
  }
}

void deliverEverything(testing::PluginHarness& harness) {
  auto& mac = harness.mac;
  for (size_t i = 0; i < mac.systemExtensions.submitted().size(); ++i) {
    for (auto outcome : {sim::ActivationOutcome::kNeedsApproval,
                         sim::ActivationOutcome::kWillCompleteAfterReboot,
                         sim::ActivationOutcome::kCompleted,
                         sim::ActivationOutcome::kFailed}) {
      mac.systemExtensions.answer(i, outcome);
    }
  }
  mac.location.decide(platform::kLocationAuthorizedAlways);
  for (int status :
       {platform::kVpnStatusConnected, platform::kVpnStatusReasserting,
        platform::kVpnStatusDisconnected}) {
    for (auto& saved : mac.networkExtension.saved()) {
      saved.connection->setStatus(status);
    }
    settle(harness);
  }
  for (int i = 0; i < 2; ++i) {
    mac.advance(600);
    settle(harness);
  }
}

std::vector<Step> shrink(
    std::vector<Step> steps,
    const std::function<bool(const std::vector<Step>&)>& stillFails,
    int budget) {
  for (size_t chunk = std::max<size_t>(steps.size() / 2, 1);
       chunk > 0 && budget > 0; chunk /= 2) {
    for (size_t start = 0; start < steps.size() && budget-- > 0;) {
      std::vector<Step> candidate = steps;
      candidate.erase(
          candidate.begin() + long(start),
          candidate.begin() + long(std::min(start + chunk, steps.size())));
      if (stillFails(candidate)) {
        steps = std::move(candidate);
      } else {
        start += chunk;
      }
    }
  }
  return steps;
}

uint64_t runScenarios(uint64_t defaultCount, bool otherThreads) {
  const char* count = std::getenv("MOVARO_STRESS_SCENARIOS");
  const uint64_t scenarios =
      count ? std::strtoull(count, nullptr, 10) : defaultCount;
  const uint64_t seed = seedFromEnvironment();
  const auto started = std::chrono::steady_clock::now();
  uint64_t steps = 0;
  uint64_t violations = 0;
  for (uint64_t i = 0; i < scenarios; ++i) {
    const Scenario scenario = generateScenario(seed + i, otherThreads);
    const RunResult result = runScenario(scenario);
    steps += result.stepsRun;
    if (result.violation && ++violations <= kReported) {
      reportShortened(scenario, *result.violation);
    }
  }
  const char* summary = std::getenv("MOVARO_STRESS_SUMMARY");
  if (summary && std::string(summary) == "1") {
    std::cout << "stress: " << scenarios << " scenarios, " << steps
              << " steps, " << violations << " violations, " << std::fixed
              << std::setprecision(1)
              << std::chrono::duration<double>(
                     std::chrono::steady_clock::now() - started)
                     .count()
              << " s" << std::endl;
  }
  return violations;
}

}  // namespace movaro::stress
