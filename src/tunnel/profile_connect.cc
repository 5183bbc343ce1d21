// The tunnel profile: its load, and the connect that fills, saves, reloads
// and starts it.
#include "platform/main_queue.h"
#include "platform/text/unicode_text.h"
#include "platform/wireguard/wg_quick.h"
#include "tunnel/endpoint.h"
#include "tunnel/movaro_platform_plugin.h"
#include "tunnel/trusted_wifi.h"

namespace movaro {
namespace {

constexpr const char* kProfileName = "Halvorn VPN";
const PluginError kNoConfig{"NO_CONFIG", "No configuration provided"};

}  // namespace

// The chain goes on inside the completion as the platform delivers it, on
// the main queue.
void MovaroPlatformPlugin::loadManager(LoadCompletion completion) {
  services_.networkExtension.loadAllFromPreferences(platform::onMain(
      platform::kDeliveredOnMain, weak_from_this(),
      [completion](MovaroPlatformPlugin& self,
                   const std::optional<platform::TunnelProfiles>& profiles,
                   const platform::MaybeError& error) {
        self.onProfilesLoaded(completion, profiles, error);
      }));
}

void MovaroPlatformPlugin::onProfilesLoaded(
    const LoadCompletion& completion,
    const std::optional<platform::TunnelProfiles>& profiles,
    const platform::MaybeError& error) {
  if (error) {
    // The earlier profile and observer stay as they were.
    completion(*this, false);
    return;
  }
  std::shared_ptr<platform::TunnelProfile> match =
      platform::findTunnelProfile(profiles, extensionIdentifier());
  hasSavedConfiguration = match != nullptr;
  tunnelManager = match ? match : services_.networkExtension.makeProfile();
  observeStatus(tunnelManager);
  completion(*this, true);
}

void MovaroPlatformPlugin::continueConnect(const std::string& configText,
                                           const Value& arguments,
                                           const std::string& verificationUrl,
                                           bool splitTunnelEnabled,
                                           const Reply& result) {
  Arguments args(arguments);
  bool enableOnDemand = args.boolean("enableOnDemand").value_or(false);
  std::optional<int64_t> sessionEnd =
      args.integer("sessionEndsAtEpochMilliseconds");
  bool protectAllNetworks = !verificationUrl.empty() && !splitTunnelEnabled;
  connectTunnel(configText, enableOnDemand, protectAllNetworks, sessionEnd,
                result);
}

void MovaroPlatformPlugin::connectTunnel(
    const std::string& configText,
    bool enableOnDemand,
    bool protectAllNetworks,
    std::optional<int64_t> sessionEndsAtEpochMilliseconds,
    const Reply& result) {
  loadManager([configText, enableOnDemand, protectAllNetworks,
               sessionEndsAtEpochMilliseconds,
               result](MovaroPlatformPlugin& self, bool loaded) {
    self.writeProfileAndStart(configText, enableOnDemand, protectAllNetworks,
                              sessionEndsAtEpochMilliseconds, result, loaded);
  });
}

void MovaroPlatformPlugin::writeProfileAndStart(
    const std::string& configText,
    bool enableOnDemand,
    bool protectAllNetworks,
    std::optional<int64_t> sessionEnd,
    const Reply& result,
    bool loaded) {
  if (!loaded || !tunnelManager) {
    result->error("LOAD_FAILED", "Failed to load VPN manager");
    return;
  }
  // The endpoint check comes before the full parse, so a text without an
  // endpoint line always gets this message.
  std::optional<std::string> endpoint = extractEndpoint(configText);
  if (!endpoint) {
    result->error("INVALID_CONFIG", "WireGuard endpoint is missing");
    return;
  }
  if (auto invalid =
          platform::validateWgQuickConfig(configText, kProfileName)) {
    result->error("INVALID_CONFIG", invalid->message);
    return;
  }

  const std::vector<std::string> trusted = storedTrustedWifiSsids();
  ValueMap providerConfiguration =
      dict({{"wgQuickConfig", configText},
            {"trustedWifiSsids", toValueList(trusted)}});
  if (sessionEnd) {
    providerConfiguration[Value("sessionEndsAtEpochMilliseconds")] =
        *sessionEnd;
  }
  platform::TunnelProtocol protocol;
  protocol.providerBundleIdentifier = extensionIdentifier();
  protocol.serverAddress = *endpoint;
  protocol.includeAllNetworks = protectAllNetworks;
  protocol.providerConfiguration = std::move(providerConfiguration);

  std::shared_ptr<platform::TunnelProfile> profile = tunnelManager;
  profile->setProtocolConfiguration(protocol);
  profile->setLocalizedDescription(kProfileName);
  profile->setEnabled(true);
  profile->setOnDemandEnabled(enableOnDemand);
  profile->setOnDemandRules(enableOnDemand
                                ? onDemandRules(trusted)
                                : std::vector<platform::OnDemandRule>());

  saveAndStart(profile, result);
}

// From here the chain holds the plugin and the profile strongly, so the call
// is answered as soon as the system reports back.
void MovaroPlatformPlugin::saveAndStart(
    const std::shared_ptr<platform::TunnelProfile>& profile,
    const Reply& result) {
  auto self = shared_from_this();
  profile->saveToPreferences(
      [self, profile, result](const platform::MaybeError& saveError) {
        if (saveError) {
          result->error("SAVE_FAILED", saveError->message);
          return;
        }
        self->hasSavedConfiguration = true;
        profile->loadFromPreferences(
            [self, profile, result](const platform::MaybeError& reloadError) {
              if (reloadError) {
                result->error("RELOAD_FAILED", reloadError->message);
                return;
              }
              auto connection = profile->connection();
              platform::MaybeError startError =
                  connection ? connection->startVPNTunnel(std::nullopt)
                             : platform::MaybeError(platform::PlatformError{
                                   "NEVPNErrorDomain",
                                   1,
                                   "The VPN connection is unavailable.",
                                   {}});
              if (startError) {
                result->error("START_FAILED", startError->message);
              } else {
                result->success(true);
              }
            });
      });
}

void MovaroPlatformPlugin::prepare(const Reply& result) {
  loadManager([result](MovaroPlatformPlugin& /*self*/, bool loaded) {
    result->success(loaded);
  });
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

}  // namespace movaro
