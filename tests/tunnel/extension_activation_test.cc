// A connect waits for the packet-tunnel extension's activation.
#include "support/tunnel_fixture.h"

namespace movaro::testing {
namespace {

using sim::ActivationOutcome;

constexpr const char* kApproval =
    "Allow Halvorn VPN in System Settings > General > Login Items & "
    "Extensions > Network Extensions, then connect again.";

class ExtensionActivationTest : public TunnelTest {
 protected:
  void SetUp() override { mac.installExtension(".network-extension"); }
  void answer(size_t index, ActivationOutcome outcome) {
    ASSERT_TRUE(mac.systemExtensions.answer(index, outcome));
    runUntilIdle();
  }
  size_t submitted() { return mac.systemExtensions.submitted().size(); }
};

TEST_F(ExtensionActivationTest, ApprovalRoundTrip) {
  // Without a bundle identifier the extension's is the usual one.
  mac.mainBundle.contents.identifier.reset();
  ReplyPtr first = connectWith({});
  EXPECT_THAT(first, IsUnanswered());
  ASSERT_EQ(submitted(), 1u);
  EXPECT_EQ(mac.systemExtensions.submitted()[0].request->identifier(),
            "com.quillfen.movaro.macos.network-extension");
  // A replacement is always allowed.
  answer(0, ActivationOutcome::kReplace);
  EXPECT_EQ(*find(mac.log.named("sysext.replace").at(0).details, "action"),
            Value("replace"));

  answer(0, ActivationOutcome::kNeedsApproval);
  EXPECT_THAT(first, IsError("EXTENSION_APPROVAL_REQUIRED", kApproval));
  // While the user decides, connects are refused at once, with no request.
  EXPECT_THAT(connectWith({}),
              IsError("EXTENSION_APPROVAL_REQUIRED", kApproval));
  EXPECT_EQ(submitted(), 1u);

  // The user approves: the request finishes with nobody waiting.
  answer(0, ActivationOutcome::kCompleted);
  EXPECT_EQ(mac.networkExtension.saved().size(), 0u);

  ReplyPtr again = connectWith({});
  ASSERT_EQ(submitted(), 2u);
  answer(1, ActivationOutcome::kCompleted);
  EXPECT_THAT(again, IsValue(true));
}

TEST_F(ExtensionActivationTest, RestartAndFailureEndTheWaitWithTheirErrors) {
  ReplyPtr restart = connectWith({});
  answer(0, ActivationOutcome::kWillCompleteAfterReboot);
  EXPECT_THAT(restart,
              IsError("EXTENSION_RESTART_REQUIRED",
                      "Restart this Mac to finish enabling Halvorn VPN, then "
                      "connect again."));
  ReplyPtr failed = connectWith({});
  answer(1, ActivationOutcome::kFailed);
  EXPECT_THAT(failed,
              IsError("EXTENSION_ACTIVATION_FAILED",
                      "macOS could not enable the Halvorn VPN network "
                      "extension. Check its permission in System Settings "
                      "and try again."));
  EXPECT_TRUE(mac.networkExtension.saved().empty());
  // Both cleared the pending request: the next connect submits anew, and
  // late answers for the earlier requests change nothing.
  ReplyPtr next = connectWith({});
  EXPECT_EQ(submitted(), 3u);
  answer(1, ActivationOutcome::kNeedsApproval);
  answer(0, ActivationOutcome::kCompleted);
  answer(1, ActivationOutcome::kFailed);
  EXPECT_THAT(next, IsUnanswered());
  answer(2, ActivationOutcome::kCompleted);
  EXPECT_THAT(next, IsValue(true));
}

TEST_F(ExtensionActivationTest, DisconnectAbandonsTheWaitingConnectOnce) {
  ReplyPtr waiting = connectWith({});
  ReplyPtr firstDisconnect = callMain("disconnect");
  ReplyPtr secondDisconnect = callMain("disconnect");
  EXPECT_THAT(waiting,
              IsError("CONNECT_CANCELED", "The connection was canceled."));
  runUntilIdle();
  EXPECT_THAT(firstDisconnect, IsValue(true));
  EXPECT_THAT(secondDisconnect, IsValue(true));
  // The request stays submitted: connects are refused until it ends.
  EXPECT_THAT(connectWith({}),
              IsError("EXTENSION_APPROVAL_REQUIRED", kApproval));
  answer(0, ActivationOutcome::kCompleted);  // answers nobody
  ReplyPtr last = connectWith({});
  EXPECT_EQ(submitted(), 2u);
  // A late outcome after the engine went away answers nobody.
  teardown();
  answer(1, ActivationOutcome::kCompleted);
  EXPECT_THAT(last, IsUnanswered());
}

}  // namespace
}  // namespace movaro::testing
