// Disconnect, the event stream and the status events it carries.
#include "support/tunnel_fixture.h"

namespace movaro::testing {
namespace {

using ::testing::ElementsAre;

// Listening starts with a failed load's own error (and no observer), or
// with the current status: with no profile ever saved, the new profile's
// invalid status reads as disconnected; once one is saved, as an
// unavailable profile, also when read afresh by a new listen.
TEST_F(TunnelTest, StatusChangesArriveAsEventsInOrder) {
  mac.networkExtension.connectDelay.reset();
  mac.networkExtension.failures["loadAll"] = {"No.", 1};
  EXPECT_THAT(listen(), IsValue(Value()));
  runUntilIdle();
  EXPECT_EQ(mac.networkExtension.observerCount(), 0u);
  listen();
  runUntilIdle();
  EXPECT_THAT(connectWith({}), IsValue(true));
  for (int status : {3, 4, 3, 5, 1, 0}) {
    setStatus(status);
  }
  listen();
  runUntilIdle();
  setStatus(9);
  setStatus(-1);
  const Value kNoConfiguration =
      statusEvent("error", "The VPN configuration is unavailable");
  const Value kNoStatus = statusEvent("error", "The VPN status is unavailable");
  EXPECT_THAT(
      events,
      ElementsAre(statusEvent("error", "Unable to load VPN configuration"),
                  statusEvent("disconnected", "Disconnected"),
                  statusEvent("connecting", "Connecting"),
                  statusEvent("connected", "Connected"),
                  statusEvent("reconnecting", "Reconnecting"),
                  statusEvent("connected", "Connected"),
                  statusEvent("disconnecting", "Disconnecting"),
                  statusEvent("disconnected", "Disconnected"), kNoConfiguration,
                  kNoConfiguration, kNoStatus, kNoStatus));
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

// Without a saved profile there is nothing to save or stop, and a failed
// load answers false; a saved profile loses its on-demand connect and is
// stopped, even when the save fails. Nothing is sent or remembered while
// nobody listens.
TEST_F(TunnelTest, DisconnectTurnsOnDemandOffAndStops) {
  EXPECT_THAT(callIdle("disconnect"), IsValue(true));
  EXPECT_THAT(mac.log.names(), ElementsAre("ne.loadAll"));
  mac.networkExtension.failures["loadAll"] = {"No.", 1};
  EXPECT_THAT(callIdle("disconnect"), IsValue(false));

  EXPECT_THAT(connectWith(dict({{"enableOnDemand", true}})), IsValue(true));
  advance(2);
  EXPECT_TRUE(events.empty());
  listen();
  runUntilIdle();
  EXPECT_THAT(events, ElementsAre(statusEvent("connected", "Connected")));
  EXPECT_THAT(cancel(), IsValue(Value()));
  EXPECT_EQ(mac.networkExtension.observerCount(), 0u);
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
  EXPECT_EQ(events.size(), 1u);

  mac.networkExtension.failures["save"] = {"Permission denied.", 1};
  mac.log.clear();
  EXPECT_THAT(callIdle("disconnect"),
              IsError("DISCONNECT_FAILED", "Permission denied."));
  EXPECT_THAT(mac.log.names(), ElementsAre("ne.loadAll", "ne.save", "ne.stop"));
}

}  // namespace
}  // namespace movaro::testing
