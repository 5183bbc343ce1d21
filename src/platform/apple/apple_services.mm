#include "platform/apple/apple_services.h"

#include "platform/apple/adapters_apple.h"

namespace movaro::platform::apple {

struct AppleServices::Adapters {
  std::unique_ptr<Dispatch> dispatch = makeDispatch();
  FoundationAdapters foundation = makeFoundation();
  std::unique_ptr<NetworkExtension> networkExtension = makeNetworkExtension();
  std::unique_ptr<SystemExtensions> systemExtensions = makeSystemExtensions();
  std::unique_ptr<ServiceManagement> serviceManagement =
      makeServiceManagement();
  std::unique_ptr<WifiClient> wifi = makeWifiClient();
  std::unique_ptr<Location> location = makeLocation();
  std::unique_ptr<NotificationCenter> notifications = makeNotificationCenter();
  std::unique_ptr<WireGuardKeys> keys = makeWireGuardKeys();

  Services services() {
    return Services{*dispatch,
                    *foundation.mainBundle,
                    *foundation.fileManager,
                    *foundation.defaults,
                    *foundation.workspace,
                    *foundation.system,
                    *networkExtension,
                    *systemExtensions,
                    *serviceManagement,
                    *wifi,
                    *location,
                    *notifications,
                    *keys};
  }
};

AppleServices::AppleServices()
    : adapters_(std::make_unique<Adapters>()),
      services_(adapters_->services()) {}

AppleServices::~AppleServices() = default;

}  // namespace movaro::platform::apple
