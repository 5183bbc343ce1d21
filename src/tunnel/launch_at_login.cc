// The launch-at-login methods and their settings pane.
#include "startup/desktop_startup.h"
#include "tunnel/movaro_platform_plugin.h"

namespace movaro {
namespace {

constexpr const char* kLegacyLoginItemsUrl =
    "x-apple.systempreferences:com.apple.preferences.users";

}  // namespace

void MovaroPlatformPlugin::desktopStartup(bool ensure, const Reply& result) {
  DesktopStartup startup(services_.serviceManagement, services_.defaults,
                         services_.system);
  // At most once per user, and only for a copy installed in /Applications.
  if (ensure &&
      !services_.defaults.boolForKey(DesktopStartup::kConfiguredKey) &&
      services_.mainBundle.bundlePath().rfind("/Applications/", 0) == 0 &&
      startup.configure(true)) {
    result->error("STARTUP_FAILED", "Launch at login could not be configured.");
    return;
  }
  result->success(startup.policy());
}

void MovaroPlatformPlugin::configureDesktopStartup(const Arguments& args,
                                                   const Reply& result) {
  DesktopStartup startup(services_.serviceManagement, services_.defaults,
                         services_.system);
  if (startup.configure(args.boolean("enabled").value_or(false))) {
    result->error("STARTUP_FAILED", "Launch at login could not be changed.");
    return;
  }
  result->success();
}

void MovaroPlatformPlugin::openDesktopStartupSettings(const Reply& result) {
  if (platform::atLeast(services_.system.operatingSystemVersion(), 13)) {
    services_.serviceManagement.openSystemSettingsLoginItems();
  } else {
    services_.workspace.openUrl(kLegacyLoginItemsUrl);
  }
  result->success();
}

}  // namespace movaro
