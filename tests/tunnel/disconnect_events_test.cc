// Disconnect, the event stream and the status events it carries.
#include "support/tunnel_fixture.h"

namespace movaro::testing {
namespace {

using ::testing::ElementsAre;

// Listening with no profile ever saved: the new profile's invalid status
// reads as disconnected; once saved, it reads as an unavailable profile.
TEST_F(TunnelTest, StatusChangesArriveAsEventsInOrder) {
  mac.networkExtension.connectDelay.reset();
  EXPECT_THAT(listen(), IsValue(Value()));
  runUntilIdle();
  EXPECT_THAT(connectWith({}), IsValue(true));
  for (int status : {3, 4, 3, 5, 1, 0, 9, -1}) {
    setStatus(status);
  }
  const char* kUnavailable = "The VPN status is unavailable";
  EXPECT_THAT(
      events,
      ElementsAre(statusEvent("disconnected", "Disconnected"),
                  statusEvent("connecting", "Connecting"),
                  statusEvent("connected", "Connected"),
                  statusEvent("reconnecting", "Reconnecting"),
                  statusEvent("connected", "Connected"),
                  statusEvent("disconnecting", "Disconnecting"),
                  statusEvent("disconnected", "Disconnected"),
                  statusEvent("error", "The VPN configuration is unavailable"),
                  statusEvent("error", kUnavailable),
                  statusEvent("error", kUnavailable)));
}

// Listening starts with a failed load's own error, or with a saved
// profile's invalid status as an unavailable profile.
TEST_F(TunnelTest, ListeningStartsWithTheLoadsOutcome) {
  mac.networkExtension.failures["loadAll"] = {"No.", 1};
  EXPECT_THAT(listen(), IsValue(Value()));
  runUntilIdle();
  EXPECT_EQ(mac.networkExtension.observerCount(), 0u);
  sim::ProfileFields ours;
  ours.protocol =
      platform::TunnelProtocol{true, kVpnProvider, "a:1", false, {}};
  mac.networkExtension.addSavedProfile(ours).connection->setStatus(0);
  listen();
  runUntilIdle();
  EXPECT_THAT(
      events,
      ElementsAre(
          statusEvent("error", "Unable to load VPN configuration"),
          statusEvent("error", "The VPN configuration is unavailable")));
}

TEST_F(TunnelTest, NothingIsSentOrRememberedWhileNobodyListens) {
  EXPECT_THAT(connectWith({}), IsValue(true));
  advance(5);
  EXPECT_TRUE(events.empty());
  listen();
  runUntilIdle();
  EXPECT_THAT(events, ElementsAre(statusEvent("connected", "Connected")));
  EXPECT_THAT(cancel(), IsValue(Value()));
  EXPECT_EQ(mac.networkExtension.observerCount(), 0u);
  setStatus(4);
  EXPECT_EQ(events.size(), 1u);
}

// A cancel, and perhaps a new listen, before a listen's profile load
// answers: a failed load's error goes to its own, cancelled, listener, a
// successful one's status to whoever listens now.
class CancelBeforeTheLoadTest
    : public TunnelTest,
      public ::testing::WithParamInterface<std::tuple<bool, bool>> {};

TEST_P(CancelBeforeTheLoadTest, NothingReachesACancelledListener) {
  const auto [listensAgain, loadFails] = GetParam();
  mac.holds.hold({"loadAll"});
  listen();
  cancel();
  if (listensAgain) {
    listen();
  }
  mac.holds.release(heldId("loadAll"), loadFails
                                           ? std::optional<std::string>("No.")
                                           : std::nullopt);
  releaseAll();
  const size_t sent = listensAgain ? (loadFails ? 1 : 2) : 0;
  EXPECT_EQ(events, std::vector<Value>(
                        sent, statusEvent("disconnected", "Disconnected")));
}

INSTANTIATE_TEST_SUITE_P(ListenAgainLoadFails,
                         CancelBeforeTheLoadTest,
                         ::testing::Combine(::testing::Bool(),
                                            ::testing::Bool()));

// A disconnect made while a connect's profile load is out: the two chains
// run in the order the Mac answers their loads.
class DisconnectRacingConnectTest : public TunnelTest,
                                    public ::testing::WithParamInterface<bool> {
};

TEST_P(DisconnectRacingConnectTest, ChainsFollowTheMacsOrder) {
  const bool connectLoadFirst = GetParam();
  ASSERT_THAT(connectWith({}), IsValue(true));
  advance(2);
  mac.log.clear();
  mac.holds.hold({"loadAll"});
  ReplyPtr connect = connectWith(dict({{"enableOnDemand", true}}));
  ReplyPtr disconnect = callMain("disconnect");
  runUntilIdle();
  const auto held = mac.holds.held();
  ASSERT_EQ(held.size(), 2u);
  mac.holds.release(held[connectLoadFirst ? 0 : 1].id);
  runUntilIdle();
  releaseAll();
  advance(2);
  EXPECT_THAT(connect, IsValue(true));
  EXPECT_THAT(disconnect, IsValue(true));
  std::vector<std::string> calls = mac.log.names();
  std::erase_if(calls, [](const std::string& name) {
    return name != "ne.start" && name != "ne.stop";
  });
  EXPECT_THAT(calls, ElementsAre(connectLoadFirst ? "ne.start" : "ne.stop",
                                 connectLoadFirst ? "ne.stop" : "ne.start"));
  EXPECT_EQ(status(), connectLoadFirst ? platform::kVpnStatusDisconnected
                                       : platform::kVpnStatusConnected);
  EXPECT_EQ(savedVpn()->fields.onDemandEnabled, !connectLoadFirst);
}

INSTANTIATE_TEST_SUITE_P(ConnectLoadFirst,
                         DisconnectRacingConnectTest,
                         ::testing::Bool());

TEST_F(TunnelTest, DisconnectTurnsOnDemandOffAndStops) {
  EXPECT_THAT(connectWith(dict({{"enableOnDemand", true}})), IsValue(true));
  advance(2);
  mac.log.clear();
  EXPECT_THAT(callIdle("disconnect"), IsValue(true));
  EXPECT_THAT(mac.log.names(), ElementsAre("ne.loadAll", "ne.save", "ne.stop"));
  EXPECT_FALSE(savedVpn()->fields.onDemandEnabled);
  EXPECT_TRUE(savedVpn()->fields.rules.empty());
  // The rest of the profile stays.
  EXPECT_EQ(savedVpn()->fields.protocol->serverAddress,
            "vpn.example.com:51820");
  EXPECT_EQ(status(), platform::kVpnStatusDisconnecting);
  advance(1);
  EXPECT_EQ(status(), platform::kVpnStatusDisconnected);
}

TEST_F(TunnelTest, AFailedSaveStillStopsTheTunnel) {
  EXPECT_THAT(connectWith({}), IsValue(true));
  mac.networkExtension.failures["save"] = {"Permission denied.", 1};
  mac.log.clear();
  EXPECT_THAT(callIdle("disconnect"),
              IsError("DISCONNECT_FAILED", "Permission denied."));
  EXPECT_THAT(mac.log.names(), ElementsAre("ne.loadAll", "ne.save", "ne.stop"));
}

TEST_F(TunnelTest, DisconnectWithoutASavedProfileOrLoad) {
  EXPECT_THAT(callIdle("disconnect"), IsValue(true));
  EXPECT_THAT(mac.log.names(), ElementsAre("ne.loadAll"));

  mac.networkExtension.failures["loadAll"] = {"No.", 1};
  EXPECT_THAT(callIdle("disconnect"), IsValue(false));
}

}  // namespace
}  // namespace movaro::testing
