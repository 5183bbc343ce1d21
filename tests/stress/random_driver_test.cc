// Seeded random scenarios over both plugins, each checked step by step
// (support/stress_driver.h lists the rules and the environment variables).
#include <gtest/gtest.h>

#include "support/stress_driver.h"

namespace movaro::stress {
namespace {

constexpr bool kSanitized = MOVARO_SANITIZED;

// About 3 s of one core in an optimised build, and 50 s with the
// sanitizers in a Debug build; the notification callbacks on the main
// queue.
TEST(RandomDriverTest, EveryScenarioKeepsTheRules) {
  EXPECT_EQ(runScenarios(kSanitized ? 2000 : 5000, false), 0u);
}

// Every notification callback on a thread of its own.
TEST(RandomDriverTest, ScenariosWithCallbacksOnOtherThreads) {
  EXPECT_EQ(runScenarios(kSanitized ? 100 : 300, true), 0u);
}

TEST(RandomDriverTest, ShrinkingKeepsOnlyTheStepsThatMatter) {
  std::vector<Step> steps(40);
  for (size_t i = 0; i < steps.size(); ++i) {
    steps[i].seconds = double(i);
  }
  // Fails while steps 7 and 31 are both there, in that order.
  auto fails = [](const std::vector<Step>& candidate) {
    auto seven = std::find_if(candidate.begin(), candidate.end(),
                              [](const Step& s) { return s.seconds == 7; });
    return std::any_of(seven, candidate.end(),
                       [](const Step& s) { return s.seconds == 31; });
  };
  std::vector<Step> shortest = shrink(steps, fails, 1000);
  ASSERT_EQ(shortest.size(), 2u);
  EXPECT_EQ(shortest[0].seconds, 7);
  EXPECT_EQ(shortest[1].seconds, 31);
}

}  // namespace
}  // namespace movaro::stress
