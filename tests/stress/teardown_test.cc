// The plugins go away (the engine is released) in the middle of every long
// operation; then the Mac delivers everything it still owes them. Nothing
// may be answered, sent or asked of the Mac afterwards, except where an
// operation had already handed its last request to the Mac, and nothing may
// crash (these run under the sanitizers too).
#include <string>
#include <vector>

#include "support/mesh_fixture.h"
#include "support/stress_driver.h"
#include "support/stress_rules.h"
#include "support/tunnel_fixture.h"

namespace movaro::testing {
namespace {

using sim::ActivationOutcome;
using ::testing::Each;
using ::testing::Field;
using ::testing::Pointee;
constexpr const char* kMain = PluginHarness::kMain;
constexpr const char* kMesh = PluginHarness::kMesh;
constexpr const char* kEvents = PluginHarness::kEvents;

ValueMap oneReminder() {
  // A day after the virtual clock's start, 2030-01-01T00:00:00Z.
  return dict(
      {{"reminders", ValueList{dict({{"id", 1},
                                     {"title", "Renew"},
                                     {"body", "Your plan ends soon."},
                                     {"scheduled_at_millis",
                                      int64_t{1893456000000 + 86400000}}})}}});
}

class TeardownTest : public MeshTest {
 protected:
  void gone() {
    teardown();
    // Callbacks already running on other threads may still record calls
    // they made before the plugins went.
    mac.notifications.joinCallbacks();
    osCallsAtTeardown_ = mac.log.calls().size();
    eventsAtTeardown_ = events.size();
    tornDown_ = true;
  }

  // Tears down (unless done), delivers everything still owed, and checks
  // that nothing follows: `unanswered` stay so, `answeredOnce` were
  // answered once, and there is no task, no event and no OS call since the
  // teardown (unless allowed).
  void expectNothingFollows(const std::vector<ReplyPtr>& unanswered,
                            const std::vector<ReplyPtr>& answeredOnce = {},
                            bool osCallsAllowed = false) {
    if (!tornDown_) {
      gone();
    }
    stress::deliverEverything(*this);
    EXPECT_THAT(unanswered, Each(IsUnanswered()));
    EXPECT_THAT(answeredOnce, Each(Pointee(Field(&ReplyRecord::count, 1))));
    EXPECT_EQ(mac.dispatch.pendingCount(), 0u);
    EXPECT_FALSE(mac.dispatch.stalled());
    EXPECT_EQ(events.size(), eventsAtTeardown_) << "an event after teardown";
    EXPECT_EQ(mac.networkExtension.observerCount(), 0u);
    if (!osCallsAllowed) {
      EXPECT_EQ(mac.log.calls().size(), osCallsAtTeardown_)
          << "the plugins asked the Mac for " << mac.log.calls().back().name;
    }
  }

  ReplyPtr connect() {
    ReplyPtr reply = callMain("connect", dict({{"config", kValidConfig}}));
    runUntilIdle();
    return reply;
  }

