#include "tunnel/movaro_platform_plugin.h"

#include "bridge/event_channel.h"
#include "bridge/method_channel.h"
#include "mesh/desktop_mesh_plugin.h"
#include "platform/text/unicode_text.h"
#include "tunnel/trusted_wifi.h"

namespace movaro {
void MovaroPlatformPlugin::registerWith(Registrar& registrar,
                                        const platform::Services& services) {
  MethodChannel meshChannel(registrar.messenger(), DesktopMeshPlugin::kChannel);
  registrar.addMethodCallDelegate(DesktopMeshPlugin::create(services),
                                  meshChannel);
  MethodChannel channel(registrar.messenger(), kChannel);
  EventChannel events(registrar.messenger(), kEventChannel);
  auto plugin = create(services);
  registrar.addMethodCallDelegate(plugin, channel);
  events.setStreamHandler(plugin);
}

std::shared_ptr<MovaroPlatformPlugin> MovaroPlatformPlugin::create(
    const platform::Services& services) {
  return std::make_shared<MovaroPlatformPlugin>(Passkey(), services);
}

MovaroPlatformPlugin::MovaroPlatformPlugin(Passkey,
                                           const platform::Services& services)
    : services_(services) {}

void MovaroPlatformPlugin::handle(const MethodCall& call, const Reply& result) {
  const std::string& method = call.method;
  Arguments args(call.arguments);
  if (method == "prepare") {
    prepare(result);
  } else if (method == "pushConfig") {
    pushConfig(args, result);
  } else if (method == "connect") {
    connect(args, result);
  } else if (method == "disconnect") {
    disconnect(result);
  } else if (method == "setProtectionVerified") {
    result->success(true);
  } else if (method == "getPlatformVersion") {
    getPlatformVersion(result);
  } else if (method == "getDesktopStartup" ||
             method == "ensureDesktopStartup") {
    desktopStartup(method == "ensureDesktopStartup", result);
  } else if (method == "configureDesktopStartup") {
    configureDesktopStartup(args, result);
  } else if (method == "openDesktopStartupSettings") {
    openDesktopStartupSettings(result);
  } else if (method == "getAppInfo") {
    getAppInfo(result);
  } else if (method == "generateKeyPair") {
    generateKeyPair(result);
  } else if (method == "listLaunchableApps") {
    result->success(launchableApplications());
  } else if (method == "openVpnSettings") {
    openVpnSettings(result);
  } else if (method == "getAutoConnectPolicy") {
    getAutoConnectPolicy(result);
  } else if (method == "configureAutoConnect") {
    configureAutoConnect(args.boolean("enabled").value_or(false),
                         sanitizedWifiSsids(args.raw("trustedWifiSsids")),
                         result);
  } else if (method == "getCurrentWifiSsid") {
    currentWifiSsid(result);
  } else if (method == "syncSubscriptionReminders") {
    syncSubscriptionReminders(
        args.listOfDictionaries("reminders").value_or(std::vector<ValueMap>()),
        result);
  } else {
    result->notImplemented();
  }
}

std::string MovaroPlatformPlugin::extensionIdentifier() const {
  return services_.mainBundle.bundleIdentifier().value_or(
             kFallbackBundleIdentifier) +
         ".network-extension";
}

}  // namespace movaro
