// Launch at login through the main channel.
#include "support/tunnel_fixture.h"

namespace movaro::testing {
namespace {

using platform::LoginItemStatus;
using ::testing::ElementsAre;

Value policy(bool enabled, bool requiresApproval, bool configured) {
  return dict({{"enabled", enabled},
               {"requiresApproval", requiresApproval},
               {"configured", configured}});
}

using DesktopStartupTest = TunnelTest;

TEST_F(DesktopStartupTest, EnsureRegistersOnceAndOnlyFromApplications) {
  EXPECT_THAT(callMain("getDesktopStartup"),
              IsValue(policy(false, false, false)));
  EXPECT_TRUE(mac.log.calls().empty());
  // From macOS 13 the settings pane is the system's login items.
  EXPECT_THAT(callMain("openDesktopStartupSettings"), IsValue(Value()));
  EXPECT_THAT(mac.log.names(), ElementsAre("sm.openSystemSettingsLoginItems"));
  EXPECT_TRUE(mac.workspace.opened.empty());
  mac.mainBundle.path = "/Applicationsfoo/Movaro.app";
  EXPECT_THAT(callMain("ensureDesktopStartup"),
              IsValue(policy(false, false, false)));
  EXPECT_EQ(mac.log.named("sm.register").size(), 0u);

  mac.mainBundle.path = "/Applications/Movaro.app";
  EXPECT_THAT(callMain("ensureDesktopStartup"),
              IsValue(policy(true, false, true)));
  EXPECT_EQ(mac.log.named("sm.register").size(), 1u);
  // The user turns it off; ensure never turns it back on.
  EXPECT_THAT(callMain("configureDesktopStartup", dict({{"enabled", false}})),
              IsValue(Value()));
  EXPECT_THAT(callMain("ensureDesktopStartup"),
              IsValue(policy(false, false, true)));
  EXPECT_EQ(mac.log.named("sm.register").size(), 1u);
}

TEST_F(DesktopStartupTest, FailuresLeaveItUnconfiguredWithTheirOwnMessage) {
  mac.serviceManagement.status = LoginItemStatus::kNotFound;
  mac.serviceManagement.unregisterFailure = "No such item";
  EXPECT_THAT(
      callMain("configureDesktopStartup", dict({{"enabled", "no"}})),
      IsError("STARTUP_FAILED", "Launch at login could not be changed."));
  mac.mainBundle.path = "/Applications/Movaro.app";
  mac.serviceManagement.status = LoginItemStatus::kNotRegistered;
  mac.serviceManagement.registerFailure = "Operation not permitted";
  EXPECT_THAT(
      callMain("ensureDesktopStartup"),
      IsError("STARTUP_FAILED", "Launch at login could not be configured."));
  EXPECT_TRUE(mac.defaults.values.empty());
  mac.serviceManagement.registerFailure.reset();
  mac.serviceManagement.statusAfterRegister =
      LoginItemStatus::kRequiresApproval;
  EXPECT_THAT(callMain("ensureDesktopStartup"),
              IsValue(policy(false, true, true)));
}

TEST_F(DesktopStartupTest, ConfigureFollowsTheLoginItemsState) {
  // The login item's status, the choice, and the registrations and
  // unregistrations asked for.
  const std::tuple<LoginItemStatus, bool, size_t, size_t> kRows[] = {
      {LoginItemStatus::kEnabled, true, 0, 0},
      {LoginItemStatus::kRequiresApproval, true, 0, 0},
      {LoginItemStatus::kNotRegistered, true, 1, 0},
      {LoginItemStatus::kNotFound, true, 1, 0},
      {LoginItemStatus::kNotRegistered, false, 0, 0},
      {LoginItemStatus::kEnabled, false, 0, 1},
      {LoginItemStatus::kRequiresApproval, false, 0, 1},
      {LoginItemStatus::kNotFound, false, 0, 1},
  };
  for (const auto& [status, enabled, registers, unregisters] : kRows) {
    SCOPED_TRACE(static_cast<int>(status) * 10 + enabled);
    mac.log.clear();
    mac.serviceManagement.status = status;
    EXPECT_THAT(
        callMain("configureDesktopStartup", dict({{"enabled", enabled}})),
        IsValue(Value()));
    EXPECT_EQ(mac.log.named("sm.register").size(), registers);
    EXPECT_EQ(mac.log.named("sm.unregister").size(), unregisters);
    EXPECT_EQ(*find(mac.defaults.values, "HalvornDesktopStartupEnabled"),
              Value(enabled));
    EXPECT_EQ(*find(mac.defaults.values, "HalvornDesktopStartupConfigured"),
              Value(true));
  }
}

TEST_F(DesktopStartupTest, BeforeMacOs13TheHelperIsSwitched) {
  mac.system.version = {12, 7, 0};
  EXPECT_THAT(callMain("openDesktopStartupSettings"), IsValue(Value()));
  EXPECT_THAT(mac.workspace.opened,
              ElementsAre("x-apple.systempreferences:com.apple.preferences."
                          "users"));
  EXPECT_THAT(mac.log.names(), ElementsAre("workspace.open"));
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
