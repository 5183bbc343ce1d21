// The macOS implementations of the seam, one factory per framework family,
// and what they share: the hop to the main queue and the guard at every
// entry from Objective-C into C++. AppleServices owns what the factories
// make. Plain C++: no Objective-C type appears here.
#ifndef MOVARO_PLATFORM_APPLE_ADAPTERS_APPLE_H_
#define MOVARO_PLATFORM_APPLE_ADAPTERS_APPLE_H_

#include <functional>
#include <memory>
#include <type_traits>
#include <utility>

#include "platform/dispatch.h"
#include "platform/foundation.h"
#include "platform/network_extension.h"
#include "platform/service_management.h"
#include "platform/system_extensions.h"
#include "platform/user_notifications.h"
#include "platform/wifi_location.h"
#include "platform/wireguard.h"

namespace movaro::platform::apple {

// Runs `body` so that no exception leaves it, C++ or Objective-C: every
// block and delegate method that enters C++ from a framework goes through
// here, so nothing unwinds into the framework. What a caught call owed is
// left undone; a method call still gets its one reply from the shell's own
// guard.
template <typename Body>
void guarded(Body&& body) noexcept {
  try {
    std::forward<Body>(body)();
  } catch (...) {
  }
}

// The same for a callback that returns a value: `fallback` when it throws.
template <typename T, typename Body>
T guarded(T fallback, Body&& body) noexcept {
  try {
    return std::forward<Body>(body)();
  } catch (...) {
    return fallback;
  }
}

// Runs the task later on the main queue, guarded. May be called from any
// thread.
void deliverOnMain(std::function<void()> task);

// A completion handed to a framework's completion block: called on the
// framework's queue, it moves the completion to the main queue, runs it
// there once and releases it there. The block keeps only the box, so what
// the completion holds (a plugin, a reply) is never released on the
// framework's queue, whenever the framework lets go of its block.
template <typename... Args>
class MainQueueCompletion {
 public:
  explicit MainQueueCompletion(std::function<void(Args...)> completion)
      : box_(std::make_shared<std::function<void(Args...)>>(
            std::move(completion))) {}

  void operator()(std::decay_t<Args>... args) const {
    deliverOnMain([box = box_, args...] {
      std::function<void(Args...)> run = std::move(*box);
      *box = nullptr;
      if (run) {
        run(args...);
      }
    });
  }

 private:
  std::shared_ptr<std::function<void(Args...)>> box_;
};

template <typename... Args>
MainQueueCompletion<Args...> onMainQueue(
    std::function<void(Args...)> completion) {
  return MainQueueCompletion<Args...>(std::move(completion));
}

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
