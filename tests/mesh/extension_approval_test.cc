// "prepareVpn" and the mesh extension's approval.
#include "support/mesh_fixture.h"

namespace movaro::testing {
namespace {

using sim::ActivationOutcome;

constexpr const char* kApprovalUrl =
    "x-apple.systempreferences:com.apple.ExtensionsPreferences?"
    "extensionPointIdentifier=com.apple.networkextension.packet-tunnel";

class ApprovalTest : public MeshTest {
 protected:
  void answerRequest(size_t index, ActivationOutcome outcome) {
    ASSERT_TRUE(mac.systemExtensions.answer(index, outcome));
    runUntilIdle();
  }
};

TEST_F(ApprovalTest, WithoutTheEngineItAnswersFalseAndOpensNothing) {
  mac.fileManager.virtualBundles.clear();
  EXPECT_THAT(callMesh("prepareVpn"), IsValue(false));
  EXPECT_TRUE(mac.systemExtensions.submitted().empty());
  EXPECT_TRUE(mac.workspace.opened.empty());
}

TEST_F(ApprovalTest, ApprovalWithinTheDeadlineAnswersTrue) {
  ReplyPtr reply = callMesh("prepareVpn");
  ASSERT_EQ(mac.systemExtensions.submitted().size(), 1u);
  EXPECT_EQ(mac.systemExtensions.submitted()[0].request->identifier(),
            kMeshProvider);
  answerRequest(0, ActivationOutcome::kNeedsApproval);
  EXPECT_EQ(mac.workspace.opened, std::vector<std::string>{kApprovalUrl});
  advance(200);
  answerRequest(0, ActivationOutcome::kCompleted);
  EXPECT_THAT(reply, IsValue(true));
  EXPECT_EQ(mac.dispatch.pendingCount(), 0u);
}

TEST_F(ApprovalTest, NoOutcomeWithin240SecondsAnswersFalse) {
  ReplyPtr reply = callMesh("prepareVpn");
  answerRequest(0, ActivationOutcome::kNeedsApproval);
  advance(239.9);
  EXPECT_THAT(reply, IsUnanswered());
  advance(0.1);
  EXPECT_THAT(reply, IsValue(false));
  // A late finish for that request is ignored; the next call submits anew.
  answerRequest(0, ActivationOutcome::kCompleted);
  ReplyPtr next = callMesh("prepareVpn");
  EXPECT_EQ(mac.systemExtensions.submitted().size(), 2u);
  answerRequest(1, ActivationOutcome::kWillCompleteAfterReboot);
  EXPECT_THAT(next, IsValue(false));
}

TEST_F(ApprovalTest, ASecondApprovalCallbackRestartsTheWait) {
  ReplyPtr reply = callMesh("prepareVpn");
  answerRequest(0, ActivationOutcome::kNeedsApproval);
  advance(200);
  answerRequest(0, ActivationOutcome::kNeedsApproval);
  advance(200);
  EXPECT_THAT(reply, IsUnanswered());
  advance(40);
  EXPECT_THAT(reply, IsValue(false));
  EXPECT_EQ(mac.workspace.opened.size(), 2u);
}

TEST_F(ApprovalTest, ASecondCallTakesOverTheWait) {
  ReplyPtr first = callMesh("prepareVpn");
  ReplyPtr second = callMesh("prepareVpn");
  EXPECT_THAT(first, IsValue(false));
  EXPECT_EQ(mac.systemExtensions.submitted().size(), 1u);
  EXPECT_EQ(mac.workspace.opened, std::vector<std::string>{kApprovalUrl});
  answerRequest(0, ActivationOutcome::kCompleted);
  EXPECT_THAT(second, IsValue(true));
}

TEST_F(ApprovalTest, DownAndLogoutAnswerTheWaitingCallFalse) {
  ReplyPtr waiting = callMesh("prepareVpn");
  callMesh("down");
  EXPECT_THAT(waiting, IsValue(false));
  // The orphaned request: its outcome answers nobody, a later call attaches.
  ReplyPtr attached = callMesh("prepareVpn");
  EXPECT_EQ(mac.systemExtensions.submitted().size(), 1u);
  callMesh("logout");
  EXPECT_THAT(attached, IsValue(false));
  answerRequest(0, ActivationOutcome::kFailed);
  ReplyPtr fresh = callMesh("prepareVpn");
  EXPECT_EQ(mac.systemExtensions.submitted().size(), 2u);
  answerRequest(1, ActivationOutcome::kFailed);
  EXPECT_THAT(fresh, IsValue(false));
}

}  // namespace
}  // namespace movaro::testing
