// Disconnect, the event stream and the status events it carries.
#include "support/tunnel_fixture.h"

namespace movaro::testing {
namespace {

using ::testing::ElementsAre;

TEST_F(TunnelTest, StatusChangesArriveAsEventsInOrder) {
  mac.networkExtension.connectDelay.reset();
  EXPECT_THAT(listen(), IsValue(Value()));
  runUntilIdle();
  EXPECT_THAT(connectWith({}), IsValue(true));
  for (int status : {3, 4, 3, 5, 1}) {
    setStatus(status);
  }
  EXPECT_THAT(events, ElementsAre(statusEvent("disconnected", "Disconnected"),
                                  statusEvent("connecting", "Connecting"),
                                  statusEvent("connected", "Connected"),
                                  statusEvent("reconnecting", "Reconnecting"),
                                  statusEvent("connected", "Connected"),
                                  statusEvent("disconnecting", "Disconnecting"),
                                  statusEvent("disconnected", "Disconnected")));
}

TEST_F(TunnelTest, StatusMapping) {
  EXPECT_THAT(connectWith({}), IsValue(true));
  listen();
  runUntilIdle();
  events.clear();
  setStatus(0);  // invalid, with a saved profile
  setStatus(9);
  setStatus(-1);
  EXPECT_THAT(
      events,
      ElementsAre(statusEvent("error", "The VPN configuration is unavailable"),
                  statusEvent("error", "The VPN status is unavailable"),
                  statusEvent("error", "The VPN status is unavailable")));
}

TEST_F(TunnelTest, ListeningStartsWithTheCurrentStatus) {
  // No profile ever saved: the new profile's invalid status reads as
  // disconnected.
  listen();
  runUntilIdle();
  EXPECT_THAT(events, ElementsAre(statusEvent("disconnected", "Disconnected")));

  // A saved profile whose connection reports invalid.
  events.clear();
  sim::ProfileFields ours;
  ours.protocol =
      platform::TunnelProtocol{true, kVpnProvider, "a:1", false, {}};
  mac.networkExtension.addSavedProfile(ours).connection->setStatus(0);
  listen();
  runUntilIdle();
  EXPECT_THAT(events, ElementsAre(statusEvent(
                          "error", "The VPN configuration is unavailable")));
}

TEST_F(TunnelTest, AFailedLoadAtListenSendsItsOwnErrorEvent) {
  mac.networkExtension.failures["loadAll"] = {"No.", 1};
  EXPECT_THAT(listen(), IsValue(Value()));
  runUntilIdle();
  EXPECT_THAT(events, ElementsAre(statusEvent(
                          "error", "Unable to load VPN configuration")));
  EXPECT_EQ(mac.networkExtension.observerCount(), 0u);
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

TEST_F(TunnelTest, OneObserverAtATimeOnTheLatestLoad) {
  for (int i = 0; i < 3; ++i) {
    callMain("prepare");
    runUntilIdle();
  }
  EXPECT_EQ(mac.networkExtension.observerCount(), 1u);
}

TEST_F(TunnelTest, DisconnectTurnsOnDemandOffAndStops) {
  EXPECT_THAT(connectWith(dict({{"enableOnDemand", true}})), IsValue(true));
  advance(2);
  mac.log.clear();
  ReplyPtr reply = callMain("disconnect");
  runUntilIdle();
  EXPECT_THAT(reply, IsValue(true));
  EXPECT_THAT(mac.log.names(), ElementsAre("ne.loadAll", "ne.save", "ne.stop"));
  EXPECT_FALSE(savedVpn()->fields.onDemandEnabled);
  EXPECT_TRUE(savedVpn()->fields.rules.empty());
  // The rest of the profile stays.
  EXPECT_EQ(savedVpn()->fields.protocol->serverAddress,
            "vpn.example.com:51820");
  EXPECT_EQ(status(), platform::kVpnStatusDisconnecting);
  advance(1);
  EXPECT_EQ(status(), platform::kVpnStatusDisconnected);

  ReplyPtr policy = callMain("getAutoConnectPolicy");
  runUntilIdle();
  EXPECT_EQ(*find(*policy->value().getIf<ValueMap>(), "enabled"), Value(false));
}

TEST_F(TunnelTest, AFailedSaveStillStopsTheTunnel) {
  EXPECT_THAT(connectWith({}), IsValue(true));
  mac.networkExtension.failures["save"] = {"Permission denied.", 1};
  mac.log.clear();
  ReplyPtr reply = callMain("disconnect");
  runUntilIdle();
  EXPECT_THAT(reply, IsError("DISCONNECT_FAILED", "Permission denied."));
  EXPECT_THAT(mac.log.names(), ElementsAre("ne.loadAll", "ne.save", "ne.stop"));
}

TEST_F(TunnelTest, DisconnectWithoutASavedProfileOrLoad) {
  ReplyPtr nothingSaved = callMain("disconnect");
  runUntilIdle();
  EXPECT_THAT(nothingSaved, IsValue(true));
  EXPECT_THAT(mac.log.names(), ElementsAre("ne.loadAll"));

  mac.networkExtension.failures["loadAll"] = {"No.", 1};
  ReplyPtr failedLoad = callMain("disconnect");
  runUntilIdle();
  EXPECT_THAT(failedLoad, IsValue(false));
}

}  // namespace
}  // namespace movaro::testing
