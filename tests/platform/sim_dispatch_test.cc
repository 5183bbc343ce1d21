#include "platform/sim/sim_dispatch.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace movaro::sim {
namespace {

using platform::seconds;

class SimDispatchTest : public ::testing::Test {
 protected:
  double now() const {
    return std::chrono::duration<double>(loop.elapsed()).count();
  }
  SimDispatch loop{WallTime(std::chrono::seconds(1000))};
  std::vector<std::string> ran;
};

// Posts and timers due at the same time run in the order they were posted.
TEST_F(SimDispatchTest, TasksDueTogetherRunInPostingOrderOnlyWhenAsked) {
  loop.post([&] { ran.push_back("a"); });
  loop.post([&] {
    ran.push_back("b");
    loop.post([&] { ran.push_back("nested"); });
  });
  TimerHandle zero = loop.postAfter(seconds(0), [&] { ran.push_back("zero"); });
  loop.post([&] { ran.push_back("c"); });
  EXPECT_EQ(loop.pendingCount(), 4u);  // and none has run
  loop.runUntilIdle();
  EXPECT_EQ(ran, (std::vector<std::string>{"a", "b", "zero", "c", "nested"}));
}

TEST_F(SimDispatchTest, TimersRunAtTheirDueTimeAndAdvanceEndsAtTheTarget) {
  const WallTime wall = loop.now();
  const MonotonicTime mono = loop.monotonicNow();
  std::vector<double> at;
  TimerHandle late = loop.postAfter(seconds(2.5), [&] { at.push_back(now()); });
  TimerHandle early = loop.postAfter(seconds(1), [&] {
    at.push_back(now());
    // Posted during the advance and due inside it: runs in it.
    loop.postAfter(seconds(0.5), [&] { at.push_back(now()); }).release();
  });
  TimerHandle beyond = loop.postAfter(seconds(4), [&] { at.push_back(now()); });
  // Cancelled, so neither pending nor next, though due before `beyond`.
  loop.postAfter(seconds(3.5), [&] { at.push_back(now()); }).cancel();
  loop.advance(seconds(3.25));
  EXPECT_EQ(at, (std::vector<double>{1.0, 1.5, 2.5}));
  EXPECT_EQ(loop.now() - wall, std::chrono::milliseconds(3250));
  EXPECT_EQ(loop.monotonicNow() - mono, std::chrono::milliseconds(3250));
  EXPECT_EQ(loop.pendingCount(), 1u);
  EXPECT_EQ(loop.nextDueIn(), std::chrono::milliseconds(750));
}

TEST_F(SimDispatchTest, CancelledAndDestroyedTimersNeverRun) {
  TimerHandle victim =
      loop.postAfter(seconds(1), [&] { ran.push_back("victim"); });
  TimerHandle killer = loop.postAfter(seconds(1), [&] { victim.cancel(); });
  {
    TimerHandle dropped =
        loop.postAfter(seconds(1), [&] { ran.push_back("dropped"); });
  }
  // The killer was posted after the victim, so the victim runs first.
  loop.advance(seconds(2));
  EXPECT_EQ(ran, (std::vector<std::string>{"victim"}));

  ran.clear();
  TimerHandle later =
      loop.postAfter(seconds(1), [&] { ran.push_back("later"); });
  // A moved handle still owns its timer.
  TimerHandle moved = std::move(later);
  TimerHandle canceller = loop.postAfter(seconds(0.5), [&] { moved.cancel(); });
  loop.advance(seconds(2));
  EXPECT_TRUE(ran.empty());
  EXPECT_EQ(loop.pendingCount(), 0u);
  EXPECT_EQ(loop.nextDueIn(), std::nullopt);
}

TEST_F(SimDispatchTest, FourHundredPollsLandExactlyOnFortySeconds) {
  int polls = 0;
  std::function<void()> poll = [&] {
    ++polls;
    if (loop.elapsed() < std::chrono::seconds(40)) {
      loop.postAfter(seconds(0.1), poll).release();
    }
  };
  loop.post(poll);
  loop.advance(seconds(100));
  EXPECT_EQ(polls, 401);
}

TEST(SimDispatchBoundTest, ALoopThatNeverSettlesStopsAndSaysSo) {
  SimDispatch loop(WallTime(), 1000);
  int runs = 0;
  std::function<void()> forever = [&] {
    ++runs;
    loop.post(forever);
  };
  loop.post(forever);
  loop.runUntilIdle();
  EXPECT_TRUE(loop.stalled());
  EXPECT_EQ(runs, 1000);
}

}  // namespace
}  // namespace movaro::sim
