// The plugins go away (the engine is released) in the middle of every long
// operation; then the Mac delivers everything it still owes them. Nothing
// may be answered, sent or asked of the Mac afterwards, except where an
// operation had already handed its last request to the Mac, and nothing may
// crash (these run under the sanitizers too).
#include <memory>
#include <string>
#include <vector>

#include "support/mesh_fixture.h"
#include "support/tunnel_fixture.h"

namespace movaro::testing {
namespace {

using sim::ActivationOutcome;
constexpr const char* kMain = PluginHarness::kMain;
constexpr const char* kMesh = PluginHarness::kMesh;
constexpr const char* kEvents = PluginHarness::kEvents;

class TeardownTest : public ::testing::Test, public PluginHarness {
 protected:
  void installEngine() {
    mac.installExtension(".mesh-extension",
                         dict({{"HalvornEngineAvailable", "1"}}));
  }

  // Tears the plugins down on the main queue once `hops` rounds of tasks
  // posted before this one have run: each round lets one more completion
  // of a chain through.
  void teardownAfter(int hops) {
    mac.dispatch.post([this, hops] {
      if (hops == 0) {
        gone();
      } else {
        teardownAfter(hops - 1);
      }
    });
  }

  void gone() {
    teardown();
    // Callbacks already running on other threads may still record calls
    // they made before the plugins went.
    mac.notifications.joinCallbacks();
    osCallsAtTeardown_ = mac.log.calls().size();
    eventsAtTeardown_ = events.size();
    tornDown_ = true;
  }

  // Every request answered (twice over), the user's decisions, status
  // changes of every saved profile, callbacks on other threads joined, and
  // every timer run.
  void deliverEverything() {
    if (!tornDown_) {
      gone();
    }
    const size_t requests = mac.systemExtensions.submitted().size();
    for (size_t i = 0; i < requests; ++i) {
      mac.systemExtensions.answer(i, ActivationOutcome::kNeedsApproval);
      mac.systemExtensions.answer(i, ActivationOutcome::kCompleted);
      mac.systemExtensions.answer(i, ActivationOutcome::kFailed);
    }
    mac.location.decide(platform::kLocationAuthorizedAlways);
    settle();
    for (auto& saved : mac.networkExtension.saved()) {
      saved.connection->setStatus(platform::kVpnStatusConnected);
      saved.connection->setStatus(platform::kVpnStatusReasserting);
    }
    settle();
    for (auto& saved : mac.networkExtension.saved()) {
      saved.connection->setStatus(platform::kVpnStatusDisconnected);
    }
    advance(600);
    settle();
    advance(600);
    settle();
  }

  void settle() {
    for (int round = 0; round < 8; ++round) {
      mac.notifications.joinCallbacks();
      runUntilIdle();
    }
  }

  // Nothing left: no task, no event, no OS call since the teardown.
  void expectQuiet(bool osCallsAllowed = false) {
    EXPECT_EQ(mac.dispatch.pendingCount(), 0u);
    EXPECT_FALSE(mac.dispatch.stalled());
    EXPECT_EQ(events.size(), eventsAtTeardown_) << "an event after teardown";
    EXPECT_EQ(mac.networkExtension.observerCount(), 0u);
    if (!osCallsAllowed) {
      std::vector<std::string> later;
      const auto& calls = mac.log.calls();
      for (size_t i = osCallsAtTeardown_; i < calls.size(); ++i) {
        later.push_back(calls[i].name);
      }
      EXPECT_THAT(later, ::testing::IsEmpty())
          << "the plugins asked the Mac for more after teardown";
    }
  }

  // Delivers everything still owed; none of `replies` is answered and
  // nothing else happens.
  void expectNeverAnswered(std::initializer_list<ReplyPtr> replies) {
    deliverEverything();
    for (const ReplyPtr& reply : replies) {
      EXPECT_THAT(reply, IsUnanswered());
    }
    expectQuiet();
  }

  size_t count(const std::string& name) { return mac.log.named(name).size(); }

  ReplyPtr connectFully() {
    ReplyPtr reply = callMain("connect", dict({{"config", kValidConfig}}));
    advance(2);
    return reply;
  }

  static ValueMap meshLogin() {
    return dict({{"accountNamespace", kNamespace},
                 {"controlUrl", "https://control.example.com/mesh"},
                 {"authKey", "tskey-auth-secret"},
                 {"hostname", "work-laptop"},
                 {"sessionExpiresAt", "2031-01-01T00:00:00Z"}});
  }

