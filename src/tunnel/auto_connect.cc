// Auto-connect (the profile's on-demand connection) and the name of the
// current Wi-Fi network, with the location authorisation it needs.
#include "tunnel/movaro_platform_plugin.h"
#include "tunnel/trusted_wifi.h"

namespace movaro {

void MovaroPlatformPlugin::configureAutoConnect(
    bool enabled,
    const std::vector<std::string>& trustedWifiSsids,
    const Reply& result) {
  // Stored first, whatever happens to the profile.
  services_.defaults.setObject(kTrustedWifiSsidsKey,
                               toValueList(trustedWifiSsids));
  loadManager([enabled, trustedWifiSsids, result](MovaroPlatformPlugin& self,
                                                  bool loaded) {
    if (!loaded || !self.tunnelManager) {
      result->error("LOAD_FAILED", "Unable to load VPN settings");
      return;
    }
    std::shared_ptr<platform::TunnelProfile> profile = self.tunnelManager;
    std::optional<platform::TunnelProtocol> protocol =
        profile->protocolConfiguration();
    if (enabled && !protocol) {
      // No connect has saved a tunnel yet: there is nothing for on-demand
      // to start. The list is stored; the next connect asks for on-demand
      // itself.
      result->error("NO_CONFIG", "No configuration provided");
      return;
    }
    profile->setOnDemandEnabled(enabled);
    profile->setOnDemandRules(enabled ? onDemandRules(trustedWifiSsids)
                                      : std::vector<platform::OnDemandRule>());
    if (protocol && protocol->isTunnelProvider &&
        protocol->providerConfiguration) {
      (*protocol->providerConfiguration)[Value("trustedWifiSsids")] =
          toValueList(trustedWifiSsids);
      profile->setProtocolConfiguration(protocol);
    }
    profile->saveToPreferences([result](const platform::MaybeError& error) {
      if (error) {
        result->error("SAVE_FAILED", error->message);
      } else {
        result->success(true);
      }
    });
  });
}

void MovaroPlatformPlugin::currentWifiSsid(const Reply& result) {
  std::optional<std::string> ssid = services_.wifi.currentSsid();
  if (ssid && !ssid->empty()) {
    result->success(*ssid);
    return;
  }
  std::shared_ptr<platform::LocationManager> manager =
      services_.location.makeLocationManager();
  if (manager->authorizationStatus() != platform::kLocationNotDetermined) {
    // Authorised or not, there is no name to read.
    result->success();
    return;
  }
  if (pendingWifiResult) {
    result->error("LOCATION_AUTH_IN_PROGRESS",
                  "Wi-Fi authorization is already in progress");
    return;
  }
  pendingWifiResult = result;
  locationManager = manager;
  manager->setDelegate(weak_from_this());
  manager->requestWhenInUseAuthorization();
}

void MovaroPlatformPlugin::locationManagerDidChangeAuthorization(
    platform::LocationManager& manager) {
  int status = manager.authorizationStatus();
  if (status == platform::kLocationNotDetermined || !pendingWifiResult) {
    return;
  }
  Reply waiting = std::move(pendingWifiResult);
  pendingWifiResult.reset();
  locationManager.reset();
  if (status != platform::kLocationAuthorizedAlways) {
    waiting->success();
    return;
  }
  // Here an empty name is a name.
  std::optional<std::string> ssid = services_.wifi.currentSsid();
  waiting->success(ssid ? Value(*ssid) : Value());
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

}  // namespace movaro
