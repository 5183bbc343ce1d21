// A Mac in memory: every platform service, scriptable and observable, on
// virtual time. A new one is a development build: no extension bundles in
// the app, no saved profiles, empty defaults, every OS call succeeding.
#ifndef MOVARO_PLATFORM_SIM_SIMULATED_MAC_H_
#define MOVARO_PLATFORM_SIM_SIMULATED_MAC_H_

#include "platform/services.h"
#include "platform/sim/os_log.h"
#include "platform/sim/sim_dispatch.h"
#include "platform/sim/sim_foundation.h"
#include "platform/sim/sim_holds.h"
#include "platform/sim/sim_network_extension.h"
#include "platform/sim/sim_services.h"
#include "platform/sim/sim_system_extensions.h"

namespace movaro::sim {

class SimulatedMac {
 public:
  static constexpr const char* kBundleIdentifier = "com.quillfen.movaro.macos";
  static constexpr const char* kDevelopmentBundlePath =
      "/Users/sim/Developer/movaro/build/macos/Build/Products/Debug/"
      "Movaro.app";

  SimulatedMac();
  SimulatedMac(const SimulatedMac&) = delete;
  SimulatedMac& operator=(const SimulatedMac&) = delete;

  platform::Services services();

  // Time.
  void runUntilIdle() { dispatch.runUntilIdle(); }
  void advance(double seconds) { dispatch.advance(platform::seconds(seconds)); }

  // Puts an extension bundle inside the app bundle, as a release build has.
  void installExtension(const std::string& suffix, ValueMap info = {});
  std::string extensionPath(const std::string& identifier) const;

  SimDispatch dispatch;
  OsLog log;
  SimMainBundle mainBundle;
  SimFileManager fileManager;
  SimUserDefaults defaults;
  SimWorkspace workspace;
  SimSystemInfo system;
  SimNetworkExtension networkExtension;
  SimSystemExtensions systemExtensions;
  SimServiceManagement serviceManagement;
  SimWifi wifi;
  SimLocation location;
  SimNotificationCenter notifications;
  SimKeys keys;
  // Last, so that completions still held go before the services they use.
  SimHolds holds;
};

}  // namespace movaro::sim

#endif  // MOVARO_PLATFORM_SIM_SIMULATED_MAC_H_
