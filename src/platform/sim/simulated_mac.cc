#include "platform/sim/simulated_mac.h"

namespace movaro::sim {
namespace {

// 2030-01-01T00:00:00Z, a fixed start for the virtual wall clock.
constexpr std::chrono::seconds kWallStart{1893456000};

}  // namespace

SimulatedMac::SimulatedMac()
    : dispatch(WallTime(kWallStart)),
      log(dispatch),
      defaults(log),
      workspace(log),
      networkExtension(dispatch, log, holds),
      systemExtensions(dispatch, log),
      serviceManagement(log),
      wifi(system, location),
      location(dispatch, log, holds),
      notifications(dispatch, log, holds),
      holds(dispatch) {
  mainBundle.contents.identifier = kBundleIdentifier;
  mainBundle.contents.info = dict({{"CFBundleShortVersionString", "1.4.2"},
                                   {"CFBundleVersion", "142"},
                                   {"CFBundleIdentifier", kBundleIdentifier}});
  mainBundle.path = kDevelopmentBundlePath;
}

platform::Services SimulatedMac::services() {
  return platform::Services{dispatch,
                            mainBundle,
                            fileManager,
                            defaults,
                            workspace,
                            system,
                            networkExtension,
                            systemExtensions,
                            serviceManagement,
                            wifi,
                            location,
                            notifications,
                            keys};
}

std::string SimulatedMac::extensionPath(const std::string& identifier) const {
  return mainBundle.path + "/Contents/Library/SystemExtensions/" + identifier +
         ".systemextension";
}

void SimulatedMac::installExtension(const std::string& suffix, ValueMap info) {
  std::string identifier =
      mainBundle.contents.identifier.value_or(kBundleIdentifier) + suffix;
  fileManager.virtualBundles[extensionPath(identifier)] =
      BundleContents{identifier, std::move(info)};
}

}  // namespace movaro::sim
