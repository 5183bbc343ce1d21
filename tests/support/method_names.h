// The methods of both channels, in the order their dispatchers list them,
// written out independently of the plugins so that a dropped method shows.
#ifndef MOVARO_TESTS_SUPPORT_METHOD_NAMES_H_
#define MOVARO_TESTS_SUPPORT_METHOD_NAMES_H_

#include <array>

namespace movaro::testing {

inline constexpr std::array<const char*, 18> kMainMethods = {
    "prepare",
    "pushConfig",
    "connect",
    "disconnect",
    "setProtectionVerified",
    "getPlatformVersion",
    "getDesktopStartup",
    "ensureDesktopStartup",
    "configureDesktopStartup",
    "openDesktopStartupSettings",
    "getAppInfo",
    "generateKeyPair",
    "listLaunchableApps",
    "openVpnSettings",
    "getAutoConnectPolicy",
    "configureAutoConnect",
    "getCurrentWifiSsid",
    "syncSubscriptionReminders",
};

inline constexpr std::array<const char*, 6> kMeshMethods = {
    "capabilities", "prepareVpn", "login", "down", "logout", "status"};

}  // namespace movaro::testing

#endif  // MOVARO_TESTS_SUPPORT_METHOD_NAMES_H_
