// Tunnel status events: one observer of the status-change notification,
// and the mapping of a status to a "state"/"message" event.
#include "tunnel/movaro_platform_plugin.h"

namespace movaro {

void MovaroPlatformPlugin::observeStatus(
    const std::shared_ptr<platform::TunnelProfile>& profile) {
  statusObserver.reset();
  std::shared_ptr<platform::TunnelConnection> connection =
      profile->connection();
  if (!connection) {
    return;
  }
  // The observer keeps reporting the profile it was made for, even after
  // tunnelManager has been replaced.
  statusObserver = services_.networkExtension.addStatusObserver(
      connection, platform::onMain(platform::kDeliveredOnMain, weak_from_this(),
                                   [profile](MovaroPlatformPlugin& self) {
                                     if (auto current = profile->connection()) {
                                       self.pushStatus(current->status());
                                     }
                                   }));
}

void MovaroPlatformPlugin::pushStatus(int status) {
  const char* state = "error";
  const char* message = "The VPN status is unavailable";
  switch (status) {
    case platform::kVpnStatusInvalid:
      if (hasSavedConfiguration) {
        message = "The VPN configuration is unavailable";
      } else {
        state = "disconnected";
        message = "Disconnected";
      }
      break;
    case platform::kVpnStatusDisconnected:
      state = "disconnected";
      message = "Disconnected";
      break;
    case platform::kVpnStatusConnecting:
      state = "connecting";
      message = "Connecting";
      break;
    case platform::kVpnStatusConnected:
      state = "connected";
      message = "Connected";
      break;
    case platform::kVpnStatusReasserting:
      state = "reconnecting";
      message = "Reconnecting";
      break;
    case platform::kVpnStatusDisconnecting:
      state = "disconnecting";
      message = "Disconnecting";
      break;
    default:
      break;
  }
  if (!eventSink) {
    return;
  }
  eventSink->success(dict({{"state", state}, {"message", message}}));
}

}  // namespace movaro
