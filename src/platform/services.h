// Every platform service a plugin may use, handed in at registration.
#ifndef MOVARO_PLATFORM_SERVICES_H_
#define MOVARO_PLATFORM_SERVICES_H_

#include "platform/dispatch.h"
#include "platform/foundation.h"
#include "platform/network_extension.h"
#include "platform/service_management.h"
#include "platform/system_extensions.h"
#include "platform/user_notifications.h"
#include "platform/wifi_location.h"
#include "platform/wireguard.h"

namespace movaro::platform {

struct Services {
  Dispatch& dispatch;
  MainBundle& mainBundle;
  FileManager& fileManager;
  UserDefaults& defaults;
  Workspace& workspace;
  SystemInfo& system;
  NetworkExtension& networkExtension;
  SystemExtensions& systemExtensions;
  ServiceManagement& serviceManagement;
  WifiClient& wifi;
  Location& location;
  NotificationCenter& notifications;
  WireGuardKeys& keys;
};

}  // namespace movaro::platform

#endif  // MOVARO_PLATFORM_SERVICES_H_
