// Identity clean-up at logout: the provider erases the device identity, by
// the "logout" message or by a clean-up-only start of the tunnel.
#include "mesh/account_rules.h"
#include "mesh/desktop_mesh_plugin.h"

namespace movaro {
namespace {

const platform::Duration kPollInterval = std::chrono::milliseconds(100);
const platform::Duration kCleanupDeadline = std::chrono::seconds(15);

bool confirmsCleared(const std::optional<ValueMap>& reply) {
  const Value* cleared = reply ? find(*reply, "identityCleared") : nullptr;
  return cleared && *cleared == Value(true);
}

// The account namespace kept in the profile, when it is a valid one.
std::optional<std::string> accountNamespaceOf(
    const platform::TunnelProfile& profile) {
  auto protocol = profile.protocolConfiguration();
  if (!protocol || !protocol->isTunnelProvider ||
      !protocol->providerConfiguration ||
      protocol->providerConfiguration->empty()) {
    return std::nullopt;
  }
  const Value* value =
      find(*protocol->providerConfiguration, "accountNamespace");
  const auto* text = value ? value->getIf<std::string>() : nullptr;
  if (!text || !isAccountNamespace(*text)) {
    return std::nullopt;
  }
  return *text;
}

}  // namespace

void DesktopMeshPlugin::endCleanup(const Reply& result, bool cleared) {
  operationInProgress = false;
  if (cleared) {
    result->success(true);
  } else {
    result->error(error("MESH_IDENTITY_CLEAR_FAILED"));
  }
}

void DesktopMeshPlugin::clearIdentity(const Reply& result) {
  operationInProgress = true;
  loadManager([result](DesktopMeshPlugin& self, bool loaded) {
    self.clearLoadedIdentity(result, loaded);
  });
}

void DesktopMeshPlugin::clearLoadedIdentity(const Reply& result, bool loaded) {
  if (!loaded || !manager) {
    operationInProgress = false;
    result->error(error("MESH_SETTINGS_FAILED"));
    return;
  }
  std::optional<std::string> accountNamespace = accountNamespaceOf(*manager);
  if (!accountNamespace) {
    // Nothing to clear, and no tunnel is touched.
    endCleanup(result, true);
    return;
  }
  int status = tunnelStatus();
  if (status == platform::kVpnStatusConnected ||
      status == platform::kVpnStatusReasserting) {
    sendMessage("logout", [accountNamespace = *accountNamespace, result](
                              DesktopMeshPlugin& self,
                              const std::optional<ValueMap>& reply) {
      self.afterLogoutMessage(accountNamespace, result, reply);
    });
    return;
  }
  stopTunnel();
  startCleanup(*accountNamespace, services_.dispatch.now() + kCleanupDeadline,
               result);
}

void DesktopMeshPlugin::afterLogoutMessage(
    const std::string& accountNamespace,
    const Reply& result,
    const std::optional<ValueMap>& reply) {
  stopTunnel();
  if (confirmsCleared(reply)) {
    endCleanup(result, true);
    return;
  }
  startCleanup(accountNamespace, services_.dispatch.now() + kCleanupDeadline,
               result);
}

void DesktopMeshPlugin::startCleanup(const std::string& accountNamespace,
                                     Deadline deadline,
                                     const Reply& result) {
  if (!manager) {
    endCleanup(result, false);
    return;
  }
  if (services_.dispatch.now() >= deadline) {
    stopTunnel();
    endCleanup(result, false);
    return;
  }
  int status = tunnelStatus();
  if (status == platform::kVpnStatusDisconnected ||
      status == platform::kVpnStatusInvalid) {
    auto connection = manager->connection();
    ValueMap options =
        dict({{"cleanupOnly", true}, {"accountNamespace", accountNamespace}});
    if (!connection || connection->startVPNTunnel(options)) {
      endCleanup(result, false);
      return;
    }
    // Started at most once: from here only the confirmation is awaited.
    awaitCleanup(deadline, result);
    return;
  }
  schedule(kPollInterval,
           [accountNamespace, deadline, result](DesktopMeshPlugin& self) {
             self.startCleanup(accountNamespace, deadline, result);
           });
}

void DesktopMeshPlugin::awaitCleanup(Deadline deadline, const Reply& result) {
  if (services_.dispatch.now() >= deadline) {
    stopTunnel();
    endCleanup(result, false);
    return;
  }
  if (manager && tunnelStatus() == platform::kVpnStatusConnected) {
    sendMessage("status",
                [deadline, result](DesktopMeshPlugin& self,
                                   const std::optional<ValueMap>& reply) {
                  self.afterCleanupStatus(deadline, result, reply);
                });
    return;
  }
  schedule(kPollInterval, [deadline, result](DesktopMeshPlugin& self) {
    self.awaitCleanup(deadline, result);
  });
}

void DesktopMeshPlugin::afterCleanupStatus(
    Deadline deadline,
    const Reply& result,
    const std::optional<ValueMap>& reply) {
  // A confirmation ends in success even after the deadline.
  if (confirmsCleared(reply)) {
    stopTunnel();
    endCleanup(result, true);
    return;
  }
  schedule(kPollInterval, [deadline, result](DesktopMeshPlugin& self) {
    self.awaitCleanup(deadline, result);
  });
}

}  // namespace movaro