  sim::SavedProfile& addMeshProfile(int status) {
    sim::ProfileFields fields;
    fields.protocol = platform::TunnelProtocol{
        true, kMeshProvider, "Halvorn Private Network", false,
        dict({{"accountNamespace", kNamespace}})};
    sim::SavedProfile& saved = mac.networkExtension.addSavedProfile(fields);
    saved.connection->setStatus(status);
    runUntilIdle();
    return saved;
  }

  void silence(const std::string& command) {
    mac.networkExtension.providerAnswers[command] =
        sim::ProviderAnswer{std::nullopt, {}, true, false};
  }

  size_t osCallsAtTeardown_ = 0;
  size_t eventsAtTeardown_ = 0;
  bool tornDown_ = false;
};

// ---- The main plugin ----

TEST_F(TeardownTest, ConnectWaitingForTheExtensionIsNeverAnswered) {
  mac.installExtension(".network-extension");
  ReplyPtr connect = callMain("connect", dict({{"config", kValidConfig}}));
  runUntilIdle();
  ASSERT_EQ(mac.systemExtensions.submitted().size(), 1u);
  ASSERT_THAT(connect, IsUnanswered());
  deliverEverything();
  EXPECT_THAT(connect, IsUnanswered());
  EXPECT_EQ(count("ne.save"), 0u);
  expectQuiet();
}

TEST_F(TeardownTest, ConnectAfterApprovalWasAskedForLeavesNothingBehind) {
  mac.installExtension(".network-extension");
  ReplyPtr first = callMain("connect", dict({{"config", kValidConfig}}));
  runUntilIdle();
  mac.systemExtensions.answer(0, ActivationOutcome::kNeedsApproval);
  runUntilIdle();
  ASSERT_THAT(first, IsError("EXTENSION_APPROVAL_REQUIRED",
                             "Allow Halvorn VPN in System Settings > General "
                             "> Login Items & Extensions > Network "
                             "Extensions, then connect again."));
  deliverEverything();
  EXPECT_EQ(first->count, 1);
  expectQuiet();
}

TEST_F(TeardownTest, ConnectWaitingForTheExtensionThenCancelledLeavesNothing) {
  mac.installExtension(".network-extension");
  ReplyPtr connect = callMain("connect", dict({{"config", kValidConfig}}));
  runUntilIdle();
  ReplyPtr disconnect = callMain("disconnect");
  EXPECT_THAT(connect,
              IsError("CONNECT_CANCELED", "The connection was canceled."));
  deliverEverything();
  EXPECT_EQ(connect->count, 1);
  EXPECT_THAT(disconnect, IsUnanswered());
  expectQuiet();
}

TEST_F(TeardownTest, StatusChangesAfterTeardownSendNoEvent) {
  ASSERT_THAT(connectFully(), IsValue(true));
  listen();
  runUntilIdle();
  ASSERT_EQ(events.size(), 1u);
  deliverEverything();
  EXPECT_EQ(events.size(), 1u);
  expectQuiet();
}

ValueMap oneReminder() {
  // A day after the virtual clock's start, 2030-01-01T00:00:00Z.
  return dict(
      {{"reminders", ValueList{dict({{"id", 1},
                                     {"title", "Renew"},
                                     {"body", "Your plan ends soon."},
                                     {"scheduled_at_millis",
                                      int64_t{1893456000000 + 86400000}}})}}});
}

// With the callbacks on threads of their own the teardown races them: the
// authorisation callback may find the plugin alive or gone. Either way no
// second answer, no crash, and the plugin (which holds a status observer)
// is destroyed on the main queue, many times over.
TEST(TeardownRaceTest, RemindersWithCallbacksOnOtherThreads) {
  for (int round = 0; round < 50; ++round) {
    auto harness = std::make_unique<PluginHarness>();
    harness->callMain("prepare");
    harness->runUntilIdle();
    ASSERT_EQ(harness->mac.networkExtension.observerCount(), 1u);
    harness->mac.notifications.callbacksOnOtherThreads = true;
    if (round % 3 == 1) {
      harness->mac.notifications.addFailures["*"] = "No room.";
    }
    if (round % 3 == 2) {
      harness->mac.notifications.authorization =
          sim::SimNotificationCenter::Authorization::kDeclined;
    }
    ReplyPtr reply =
        harness->callMain("syncSubscriptionReminders", oneReminder());
    harness->teardown();
    for (int i = 0; i < 4; ++i) {
      harness->mac.notifications.joinCallbacks();
      harness->runUntilIdle();
    }
    EXPECT_LE(reply->count, 1);
    EXPECT_EQ(harness->mac.dispatch.pendingCount(), 0u);
    EXPECT_EQ(harness->mac.networkExtension.observerCount(), 0u);
    EXPECT_EQ(harness->mac.networkExtension.observersRemovedOffThread(), 0);
  }
}

// ---- A call waiting on each kind of completion ----

// The Mac holds the completion a call waits on when the engine goes away,
// then delivers it and everything else. Nothing follows, except where the
// chain already holds what it needs: a connect's save and reload hold the
// plugin, so the connect is answered; the save of a disconnect or of an
// auto-connect change and the reminders' additions need nothing of it, so
// those are answered at most once.
enum class After { kNothing, kAnswered, kAtMostOnce };

struct HeldCall {
  const char* channel;
  const char* method;
  const char* held;
  After after = After::kNothing;
};

void PrintTo(const HeldCall& row, std::ostream* out) {
  *out << row.method << " waiting on " << row.held;
}

class HeldAtTeardownTest : public TeardownTest,
                           public ::testing::WithParamInterface<HeldCall> {
 protected:
  Value argumentsFor(const std::string& method) {
    if (method == "connect") {
      return dict({{"config", kValidConfig}});
    }
    if (method == "configureAutoConnect") {
      return dict({{"enabled", true}, {"trustedWifiSsids", ValueList{"Home"}}});
    }
    if (method == "syncSubscriptionReminders") {
      return oneReminder();
    }
    return method == "login" ? meshLogin() : Value();
  }
};

TEST_P(HeldAtTeardownTest, NothingFollowsForTheGonePlugins) {
  const HeldCall& row = GetParam();
  const std::string method = row.method;
  installEngine();
  ASSERT_THAT(connectFully(), IsValue(true));
  addMeshProfile(method == "login" ? platform::kVpnStatusDisconnected
                                   : platform::kVpnStatusConnected);
  mac.holds.hold({row.held});
  ReplyPtr reply = call(row.channel, method, argumentsFor(method));
  runUntilIdle();
  mac.location.decide(platform::kLocationAuthorizedAlways);  // held in its row
  ASSERT_FALSE(mac.holds.held().empty());
  const int answers = reply->count;
  gone();
  releaseAll();
  deliverEverything();
  if (row.after == After::kAtMostOnce) {
    EXPECT_LE(reply->count, 1);
  } else {
    EXPECT_EQ(reply->count, row.after == After::kAnswered ? 1 : answers);
  }
  expectQuiet(/*osCallsAllowed=*/row.after != After::kNothing);
}

INSTANTIATE_TEST_SUITE_P(
    EveryWait,
    HeldAtTeardownTest,
    ::testing::Values(HeldCall{kMain, "connect", "loadAll"},
                      HeldCall{kMain, "connect", "save", After::kAnswered},
                      HeldCall{kMain, "connect", "reload", After::kAnswered},
                      HeldCall{kMain, "disconnect", "loadAll"},
                      HeldCall{kMain, "disconnect", "save", After::kAtMostOnce},
                      HeldCall{kMain, "prepare", "loadAll"},
                      HeldCall{kMain, "getAutoConnectPolicy", "loadAll"},
                      HeldCall{kMain, "configureAutoConnect", "loadAll"},
                      HeldCall{kMain, "configureAutoConnect", "save",
                               After::kAtMostOnce},
                      HeldCall{kMain, "getCurrentWifiSsid", "locationDecision"},
                      HeldCall{kMain, "syncSubscriptionReminders",
                               "notificationAuthorization"},
                      HeldCall{kMain, "syncSubscriptionReminders",
                               "notificationAdd", After::kAtMostOnce},
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

// ---- The mesh plugin ----

// A login torn down in each state: -1 before its profile load answers, 0
// while that answer moves to the main queue, 1 and 2 while its save is
// answered and moved, 3 and 4 the same for its reload, 5 to 7 once the
// tunnel start was asked for and the login waits for it.
class MeshLoginTeardownTest : public TeardownTest,
                              public ::testing::WithParamInterface<int> {};

TEST_P(MeshLoginTeardownTest, IsNeverAnswered) {
  installEngine();
  ReplyPtr login = callMesh("login", meshLogin());
  ASSERT_THAT(login, IsUnanswered());
  if (GetParam() < 0) {
    gone();
  } else {
    teardownAfter(GetParam());
    runUntilIdle();
  }
  deliverEverything();
  ASSERT_TRUE(tornDown_);
  EXPECT_THAT(login, IsUnanswered());
  expectQuiet();
}

INSTANTIATE_TEST_SUITE_P(EveryState,
                         MeshLoginTeardownTest,
                         ::testing::Values(-1, 0, 1, 2, 3, 4, 5, 6, 7));

TEST_F(TeardownTest, MeshLogoutWaitingForAnEarlierCleanupIsNeverAnswered) {
  installEngine();
  addMeshProfile(platform::kVpnStatusConnected);
  silence("logout");
  ReplyPtr first = callMesh("logout");
  runUntilIdle();  // the first sends "logout" and holds the busy flag
  ReplyPtr second = callMesh("logout");
  advance(1);
  ASSERT_THAT(first, IsUnanswered());
  ASSERT_THAT(second, IsUnanswered());
  expectNeverAnswered({first, second});
}

TEST_F(TeardownTest, MeshLogoutWaitingForALoginIsNeverAnswered) {
  installEngine();
  ReplyPtr login = callMesh("login", meshLogin());
  ReplyPtr logout = callMesh("logout");  // the login is still loading
  expectNeverAnswered({login, logout});
}

TEST_F(TeardownTest, MeshLogoutCleaningUpIsNeverAnswered) {
  installEngine();
  addMeshProfile(platform::kVpnStatusConnected);
  silence("logout");
  silence("status");
  ReplyPtr logout = callMesh("logout");
  advance(8);  // "logout" timed out; the clean-up-only tunnel is asked
  ASSERT_EQ(count("ne.start"), 1u);
  ASSERT_THAT(logout, IsUnanswered());
  expectNeverAnswered({logout});
}

TEST_F(TeardownTest, PrepareVpnAwaitingApprovalIsNeverAnswered) {
  installEngine();
  ReplyPtr prepare = callMesh("prepareVpn");
  runUntilIdle();
  ASSERT_EQ(mac.systemExtensions.submitted().size(), 1u);
  mac.systemExtensions.answer(0, ActivationOutcome::kNeedsApproval);
  advance(100);
  ASSERT_THAT(prepare, IsUnanswered());
  expectNeverAnswered({prepare});
}

TEST_F(TeardownTest, PrepareVpnSubmittedIsNeverAnswered) {
  installEngine();
  ReplyPtr prepare = callMesh("prepareVpn");
  runUntilIdle();
  expectNeverAnswered({prepare});
}

// ---- Both at once ----

TEST_F(TeardownTest, EverythingInFlightAtOnce) {
  installEngine();
  mac.installExtension(".network-extension");
  mac.notifications.callbacksOnOtherThreads = true;
  mac.wifi.ssid.reset();
  mac.networkExtension.connectDelay.reset();
  addMeshProfile(platform::kVpnStatusDisconnected);
  listen();
  std::vector<ReplyPtr> replies = {
      callMain("connect", dict({{"config", kValidConfig}})),
      callMain("getCurrentWifiSsid"), callMesh("prepareVpn"),
      callMesh("login", dict({{"accountNamespace", kNamespace},
                              {"controlUrl", "https://control.example.com"},
                              {"authKey", "tskey-auth-secret"},
                              {"hostname", "laptop"},
                              {"sessionExpiresAt", "2031-01-01T00:00:00Z"}}))};
  advance(2);
  replies.push_back(callMesh("status"));
  replies.push_back(callMesh("logout"));
  replies.push_back(callMain("prepare"));
  replies.push_back(callMain("syncSubscriptionReminders", oneReminder()));
  replies.push_back(callMain("getAutoConnectPolicy"));
  std::vector<int> counts;
  for (const ReplyPtr& reply : replies) {
    counts.push_back(reply->count);
  }
  gone();
  deliverEverything();
  for (size_t i = 0; i < replies.size(); ++i) {
    // The reminders' authorisation callback may have run before the
    // teardown on its own thread; every other call stays as it was.
    if (i == 7) {
      EXPECT_LE(replies[i]->count, 1);
    } else {
      EXPECT_EQ(replies[i]->count, counts[i]) << "call " << i;
    }
  }
  EXPECT_EQ(mac.dispatch.pendingCount(), 0u);
  EXPECT_EQ(events.size(), eventsAtTeardown_);
}

}  // namespace
}  // namespace movaro::testing
