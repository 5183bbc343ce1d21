// "login": every value checked, the mesh profile written and saved, the
// tunnel started with the account values and watched until it connects,
// fails, is superseded or times out.
#include "mesh/account_rules.h"
#include "mesh/desktop_mesh_plugin.h"
#include "platform/text/control_url.h"
#include "platform/text/iso8601.h"

namespace movaro {
namespace {

constexpr const char* kProfileName = "Halvorn Private Network";
constexpr size_t kMaxAuthKeyBytes = 4096;
const platform::Duration kPollInterval = std::chrono::milliseconds(100);
const platform::Duration kStartDeadline = std::chrono::seconds(40);
const platform::Duration kStartGrace = std::chrono::seconds(1);

// The start options when every rule holds; absent at the first that fails.
std::optional<ValueMap> acceptedOptions(const Arguments& args,
                                        platform::WallTime now) {
  bool resume = args.boolean("resume").value_or(false);
  std::string authKey = args.string("authKey").value_or("");
  auto accountNamespace = args.string("accountNamespace");
  if (!accountNamespace || !isAccountNamespace(*accountNamespace)) {
    return std::nullopt;
  }
  auto controlUrl = args.string("controlUrl");
  if (!controlUrl || !platform::isValidControlUrl(*controlUrl)) {
    return std::nullopt;
  }
  if ((!resume && authKey.empty()) || authKey.size() > kMaxAuthKeyBytes) {
    return std::nullopt;
  }
  auto hostname = args.string("hostname");
  if (!hostname || !isHostname(*hostname)) {
    return std::nullopt;
  }
  auto expiresAt = args.string("sessionExpiresAt");
  if (!expiresAt) {
    return std::nullopt;
  }
  auto instant = platform::parseInternetDateTime(*expiresAt, false);
  if (!instant) {
    instant = platform::parseInternetDateTime(*expiresAt, true);
  }
  if (!instant || *instant <= now) {
    return std::nullopt;
  }
  return dict({{"controlUrl", *controlUrl},
               {"authKey", authKey},
               {"hostname", *hostname},
               {"accountNamespace", *accountNamespace},
               {"sessionExpiresAt", *expiresAt},
               {"resume", resume}});
}

}  // namespace

void DesktopMeshPlugin::login(const Arguments& args, const Reply& result) {
  if (!engineAvailable()) {
    result->error(error("MESH_ENGINE_UNAVAILABLE"));
    return;
  }
  if (operationInProgress) {
    result->error(error("MESH_BUSY"));
    return;
  }
  std::optional<ValueMap> options =
      acceptedOptions(args, services_.dispatch.now());
  if (!options) {
    result->error(error("MESH_INVALID_REQUEST"));
    return;
  }
  operationInProgress = true;
  explicitlyStopped = false;
  lastFailureCode.reset();
  sessionExpiry = *find(*options, "sessionExpiresAt")->getIf<std::string>();
  int64_t number = ++generation;
  loadManager([options = *options, number, result](DesktopMeshPlugin& self,
                                                   bool loaded) {
    self.configureAndSave(options, number, result, loaded);
  });
}

void DesktopMeshPlugin::endLogin(const Reply& result,
                                 const std::optional<std::string>& code) {
  operationInProgress = false;
  if (code) {
    result->error(error(*code));
  } else {
    result->success(true);
  }
}

void DesktopMeshPlugin::configureAndSave(const ValueMap& options,
                                         int64_t number,
                                         const Reply& result,
                                         bool loaded) {
  if (!loaded || !manager) {
    endLogin(result, "MESH_SETTINGS_FAILED");
    return;
  }
  if (generation != number) {
    endLogin(result, "MESH_CANCELED");
    return;
  }
  int status = tunnelStatus();
  if (status != platform::kVpnStatusDisconnected &&
      status != platform::kVpnStatusInvalid) {
    // A tunnel on its way up, up, or going down is never restarted here.
    endLogin(result, "MESH_BUSY");
    return;
  }
  platform::TunnelProtocol protocol;
  protocol.providerBundleIdentifier = providerIdentifier();
  protocol.serverAddress = kProfileName;
  protocol.includeAllNetworks = false;
  // The saved profile keeps nothing of the account but its namespace.
  protocol.providerConfiguration =
      dict({{"accountNamespace", *find(options, "accountNamespace")}});
  std::shared_ptr<platform::TunnelProfile> profile = manager;
  profile->setProtocolConfiguration(protocol);
  profile->setLocalizedDescription(kProfileName);
  profile->setEnabled(true);
  profile->setOnDemandEnabled(false);
  profile->setOnDemandRules({});

  profile->saveToPreferences(continuation(
      [profile, options, number, result](
          DesktopMeshPlugin& self, const platform::MaybeError& saveError) {
        self.reloadSaved(profile, options, number, result, saveError);
      }));
}

void DesktopMeshPlugin::reloadSaved(
    const std::shared_ptr<platform::TunnelProfile>& profile,
    const ValueMap& options,
    int64_t number,
    const Reply& result,
    const platform::MaybeError& saveError) {
  if (saveError) {
    endLogin(result, "MESH_PERMISSION_REQUIRED");
    return;
  }
  profile->loadFromPreferences(continuation(
      [profile, options, number, result](
          DesktopMeshPlugin& self, const platform::MaybeError& reloadError) {
        self.startReloaded(profile, options, number, result, reloadError);
      }));
}

void DesktopMeshPlugin::startReloaded(
    const std::shared_ptr<platform::TunnelProfile>& profile,
    const ValueMap& options,
    int64_t number,
    const Reply& result,
    const platform::MaybeError& reloadError) {
  if (generation != number) {
    endLogin(result, "MESH_CANCELED");
  } else if (reloadError) {
    endLogin(result, "MESH_SETTINGS_FAILED");
  } else {
    startTunnel(profile, options, number, result);
  }
}

void DesktopMeshPlugin::startTunnel(
    const std::shared_ptr<platform::TunnelProfile>& profile,
    const ValueMap& options,
    int64_t number,
    const Reply& result) {
  auto connection = profile->connection();
  if (!connection || connection->startVPNTunnel(options)) {
    endLogin(result, "MESH_START_FAILED");
    return;
  }
  platform::WallTime now = services_.dispatch.now();
  awaitStarted(number, now, now + kStartDeadline, result);
}

void DesktopMeshPlugin::awaitStarted(int64_t number,
                                     Deadline requestedAt,
                                     Deadline deadline,
                                     const Reply& result) {
  if (generation != number) {
    stopTunnel();
    endLogin(result, "MESH_CANCELED");
    return;
  }
  platform::WallTime now = services_.dispatch.now();
  if (now >= deadline) {
    stopTunnel();
    lastFailureCode = "connection_timeout";
    endLogin(result, "connection_timeout");
    return;
  }
  int status = tunnelStatus();
  if (manager && status == platform::kVpnStatusConnected) {
    endLogin(result, std::nullopt);
    return;
  }
  if (now - requestedAt > kStartGrace && manager &&
      (status == platform::kVpnStatusDisconnected ||
       status == platform::kVpnStatusInvalid)) {
    // The start has failed; the platform may say why.
    auto finish = [result](DesktopMeshPlugin& self,
                           const std::optional<std::string>& code) {
      std::string failure = code.value_or("connection_failed");
      self.lastFailureCode = failure;
      self.endLogin(result, failure);
    };
    if (atLeastMacOs13() && manager->connection()) {
      lastDisconnectCode(finish);
    } else {
      finish(*this, lastFailureCode);
    }
    return;
  }
  schedule(kPollInterval,
           [number, requestedAt, deadline, result](DesktopMeshPlugin& self) {
             self.awaitStarted(number, requestedAt, deadline, result);
           });
}

}  // namespace movaro
