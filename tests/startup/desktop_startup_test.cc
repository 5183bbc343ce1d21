// Launch at login through the main channel.
#include "support/tunnel_fixture.h"

namespace movaro::testing {
namespace {

using platform::LoginItemStatus;

Value policy(bool enabled, bool requiresApproval, bool configured) {
  return dict({{"enabled", enabled},
               {"requiresApproval", requiresApproval},
               {"configured", configured}});
}

class DesktopStartupTest : public TunnelTest {
 protected:
  void installInApplications() {
    mac.mainBundle.path = "/Applications/Movaro.app";
  }
  size_t registrations() { return mac.log.named("sm.register").size(); }
};

TEST_F(DesktopStartupTest, ANewUserHasNothingConfigured) {
  EXPECT_THAT(callMain("getDesktopStartup"),
              IsValue(policy(false, false, false)));
  EXPECT_TRUE(mac.log.calls().empty());
}

TEST_F(DesktopStartupTest, EnsureRegistersOnceAndOnlyFromApplications) {
  EXPECT_THAT(callMain("ensureDesktopStartup"),
              IsValue(policy(false, false, false)));
  EXPECT_EQ(registrations(), 0u);
  mac.mainBundle.path = "/Applicationsfoo/Movaro.app";
  callMain("ensureDesktopStartup");
  EXPECT_EQ(registrations(), 0u);

  installInApplications();
  EXPECT_THAT(callMain("ensureDesktopStartup"),
              IsValue(policy(true, false, true)));
  EXPECT_EQ(registrations(), 1u);
  // The user turns it off; ensure never turns it back on.
  EXPECT_THAT(callMain("configureDesktopStartup", dict({{"enabled", false}})),
              IsValue(Value()));
  EXPECT_THAT(callMain("ensureDesktopStartup"),
              IsValue(policy(false, false, true)));
  EXPECT_EQ(registrations(), 1u);
}

TEST_F(DesktopStartupTest, AFailedRegistrationLeavesItUnconfigured) {
  installInApplications();
  mac.serviceManagement.registerFailure = "Operation not permitted";
  EXPECT_THAT(
      callMain("ensureDesktopStartup"),
      IsError("STARTUP_FAILED", "Launch at login could not be configured."));
  EXPECT_FALSE(find(mac.defaults.values, "HalvornDesktopStartupConfigured"));
  mac.serviceManagement.registerFailure.reset();
  EXPECT_THAT(callMain("ensureDesktopStartup"),
              IsValue(policy(true, false, true)));
}

TEST_F(DesktopStartupTest, ConfigureFollowsTheLoginItemsState) {
  struct Case {
    LoginItemStatus status;
    bool enabled;
    const char* expectedCall;  // nullptr: none
  };
  const Case cases[] = {
      {LoginItemStatus::kEnabled, true, nullptr},
      {LoginItemStatus::kRequiresApproval, true, nullptr},
      {LoginItemStatus::kNotRegistered, true, "sm.register"},
      {LoginItemStatus::kNotFound, true, "sm.register"},
      {LoginItemStatus::kNotRegistered, false, nullptr},
      {LoginItemStatus::kEnabled, false, "sm.unregister"},
      {LoginItemStatus::kRequiresApproval, false, "sm.unregister"},
      {LoginItemStatus::kNotFound, false, "sm.unregister"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(static_cast<int>(c.status) * 10 + c.enabled);
    mac.log.clear();
    mac.serviceManagement.status = c.status;
    EXPECT_THAT(
        callMain("configureDesktopStartup", dict({{"enabled", c.enabled}})),
        IsValue(Value()));
    std::vector<std::string> calls;
    for (const std::string& name : mac.log.names()) {
      if (name.rfind("sm.", 0) == 0) {
        calls.push_back(name);
      }
    }
    EXPECT_EQ(calls, c.expectedCall ? std::vector<std::string>{c.expectedCall}
                                    : std::vector<std::string>{});
    EXPECT_EQ(*find(mac.defaults.values, "HalvornDesktopStartupEnabled"),
              Value(c.enabled));
    EXPECT_EQ(*find(mac.defaults.values, "HalvornDesktopStartupConfigured"),
              Value(true));
  }
}

TEST_F(DesktopStartupTest, FailuresKeepTheKeysAndUseTheirOwnMessage) {
  mac.serviceManagement.status = LoginItemStatus::kNotFound;
  mac.serviceManagement.unregisterFailure = "No such item";
  EXPECT_THAT(
      callMain("configureDesktopStartup", dict({{"enabled", "no"}})),
      IsError("STARTUP_FAILED", "Launch at login could not be changed."));
  EXPECT_TRUE(mac.defaults.values.empty());
}

// A registration that awaits the user's approval counts as registered.
TEST_F(DesktopStartupTest, RequiresApprovalIsReported) {
  mac.serviceManagement.statusAfterRegister =
      LoginItemStatus::kRequiresApproval;
  for (int i = 0; i < 2; ++i) {
    EXPECT_THAT(callMain("configureDesktopStartup", dict({{"enabled", true}})),
                IsValue(Value()));
  }
  EXPECT_EQ(registrations(), 1u);
  EXPECT_THAT(callMain("getDesktopStartup"),
              IsValue(policy(false, true, true)));
}

TEST_F(DesktopStartupTest, BeforeMacOs13TheHelperIsSwitched) {
  mac.system.version = {12, 7, 0};
  EXPECT_THAT(callMain("configureDesktopStartup", dict({{"enabled", true}})),
              IsValue(Value()));
  EXPECT_TRUE(mac.serviceManagement.helperEnabled);
  EXPECT_EQ(
      *find(mac.log.named("sm.setLoginItemEnabled")[0].details, "identifier"),
      Value("com.quillfen.movaro.macos.login-helper"));
  mac.serviceManagement.status = LoginItemStatus::kRequiresApproval;
  EXPECT_THAT(callMain("getDesktopStartup"),
              IsValue(policy(true, false, true)));
  mac.serviceManagement.helperAccepts = false;
  EXPECT_THAT(
      callMain("configureDesktopStartup", dict({{"enabled", false}})),
      IsError("STARTUP_FAILED", "Launch at login could not be changed."));
  EXPECT_THAT(callMain("getDesktopStartup"),
              IsValue(policy(true, false, true)));
}

}  // namespace
}  // namespace movaro::testing
