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

TEST_F(SimDispatchTest, PostsRunInOrderOnlyWhenAsked) {
  loop.post([&] { ran.push_back("a"); });
  loop.post([&] {
    ran.push_back("b");
    loop.post([&] { ran.push_back("nested"); });
  });
  loop.post([&] { ran.push_back("c"); });
  EXPECT_TRUE(ran.empty());
  loop.runUntilIdle();
  EXPECT_EQ(ran, (std::vector<std::string>{"a", "b", "c", "nested"}));
}

TEST_F(SimDispatchTest, TimersRunAtTheirDueTimeAndAdvanceEndsAtTheTarget) {
  std::vector<double> at;
  TimerHandle late = loop.postAfter(seconds(2.5), [&] { at.push_back(now()); });
  TimerHandle early = loop.postAfter(seconds(1), [&] {
    at.push_back(now());
    // Posted during the advance and due inside it: runs in it.
    loop.postAfter(seconds(0.5), [&] { at.push_back(now()); }).release();
  });
  TimerHandle beyond = loop.postAfter(seconds(4), [&] { at.push_back(now()); });
  loop.advance(seconds(3));
  EXPECT_EQ(at, (std::vector<double>{1.0, 1.5, 2.5}));
  EXPECT_EQ(now(), 3.0);
  EXPECT_EQ(loop.pendingCount(), 1u);
}

TEST_F(SimDispatchTest, EqualDueTimesRunInPostingOrder) {
  TimerHandle first = loop.postAfter(seconds(1), [&] {
    ran.push_back("first");
    loop.postAfter(seconds(0), [&] { ran.push_back("zero delay"); }).release();
  });
  TimerHandle second =
      loop.postAfter(seconds(1), [&] { ran.push_back("second"); });
  loop.advance(seconds(1));
  EXPECT_EQ(ran, (std::vector<std::string>{"first", "second", "zero delay"}));
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

TEST_F(SimDispatchTest, WallAndMonotonicClocksMoveTogether) {
  WallTime wall = loop.now();
  MonotonicTime mono = loop.monotonicNow();
  loop.advance(seconds(1.25));
  EXPECT_EQ(loop.now() - wall, std::chrono::milliseconds(1250));
  EXPECT_EQ(loop.monotonicNow() - mono, std::chrono::milliseconds(1250));
  EXPECT_EQ(loop.nextDueIn(), std::nullopt);
}

TEST(SimDispatchBoundTest, ALoopThatNeverSettlesStopsAndSaysSo) {
  SimDispatch loop(WallTime(), 1000);
  std::function<void()> forever = [&] { loop.post(forever); };
  loop.post(forever);
  loop.runUntilIdle();
  EXPECT_TRUE(loop.stalled());
}

}  // namespace
}  // namespace movaro::sim
