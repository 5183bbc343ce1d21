// Seeded random scenarios over both plugins, each checked step by step.
//
//   MOVARO_STRESS_SCENARIOS  how many scenarios (default below)
//   MOVARO_STRESS_SEED       the first scenario's seed, or "random"; scenario
//                            i runs with seed + i, so a reported seed replays
//                            alone with MOVARO_STRESS_SCENARIOS=1
//   MOVARO_STRESS_SUMMARY=1  print one summary line at the end
#include "stress/random_driver.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <random>
#include <sstream>
#include <string>

namespace movaro::stress {
namespace {

#if defined(__SANITIZE_ADDRESS__)
constexpr bool kSanitized = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
constexpr bool kSanitized = true;
#else
constexpr bool kSanitized = false;
#endif
#else
constexpr bool kSanitized = false;
#endif

// About 3 s of one core in an optimised build, and 50 s with the
// sanitizers in a Debug build.
constexpr uint64_t kDefaultScenarios = kSanitized ? 2000 : 5000;
constexpr uint64_t kDefaultSeed = 20300101;
// Failing scenarios shortened and printed; the others are only counted.
constexpr int kReported = 3;
// Replays spent shortening one failing scenario.
constexpr int kShrinkBudget = 1500;

struct Settings {
  uint64_t scenarios = kDefaultScenarios;
  uint64_t seed = kDefaultSeed;
  bool summary = false;
};

Settings readSettings() {
  Settings settings;
  if (const char* count = std::getenv("MOVARO_STRESS_SCENARIOS")) {
    settings.scenarios = std::strtoull(count, nullptr, 10);
  }
  if (const char* seed = std::getenv("MOVARO_STRESS_SEED")) {
    if (std::string(seed) == "random") {
      std::random_device device;
      settings.seed = (static_cast<uint64_t>(device()) << 32) ^ device();
    } else {
      settings.seed = std::strtoull(seed, nullptr, 10);
    }
  }
  if (const char* summary = std::getenv("MOVARO_STRESS_SUMMARY")) {
    settings.summary = std::string(summary) == "1";
  }
  return settings;
}

// Drops steps, big chunks first, as long as the run still breaks the same
// rule. Replays are deterministic, so what remains fails every time.
std::vector<Step> shrink(
    std::vector<Step> steps,
    const std::function<bool(const std::vector<Step>&)>& stillFails,
    int budget) {
  size_t chunk = std::max<size_t>(steps.size() / 2, 1);
  while (budget > 0) {
    bool dropped = false;
    for (size_t start = 0; start < steps.size() && budget > 0;) {
      std::vector<Step> candidate;
      candidate.reserve(steps.size());
      for (size_t i = 0; i < steps.size(); ++i) {
        if (i < start || i >= start + chunk) {
          candidate.push_back(steps[i]);
        }
      }
      --budget;
      if (candidate.size() < steps.size() && stillFails(candidate)) {
        steps = std::move(candidate);
        dropped = true;
      } else {
        start += chunk;
      }
    }
    if (chunk == 1 && !dropped) {
      break;
    }
    if (!dropped) {
      chunk = std::max<size_t>(chunk / 2, 1);
    }
  }
  return steps;
}

std::string report(const Scenario& original,
                   const Scenario& shortest,
                   const Violation& violation) {
  std::ostringstream out;
  out << "stress: scenario seed " << original.seed << " ("
      << biasName(original.bias) << ", "
      << (original.earlyTeardown ? "early teardown" : "settled teardown")
      << ") broke a rule: " << violation.message << "\n";
  const bool closing = violation.step > shortest.steps.size();
  out << "  shortest failing run: " << shortest.steps.size() << " of "
      << original.steps.size() << " steps, broken "
      << (closing ? std::string("in the closing phase")
                  : "at step " + std::to_string(violation.step))
      << " [" << violation.kind
      << "]; replay with MOVARO_STRESS_SEED=" << original.seed
      << " MOVARO_STRESS_SCENARIOS=1\n";
  for (size_t i = 0; i < shortest.steps.size(); ++i) {
    out << "  " << (i + 1) << ". " << describe(shortest.steps[i]) << "\n";
  }
  if (closing) {
    out << "  then: "
        << (original.earlyTeardown
                ? "run until idle, tear the plugins down, deliver everything"
                : "advance 600 s, a busy-flag probe login, advance 600 s, "
                  "tear the plugins down, deliver everything")
        << "\n";
  }
  return out.str();
}

TEST(RandomDriverTest, EveryScenarioKeepsTheRules) {
  const Settings settings = readSettings();
  const auto started = std::chrono::steady_clock::now();
  uint64_t steps = 0;
  uint64_t violations = 0;
  int reported = 0;
  for (uint64_t i = 0; i < settings.scenarios; ++i) {
    const Scenario scenario = generateScenario(settings.seed + i);
    const RunResult result = runScenario(scenario);
    steps += result.stepsRun;
    if (!result.violation) {
      continue;
    }
    ++violations;
    if (reported >= kReported) {
      continue;
    }
    ++reported;
    const std::string kind = result.violation->kind;
    Scenario shortest = scenario;
    shortest.steps = shrink(
        scenario.steps,
        [&scenario, &kind](const std::vector<Step>& candidate) {
          Scenario replay = scenario;
          replay.steps = candidate;
          RunResult again = runScenario(replay);
          return again.violation && again.violation->kind == kind;
        },
        kShrinkBudget);
    RunResult last = runScenario(shortest);
    ADD_FAILURE() << report(
        scenario, shortest,
        last.violation ? *last.violation : *result.violation);
  }
  const double elapsed =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - started)
          .count();
  if (settings.summary) {
    std::printf("stress: %llu scenarios, %llu steps, %llu violations, %.1f s\n",
                static_cast<unsigned long long>(settings.scenarios),
                static_cast<unsigned long long>(steps),
                static_cast<unsigned long long>(violations), elapsed);
  }
  EXPECT_EQ(violations, 0u) << "scenarios from seed " << settings.seed;
}

TEST(RandomDriverTest, ShrinkingKeepsOnlyTheStepsThatMatter) {
  std::vector<Step> steps(40);
  for (size_t i = 0; i < steps.size(); ++i) {
    steps[i].op = Op::kAdvance;
    steps[i].seconds = static_cast<double>(i);
  }
  // Fails while steps 7 and 31 are both there, in that order.
  auto fails = [](const std::vector<Step>& candidate) {
    bool seven = false;
    for (const Step& step : candidate) {
      seven = seven || step.seconds == 7;
      if (seven && step.seconds == 31) {
        return true;
      }
    }
    return false;
  };
  std::vector<Step> shortest = shrink(steps, fails, 1000);
  ASSERT_EQ(shortest.size(), 2u);
  EXPECT_EQ(shortest[0].seconds, 7);
  EXPECT_EQ(shortest[1].seconds, 31);
}

TEST(RandomDriverTest, ScenariosReplayFromTheirSeed) {
  const Scenario first = generateScenario(77);
  const Scenario again = generateScenario(77);
  ASSERT_EQ(first.steps.size(), again.steps.size());
  for (size_t i = 0; i < first.steps.size(); ++i) {
    EXPECT_EQ(describe(first.steps[i]), describe(again.steps[i]));
  }
  EXPECT_GE(first.steps.size(), 30u);
  EXPECT_LE(first.steps.size(), 80u);
}

}  // namespace
}  // namespace movaro::stress
