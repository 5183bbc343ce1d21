// "down", "logout" and the identity clean-up behind it.
#include "support/mesh_fixture.h"

namespace movaro::testing {
namespace {

using ::testing::ElementsAre;

std::vector<std::string> withoutLoads(const std::vector<std::string>& names) {
  std::vector<std::string> kept;
  for (const std::string& name : names) {
    if (name != "ne.loadAll") {
      kept.push_back(name);
    }
  }
  return kept;
}

TEST_F(MeshTest, DownWaitsForTheTunnelAndFailsAfterTenSeconds) {
  addMeshProfile(platform::kVpnStatusConnected);
  mac.networkExtension.stopDelay.reset();  // stays disconnecting
  ReplyPtr reply = callMesh("down");
  runUntilIdle();
  advance(9.9);
  EXPECT_THAT(reply, IsUnanswered());
  advance(0.1);
  EXPECT_THAT(reply, IsMeshError("cleanup_failed"));
  // The stop was asked for once.
  EXPECT_EQ(mac.log.named("ne.stop").size(), 1u);
}

TEST_F(MeshTest, DownOfAStoppedTunnelAnswersAtOnce) {
  ReplyPtr reply = callMesh("down");
  runUntilIdle();
  EXPECT_THAT(reply, IsValue(true));
  mac.networkExtension.failures["loadAll"] = {"No.", 1};
  reply = callMesh("down");
  runUntilIdle();
  EXPECT_THAT(reply, IsMeshError("engine_failed"));
}

TEST_F(MeshTest, LogoutWithAConfirmingProviderNeedsNoCleanupStart) {
  login();
  advance(1);
  answer("logout", R"({"identityCleared":true})");
  mac.log.clear();
  ReplyPtr reply = callMesh("logout");
  runUntilIdle();
  EXPECT_THAT(reply, IsValue(true));
  EXPECT_THAT(withoutLoads(mac.log.names()),
              ElementsAre("ne.sendProviderMessage", "ne.stop"));
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
  ReplyPtr reply = callMesh("logout");
  runUntilIdle();
  advance(5);  // the logout message times out; the tunnel is stopped
  EXPECT_THAT(reply, IsUnanswered());
  advance(1);  // down: the clean-up-only start follows at the next poll
  auto starts = mac.log.named("ne.start");
  ASSERT_EQ(starts.size(), 1u);
  EXPECT_EQ(
      *find(starts[0].details, "options"),
      Value(dict({{"cleanupOnly", true}, {"accountNamespace", kNamespace}})));
  advance(2);  // connected, asked "status" every 0.1 s without confirmation
  EXPECT_GT(mac.log.named("ne.sendProviderMessage").size(), 5u);
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
  ReplyPtr reply = callMesh("logout");
  runUntilIdle();
  advance(15);
  EXPECT_THAT(reply, IsUnanswered());  // a status message is out
  advance(5);
  EXPECT_THAT(reply, IsValue(true));
}

TEST_F(MeshTest, ACleanupTunnelThatNeverConfirmsFailsAtTheDeadline) {
  addMeshProfile(platform::kVpnStatusDisconnected);
  answer("status", R"({"identityCleared":false})");
  ReplyPtr reply = callMesh("logout");
  runUntilIdle();
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
    ReplyPtr reply = callMesh("logout");
    runUntilIdle();
    EXPECT_THAT(reply, IsValue(true));
    EXPECT_THAT(mac.log.names(), ElementsAre("ne.loadAll"));
  }
  mac.networkExtension.saved().clear();
  ReplyPtr reply = callMesh("logout");
  runUntilIdle();
  EXPECT_THAT(reply, IsValue(true));
}

TEST_F(MeshTest, LogoutWaitsForARunningLoginToEnd) {
  mac.networkExtension.connectDelay.reset();
  ReplyPtr loginReply = login();
  advance(3);
  // The clean-up tunnel will connect.
  mac.networkExtension.connectDelay = std::chrono::seconds(1);
  answer("status", R"({"identityCleared":true})");
  ReplyPtr logout = callMesh("logout");
  runUntilIdle();
  advance(0.1);
  EXPECT_THAT(loginReply, IsMeshError("connection_failed"));
  advance(3);
  EXPECT_THAT(logout, IsValue(true));
}

TEST_F(MeshTest, ASecondLogoutGivesUpWhileTheFirstCleansUp) {
  addMeshProfile(platform::kVpnStatusConnected);
  silence("logout");
  silence("status");
  ReplyPtr first = callMesh("logout");
  runUntilIdle();
  ReplyPtr second = callMesh("logout");
  runUntilIdle();
  advance(15);
  EXPECT_THAT(second, IsMeshError("cleanup_failed"));
  EXPECT_THAT(first, IsUnanswered());
  advance(10);
  EXPECT_THAT(first, IsMeshError("cleanup_failed"));
}

}  // namespace
}  // namespace movaro::testing
