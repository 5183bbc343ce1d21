// The macOS implementations of the seam, one factory per framework family,
// and the hop to the main queue that they share. AppleServices owns what the
// factories make. Plain C++: no Objective-C type appears here.
#ifndef MOVARO_PLATFORM_APPLE_ADAPTERS_APPLE_H_
#define MOVARO_PLATFORM_APPLE_ADAPTERS_APPLE_H_

#include <functional>
#include <memory>

#include "platform/dispatch.h"
#include "platform/foundation.h"
#include "platform/network_extension.h"
#include "platform/service_management.h"
#include "platform/system_extensions.h"
#include "platform/user_notifications.h"
#include "platform/wifi_location.h"
#include "platform/wireguard.h"

namespace movaro::platform::apple {

// Runs the task later on the main queue. May be called from any thread.
void deliverOnMain(std::function<void()> task);

// dispatch_apple.mm
std::unique_ptr<Dispatch> makeDispatch();

// foundation_apple.mm
struct FoundationAdapters {
  std::unique_ptr<MainBundle> mainBundle;
  std::unique_ptr<FileManager> fileManager;
  std::unique_ptr<UserDefaults> defaults;
  std::unique_ptr<Workspace> workspace;
  std::unique_ptr<SystemInfo> system;
};
FoundationAdapters makeFoundation();

// network_extension_apple.mm
std::unique_ptr<NetworkExtension> makeNetworkExtension();
// system_extensions_apple.mm
std::unique_ptr<SystemExtensions> makeSystemExtensions();
// service_management_apple.mm
std::unique_ptr<ServiceManagement> makeServiceManagement();
// wifi_location_apple.mm
std::unique_ptr<WifiClient> makeWifiClient();
std::unique_ptr<Location> makeLocation();
// user_notifications_apple.mm
std::unique_ptr<NotificationCenter> makeNotificationCenter();
// keys_apple.mm
std::unique_ptr<WireGuardKeys> makeWireGuardKeys();

}  // namespace movaro::platform::apple

#endif  // MOVARO_PLATFORM_APPLE_ADAPTERS_APPLE_H_
