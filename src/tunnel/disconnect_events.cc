// Disconnect, and the event stream's listen and cancel.
#include "tunnel/movaro_platform_plugin.h"

namespace movaro {

void MovaroPlatformPlugin::disconnectTunnel(const Reply& result) {
  loadManager([result](MovaroPlatformPlugin& self, bool loaded) {
    if (!loaded || !self.tunnelManager) {
      result->success(false);
      return;
    }
    std::shared_ptr<platform::TunnelProfile> profile = self.tunnelManager;
    if (!profile->protocolConfiguration()) {
      // Nothing was ever saved for it: nothing to save or stop.
      result->success(true);
      return;
    }
    profile->setOnDemandEnabled(false);
    profile->setOnDemandRules({});
    profile->saveToPreferences(
        [profile, result](const platform::MaybeError& error) {
          // The tunnel is stopped whatever the save said.
          if (auto connection = profile->connection()) {
            connection->stopVPNTunnel();
          }
          if (error) {
            result->error("DISCONNECT_FAILED", error->message);
          } else {
            result->success(true);
          }
        });
  });
}

std::optional<PluginError> MovaroPlatformPlugin::onListen(
    const Value& /*arguments*/,
    const std::shared_ptr<EventSink>& sink) {
  eventSink = sink;
  loadManager([sink](MovaroPlatformPlugin& self, bool loaded) {
    self.onListenLoaded(sink, loaded);
  });
  return std::nullopt;
}

void MovaroPlatformPlugin::onListenLoaded(
    const std::shared_ptr<EventSink>& sink,
    bool loaded) {
  auto connection = tunnelManager ? tunnelManager->connection() : nullptr;
  if (loaded && connection) {
    pushStatus(connection->status());
    return;
  }
  sink->success(dict(
      {{"state", "error"}, {"message", "Unable to load VPN configuration"}}));
}

std::optional<PluginError> MovaroPlatformPlugin::onCancel(
    const Value& /*arguments*/) {
  eventSink.reset();
  statusObserver.reset();
  return std::nullopt;
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

}  // namespace movaro
