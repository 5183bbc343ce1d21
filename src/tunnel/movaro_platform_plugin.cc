#include "tunnel/movaro_platform_plugin.h"

#include "bridge/event_channel.h"
#include "bridge/method_channel.h"
#include "mesh/desktop_mesh_plugin.h"
#include "platform/text/unicode_text.h"
#include "tunnel/trusted_wifi.h"

namespace movaro {
namespace {

const PluginError kNoConfig{"NO_CONFIG", "No configuration provided"};

}  // namespace

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

void MovaroPlatformPlugin::pushConfig(const Arguments& args,
                                      const Reply& result) {
  std::optional<std::string> config = args.string("config");
  if (!config || platform::trimWhitespaceAndNewlines(*config).empty()) {
    result->error(kNoConfig);
    return;
  }
  // Stored as received: the text is trimmed only to judge it blank.
  cachedConfig = *config;
  result->success(true);
}

void MovaroPlatformPlugin::connect(const Arguments& args, const Reply& result) {
  std::optional<std::string> config;
  if (!args.empty()) {
    config = args.string("config");
  }
  if (!config) {
    config = cachedConfig;
  }
  if (!config) {
    result->error(kNoConfig);
    return;
  }
  // Not trimmed here: blank text is the parser's to judge.
  cachedConfig = config;
  std::string verificationUrl = args.string("verificationUrl").value_or("");
  bool splitTunnelEnabled = args.boolean("splitTunnelEnabled").value_or(false);
  Value arguments = args.map();
  // Called by this plugin itself, at once or from an extension callback.
  activateTunnelExtension(
      result,
      platform::onMain(
          platform::kDeliveredOnMain, weak_from_this(),
          [configText = *config, arguments, verificationUrl, splitTunnelEnabled,
           result](MovaroPlatformPlugin& self,
                   const std::optional<PluginError>& error) {
            if (error) {
              result->error(*error);
              return;
            }
            self.continueConnect(configText, arguments, verificationUrl,
                                 splitTunnelEnabled, result);
          }));
}

void MovaroPlatformPlugin::disconnect(const Reply& result) {
  // A connect still waiting for the extension is abandoned first; the
  // activation request itself stays submitted.
  ExtensionCompletion waiting = std::move(pendingExtensionCompletion);
  pendingExtensionCompletion = nullptr;
  if (waiting) {
    waiting(PluginError{"CONNECT_CANCELED", "The connection was canceled."});
  }
  disconnectTunnel(result);
}

void MovaroPlatformPlugin::prepare(const Reply& result) {
  loadManager([result](MovaroPlatformPlugin& /*self*/, bool loaded) {
    result->success(loaded);
  });
}

void MovaroPlatformPlugin::getAutoConnectPolicy(const Reply& result) {
  loadManager([result](MovaroPlatformPlugin& self, bool loaded) {
    if (!loaded || !self.tunnelManager) {
      result->error("LOAD_FAILED", "Unable to load VPN settings");
      return;
    }
    result->success(
        dict({{"enabled", self.tunnelManager->isOnDemandEnabled()},
              {"trustedWifiSsids", toValueList(self.storedTrustedWifiSsids())},
              {"hasCachedConfig",
               self.tunnelManager->protocolConfiguration().has_value()}}));
  });
}

std::string MovaroPlatformPlugin::extensionIdentifier() const {
  return services_.mainBundle.bundleIdentifier().value_or(
             kFallbackBundleIdentifier) +
         ".network-extension";
}

}  // namespace movaro
