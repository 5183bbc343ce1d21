// "down", "logout" and the identity clean-up behind it.
#include "support/mesh_fixture.h"

namespace movaro::testing {
namespace {

using ::testing::ElementsAre;

TEST_F(MeshTest, DownWaitsForTheTunnelAndFailsAfterTenSeconds) {
  addMeshProfile(platform::kVpnStatusConnected);
  mac.networkExtension.stopDelay.reset();  // stays disconnecting
  ReplyPtr reply = ask("down");
  advance(9.9);
  EXPECT_THAT(reply, IsUnanswered());
  advance(0.1);
  EXPECT_THAT(reply, IsMeshError("cleanup_failed"));
  // The stop was asked for once.
  EXPECT_EQ(mac.log.named("ne.stop").size(), 1u);
}

TEST_F(MeshTest, DownOfAStoppedTunnelAnswersAtOnce) {
  EXPECT_THAT(ask("down"), IsValue(true));
  mac.networkExtension.failures["loadAll"] = {"No.", 1};
  EXPECT_THAT(ask("down"), IsMeshError("engine_failed"));
}

TEST_F(MeshTest, LogoutWithAConfirmingProviderNeedsNoCleanupStart) {
  login();
  advance(1);
  answer("logout", R"({"identityCleared":true})");
  mac.log.clear();
  EXPECT_THAT(ask("logout"), IsValue(true));
  advance(6);  // the answered message's timeout passes without effect
  EXPECT_THAT(mac.log.names(),
              ElementsAre("ne.loadAll", "ne.sendProviderMessage", "ne.stop"));
  EXPECT_EQ(
      *find(mac.log.named("ne.sendProviderMessage")[0].details, "message"),
      Value(R"({"command":"logout"})"));
}

TEST_F(MeshTest, LogoutWithASilentProviderGoesThroughACleanupStart) {
  login();
  advance(1);
  silence("logout");
  answer("status", R"({"identityCleared":false})");
  mac.log.clear();
  ReplyPtr reply = ask("logout");
  advance(5);  // the logout message times out; the tunnel is stopped
  EXPECT_THAT(reply, IsUnanswered());
  advance(1);  // down: the clean-up-only start follows at the next poll
  auto starts = mac.log.named("ne.start");
  ASSERT_EQ(starts.size(), 1u);
  EXPECT_EQ(
      *find(starts[0].details, "options"),
      Value(dict({{"cleanupOnly", true}, {"accountNamespace", kNamespace}})));
  // Connected after 1 s, then asked "status" every 0.1 s without
  // confirmation: 11 times, after the logout message.
  advance(2);
  EXPECT_EQ(mac.log.named("ne.sendProviderMessage").size(), 12u);
  answer("status", R"({"identityCleared":true})");
  advance(0.2);
  EXPECT_THAT(reply, IsValue(true));
  EXPECT_EQ(mac.log.named("ne.start").size(), 1u);
}

TEST_F(MeshTest, AConfirmationAfterTheDeadlineStillSucceeds) {
  addMeshProfile(platform::kVpnStatusDisconnected);
  answer("status", R"({"identityCleared":true})", 4.9);
  // Connected at 14.85 s: the poll at 14.9 s asks "status", whose answer
  // comes 4.9 s later, after the 15-second deadline.
  mac.networkExtension.connectDelay = std::chrono::milliseconds(14850);
  ReplyPtr reply = ask("logout");
  advance(15);
  EXPECT_THAT(reply, IsUnanswered());  // a status message is out
  advance(5);
  EXPECT_THAT(reply, IsValue(true));
}

TEST_F(MeshTest, ACleanupTunnelThatNeverConfirmsFailsAtTheDeadline) {
  addMeshProfile(platform::kVpnStatusDisconnected);
  answer("status", R"({"identityCleared":false})");
  ReplyPtr reply = ask("logout");
  advance(14.9);
  EXPECT_THAT(reply, IsUnanswered());
  advance(0.2);
  EXPECT_THAT(reply, IsMeshError("cleanup_failed"));
  EXPECT_EQ(mac.log.named("ne.start").size(), 1u);
}

TEST_F(MeshTest, NothingToClearWithoutAValidNamespace) {
  for (const std::string& ns :
       {std::string(64, 'A'), std::string(63, 'a'), std::string(65, 'a')}) {
    mac.networkExtension.saved().clear();
    addMeshProfile(platform::kVpnStatusConnected, ns);
    mac.log.clear();
    EXPECT_THAT(ask("logout"), IsValue(true));
    EXPECT_THAT(mac.log.names(), ElementsAre("ne.loadAll"));
  }
  mac.networkExtension.saved().clear();
  EXPECT_THAT(ask("logout"), IsValue(true));
}

TEST_F(MeshTest, LogoutWaitsForARunningLoginToEnd) {
  mac.networkExtension.connectDelay.reset();
  ReplyPtr loginReply = login();
  advance(3);
  // The clean-up tunnel will connect.
  mac.networkExtension.connectDelay = std::chrono::seconds(1);
  answer("status", R"({"identityCleared":true})");
  ReplyPtr logout = ask("logout");
  advance(0.1);
  EXPECT_THAT(loginReply, IsMeshError("connection_failed"));
  advance(3);
  EXPECT_THAT(logout, IsValue(true));
}

TEST_F(MeshTest, ASecondLogoutGivesUpWhileTheFirstCleansUp) {
  addMeshProfile(platform::kVpnStatusConnected);
  silence("logout");
  silence("status");
  ReplyPtr first = ask("logout");
  ReplyPtr second = ask("logout");
  advance(15);
  EXPECT_THAT(second, IsMeshError("cleanup_failed"));
  EXPECT_THAT(first, IsUnanswered());
  advance(10);
  EXPECT_THAT(first, IsMeshError("cleanup_failed"));
}

}  // namespace
}  // namespace movaro::testing