  size_t osCallsAtTeardown_ = 0;
  size_t eventsAtTeardown_ = 0;
  bool tornDown_ = false;
};

// ---- A call waiting on each kind of completion ----

// The Mac holds the completion a call waits on when the engine goes away,
// then delivers it and everything else. Nothing follows, except where the
// chain already holds what it needs: a connect's save and reload hold the
// plugin; the save of a disconnect or of an auto-connect change and the
// reminders' additions need nothing of it. Those calls are answered true.
struct HeldCall {
  const char* channel;
  const char* method;
  const char* held;
  bool answered = false;
};

void PrintTo(const HeldCall& row, std::ostream* out) {
  *out << row.method << " waiting on " << row.held;
}

class HeldAtTeardownTest : public TeardownTest,
                           public ::testing::WithParamInterface<HeldCall> {};

TEST_P(HeldAtTeardownTest, NothingFollowsForTheGonePlugins) {
  const HeldCall& row = GetParam();
  const std::string method = row.method;
  ASSERT_THAT(connect(), IsValue(true));
  advance(2);  // connected
  listen();
  addMeshProfile(method == "login" ? platform::kVpnStatusDisconnected
                                   : platform::kVpnStatusConnected);
  mac.holds.hold({row.held});
  ReplyPtr reply =
      call(row.channel, method,
           method == "connect" ? Value(dict({{"config", kValidConfig}}))
           : method == "configureAutoConnect"
               ? Value(dict({{"enabled", true},
                             {"trustedWifiSsids", ValueList{"Home"}}}))
           : method == "syncSubscriptionReminders" ? Value(oneReminder())
           : method == "login"                     ? Value(validLogin())
                                                   : Value());
  runUntilIdle();
  mac.location.decide(platform::kLocationAuthorizedAlways);  // held in its row
  ASSERT_FALSE(mac.holds.held().empty());
  gone();
  releaseAll();
  if (row.answered) {
    EXPECT_THAT(reply, IsValue(true));
    expectNothingFollows({}, {reply}, /*osCallsAllowed=*/true);
  } else if (method == "listen") {  // answered at once
    expectNothingFollows({}, {reply});
  } else {
    expectNothingFollows({reply});
  }
}

INSTANTIATE_TEST_SUITE_P(
    EveryWait,
    HeldAtTeardownTest,
    ::testing::Values(HeldCall{kMain, "connect", "loadAll"},
                      HeldCall{kMain, "connect", "save", true},
                      HeldCall{kMain, "connect", "reload", true},
                      HeldCall{kMain, "disconnect", "save", true},
                      HeldCall{kMain, "configureAutoConnect", "save", true},
                      HeldCall{kMain, "getCurrentWifiSsid", "locationDecision"},
                      HeldCall{kMain, "syncSubscriptionReminders",
                               "notificationAuthorization"},
                      HeldCall{kMain, "syncSubscriptionReminders",
                               "notificationAdd", true},
                      HeldCall{kEvents, "listen", "loadAll"},
                      HeldCall{kMesh, "login", "loadAll"},
                      HeldCall{kMesh, "login", "save"},
                      HeldCall{kMesh, "login", "reload"},
                      HeldCall{kMesh, "login", "start"},
                      HeldCall{kMesh, "status", "providerMessage"},
                      HeldCall{kMesh, "down", "loadAll"},
                      HeldCall{kMesh, "down", "stop"},
                      HeldCall{kMesh, "logout", "providerMessage"}),
    [](const auto& test) {
      return std::string(test.param.method) + "_" + test.param.held;
    });

// ---- Calls waiting on the system, on timers or on each other ----

TEST_F(TeardownTest, ConnectCanceledByADisconnectStillLoading) {
  mac.installExtension(".network-extension");
  ReplyPtr connect = this->connect();
  ReplyPtr disconnect = callMain("disconnect");
  ASSERT_THAT(connect,
              IsError("CONNECT_CANCELED", "The connection was canceled."));
  expectNothingFollows({disconnect}, {connect});
}

TEST_F(TeardownTest, MeshLogoutWaitingForAnEarlierCleanup) {
  addMeshProfile(platform::kVpnStatusConnected);
  silence("logout");
  ReplyPtr first = callMesh("logout");
  runUntilIdle();  // the first sends "logout" and holds the busy flag
  ReplyPtr second = callMesh("logout");
  advance(1);
  expectNothingFollows({first, second});
}

TEST_F(TeardownTest, MeshLogoutCleaningUp) {
  addMeshProfile(platform::kVpnStatusConnected);
  silence("logout");
  silence("status");
  ReplyPtr logout = callMesh("logout");
  advance(8);  // "logout" timed out; the clean-up-only tunnel is asked
  ASSERT_EQ(mac.log.named("ne.start").size(), 1u);
  expectNothingFollows({logout});
}

TEST_F(TeardownTest, PrepareVpnSubmitted) {
  ReplyPtr prepare = callMesh("prepareVpn");
  runUntilIdle();
  expectNothingFollows({prepare});
}

TEST_F(TeardownTest, PrepareVpnAwaitingApproval) {
  ReplyPtr prepare = callMesh("prepareVpn");
  runUntilIdle();
  mac.systemExtensions.answer(0, ActivationOutcome::kNeedsApproval);
  advance(100);
  expectNothingFollows({prepare});
}

// Every kind of call in flight at once: a connect waiting for the
// extension, a Wi-Fi name for the user's decision, a login for its tunnel,
// a logout for that login, the reminders for their authorisation, and
// more; the logout answers the waiting "prepareVpn" false.
TEST_F(TeardownTest, EverythingInFlightAtOnceWithCallbacksOnOtherThreads) {
  mac.installExtension(".network-extension");
  mac.notifications.callbacksOnOtherThreads = true;
  mac.wifi.ssid.reset();
  mac.networkExtension.connectDelay.reset();
  addMeshProfile(platform::kVpnStatusDisconnected);
  listen();
  ReplyPtr prepareVpn = callMesh("prepareVpn");
  std::vector<ReplyPtr> replies = {
      callMain("connect", dict({{"config", kValidConfig}})),
      callMain("getCurrentWifiSsid"), callMesh("login", validLogin())};
  advance(2);
  for (const char* method : {"status", "logout"}) {
    replies.push_back(callMesh(method));
  }
  for (const char* method : {"prepare", "getAutoConnectPolicy"}) {
    replies.push_back(callMain(method));
  }
  replies.push_back(callMain("syncSubscriptionReminders", oneReminder()));
  ASSERT_THAT(prepareVpn, IsValue(false));
  expectNothingFollows(replies, {prepareVpn});
}

// The teardown races the notification callbacks on their own threads.
// Before the authorisation's answer has reached the main queue, the call
// is never answered; once the additions are out, their group needs
// nothing of the plugin and answers. Either way the plugin, which holds a
// status observer, is destroyed on the main queue.
TEST(TeardownRaceTest, RemindersWithCallbacksOnOtherThreads) {
  using Authorization = sim::SimNotificationCenter::Authorization;
  struct Row {
    Authorization authorization;
    bool addFails;
    bool additionsOut;
    const char* reply;
  };
  const Row kRows[] = {{Authorization::kGranted, false, false, "no reply"},
                       {Authorization::kGranted, false, true, "value true"},
                       {Authorization::kGranted, true, true,
                        "error REMINDER_SCHEDULE_FAILED / No room."},
                       {Authorization::kDeclined, false, true,
                        "error NOTIFICATION_PERMISSION_DENIED / (no message)"}};
  for (int round = 0; round < 25; ++round) {
    for (const Row& row : kRows) {
      SCOPED_TRACE(::testing::Message() << "row " << (&row - kRows));
      PluginHarness harness;
      harness.callMain("prepare");
      harness.runUntilIdle();
      ASSERT_EQ(harness.mac.networkExtension.observerCount(), 1u);
      auto& center = harness.mac.notifications;
      center.callbacksOnOtherThreads = true;
      center.authorization = row.authorization;
      if (row.addFails) {
        center.addFailures["*"] = "No room.";
      }
      ReplyPtr reply =
          harness.callMain("syncSubscriptionReminders", oneReminder());
      if (row.additionsOut) {
        center.joinCallbacks();
        harness.runUntilIdle();
      }
      harness.teardown();
      stress::settle(harness);
      EXPECT_EQ(stress::describeReply(*reply), row.reply);
      EXPECT_EQ(harness.mac.dispatch.pendingCount(), 0u);
      EXPECT_EQ(harness.mac.networkExtension.observerCount(), 0u);
      EXPECT_EQ(harness.mac.networkExtension.observersRemovedOffThread(), 0);
    }
  }
}

}  // namespace
}  // namespace movaro::testing
