// The mesh plugin's codes, engine facts, profile lookup and "status".
#include "mesh/desktop_mesh_plugin.h"

namespace movaro {
namespace {

constexpr const char* kFallbackBundleIdentifier = "com.quillfen.movaro.macos";

ValueMap emptyStatus(const char* state) {
  return dict({{"state", state},
               {"selfName", ""},
               {"selfAddresses", ValueList{}},
               {"peers", ValueList{}}});
}

}  // namespace

std::string DesktopMeshPlugin::disconnectCode(
    const platform::PlatformError& disconnectError) {
  if (disconnectError.domain != "HalvornMesh") {
    return "connection_failed";
  }
  if (disconnectError.code == 2) {
    return "identity_missing";
  }
  const Value* code = find(disconnectError.userInfo, "errorCode");
  const auto* text = code ? code->getIf<std::string>() : nullptr;
  return text ? safeCode(*text) : "connection_failed";
}

std::string DesktopMeshPlugin::safeCode(const std::string& failureCode) {
  static const std::pair<const char*, const char*> kTable[] = {
      {"MESH_ENGINE_UNAVAILABLE", "runtime_missing"},
      {"runtime_missing", "runtime_missing"},
      {"MESH_PERMISSION_REQUIRED", "permission_denied"},
      {"permission_denied", "permission_denied"},
      {"MESH_INVALID_REQUEST", "invalid_request"},
      {"invalid_request", "invalid_request"},
      {"MESH_IDENTITY_CLEAR_FAILED", "cleanup_failed"},
      {"cleanup_failed", "cleanup_failed"},
      {"identity_missing", "identity_missing"},
      {"session_expired", "session_expired"},
      {"connection_timeout", "connection_timeout"},
      {"MESH_START_FAILED", "connection_failed"},
      {"MESH_CANCELED", "connection_failed"},
      {"MESH_BUSY", "connection_failed"},
      {"connection_failed", "connection_failed"},
  };
  for (const auto& [failure, code] : kTable) {
    if (failureCode == failure) {
      return code;
    }
  }
  return "engine_failed";
}

PluginError DesktopMeshPlugin::error(const std::string& failureCode) {
  return PluginError{safeCode(failureCode), kErrorMessage};
}

std::string DesktopMeshPlugin::providerIdentifier() const {
  return services_.mainBundle.bundleIdentifier().value_or(
             kFallbackBundleIdentifier) +
         ".mesh-extension";
}

bool DesktopMeshPlugin::atLeastMacOs13() const {
  return platform::atLeast(services_.system.operatingSystemVersion(), 13);
}

bool DesktopMeshPlugin::engineAvailable() const {
  if (!atLeastMacOs13()) {
    return false;
  }
  auto bundle = services_.fileManager.openBundle(
      services_.mainBundle.bundlePath() +
      "/Contents/Library/SystemExtensions/" + providerIdentifier() +
      ".systemextension");
  if (!bundle) {
    return false;
  }
  std::optional<Value> flag =
      bundle->objectForInfoDictionaryKey("HalvornEngineAvailable");
  return flag && *flag == Value("1");
}

ValueMap DesktopMeshPlugin::disconnectedStatus() const {
  if (!lastFailureCode) {
    return emptyStatus("disconnected");
  }
  ValueMap status = emptyStatus("error");
  status[Value("errorCode")] = *lastFailureCode;
  return status;
}

void DesktopMeshPlugin::capabilities(const Reply& result) {
  if (!atLeastMacOs13()) {
    result->success(
        dict({{"available", false}, {"reasonCode", "requires_macos_13"}}));
    return;
  }
  bool available = engineAvailable();
  result->success(
      dict({{"available", available},
            {"reasonCode", available ? "ready" : "runtime_missing"}}));
}

int DesktopMeshPlugin::tunnelStatus() const {
  auto connection = manager ? manager->connection() : nullptr;
  return connection ? connection->status() : platform::kVpnStatusInvalid;
}

void DesktopMeshPlugin::stopTunnel() {
  if (auto connection = manager ? manager->connection() : nullptr) {
    connection->stopVPNTunnel();
  }
}

void DesktopMeshPlugin::status(const Reply& result) {
  loadManager([result](DesktopMeshPlugin& self, bool loaded) {
    self.replyStatus(result, loaded);
  });
}

void DesktopMeshPlugin::replyStatus(const Reply& result, bool loaded) {
  if (!loaded) {
    result->error(error("MESH_SETTINGS_FAILED"));
    return;
  }
  if (!manager) {
    result->success(disconnectedStatus());
    return;
  }
  switch (tunnelStatus()) {
    case platform::kVpnStatusConnected:
    case platform::kVpnStatusReasserting:
      sendMessage("status", [result](DesktopMeshPlugin& self,
                                     const std::optional<ValueMap>& reply) {
        // The provider's filtered reply goes on unchanged, even when empty.
        result->success(reply ? *reply : self.disconnectedStatus());
      });
      return;
    case platform::kVpnStatusConnecting: {
      ValueMap connecting = emptyStatus("connecting");
      if (sessionExpiry) {
        connecting[Value("sessionExpiresAt")] = *sessionExpiry;
      }
      result->success(connecting);
      return;
    }
    case platform::kVpnStatusInvalid:
    case platform::kVpnStatusDisconnected:
      if (!explicitlyStopped && atLeastMacOs13() && manager->connection()) {
        lastDisconnectCode([result](DesktopMeshPlugin& self,
                                    const std::optional<std::string>& code) {
          self.lastFailureCode = code;
          result->success(self.disconnectedStatus());
        });
        return;
      }
      [[fallthrough]];
    default:
      result->success(disconnectedStatus());
  }
}

void DesktopMeshPlugin::loadManager(LoadCompletion completion) {
  services_.networkExtension.loadAllFromPreferences(continuation(
      [completion](DesktopMeshPlugin& self,
                   const std::optional<platform::TunnelProfiles>& profiles,
                   const platform::MaybeError& loadError) {
        self.onProfilesLoaded(completion, profiles, loadError);
      }));
}

void DesktopMeshPlugin::onProfilesLoaded(
    const LoadCompletion& completion,
    const std::optional<platform::TunnelProfiles>& profiles,
    const platform::MaybeError& loadError) {
  if (loadError) {
    completion(*this, false);
    return;
  }
  std::shared_ptr<platform::TunnelProfile> match =
      platform::findTunnelProfile(profiles, providerIdentifier());
  manager = match ? match : services_.networkExtension.makeProfile();
  completion(*this, true);
}

void DesktopMeshPlugin::lastDisconnectCode(CodeCompletion completion) {
  auto connection = manager ? manager->connection() : nullptr;
  if (!connection) {
    completion(*this, std::nullopt);
    return;
  }
  connection->fetchLastDisconnectError(
      continuation([completion](DesktopMeshPlugin& self,
                                const platform::MaybeError& disconnectError) {
        completion(self, disconnectError ? std::optional<std::string>(
                                               disconnectCode(*disconnectError))
                                         : std::nullopt);
      }));
}

}  // namespace movaro
