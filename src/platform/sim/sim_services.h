// The simulated Mac's smaller services: login items, Wi-Fi and location,
// notifications and keys.
#ifndef MOVARO_PLATFORM_SIM_SIM_SERVICES_H_
#define MOVARO_PLATFORM_SIM_SIM_SERVICES_H_

#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "platform/service_management.h"
#include "platform/sim/os_log.h"
#include "platform/sim/sim_dispatch.h"
#include "platform/sim/sim_foundation.h"
#include "platform/sim/sim_holds.h"
#include "platform/user_notifications.h"
#include "platform/wifi_location.h"
#include "platform/wireguard.h"

namespace movaro::sim {

class SimServiceManagement : public platform::ServiceManagement {
 public:
  explicit SimServiceManagement(OsLog& log) : log_(log) {}
  platform::LoginItemStatus mainAppStatus() const override { return status; }
  platform::MaybeError registerMainApp() override;
  platform::MaybeError unregisterMainApp() override;
  bool setLoginItemEnabled(const std::string& helperIdentifier,
                           bool enabled) override;
  void openSystemSettingsLoginItems() override;

  platform::LoginItemStatus status = platform::LoginItemStatus::kNotRegistered;
  // Messages of failing register/unregister calls; absent: they succeed.
  std::optional<std::string> registerFailure;
  std::optional<std::string> unregisterFailure;
  // What register leaves behind on success.
  platform::LoginItemStatus statusAfterRegister =
      platform::LoginItemStatus::kEnabled;
  bool helperAccepts = true;
  bool helperEnabled = false;

 private:
  OsLog& log_;
};

class SimLocation;

// From macOS 14 the network name is read only with location access.
class SimWifi : public platform::WifiClient {
 public:
  SimWifi(const SimSystemInfo& system, const SimLocation& location)
      : system_(system), location_(location) {}
  std::optional<std::string> currentSsid() const override;
  bool hasInterface = true;
  std::optional<std::string> ssid;

 private:
  const SimSystemInfo& system_;
  const SimLocation& location_;
};

class SimLocationManager;

class SimLocation : public platform::Location {
 public:
  SimLocation(SimDispatch& dispatch, OsLog& log, SimHolds& holds)
      : dispatch_(dispatch), log_(log), holds_(holds) {}
  std::shared_ptr<platform::LocationManager> makeLocationManager() override;

  // The user's decision: every live manager's delegate hears of it. Held,
  // it comes when released; released with a failure, access is denied.
  void decide(int status);
  int status = platform::kLocationNotDetermined;

  // Internal to the simulation.
  void requested() { log_.record("location.requestWhenInUse"); }
  void notify(const std::shared_ptr<SimLocationManager>& manager);

 private:
  SimDispatch& dispatch_;
  OsLog& log_;
  SimHolds& holds_;
  std::vector<std::weak_ptr<SimLocationManager>> managers_;
};

class SimLocationManager
    : public platform::LocationManager,
      public std::enable_shared_from_this<SimLocationManager> {
 public:
  explicit SimLocationManager(SimLocation& owner) : owner_(owner) {}
  int authorizationStatus() const override { return owner_.status; }
  void setDelegate(
      std::weak_ptr<platform::LocationManagerDelegate> delegate) override;
  void requestWhenInUseAuthorization() override { owner_.requested(); }

  std::weak_ptr<platform::LocationManagerDelegate> delegate;

 private:
  SimLocation& owner_;
};

class SimNotificationCenter : public platform::NotificationCenter {
 public:
  SimNotificationCenter(SimDispatch& dispatch, OsLog& log, SimHolds& holds)
      : dispatch_(dispatch), log_(log), holds_(holds) {}
  ~SimNotificationCenter() override { joinCallbacks(); }
  void removePendingNotificationRequests(
      const std::vector<std::string>& identifiers) override;
  void requestAuthorization(
      platform::AuthorizationOptions options,
      std::function<void(bool, const platform::MaybeError&)> completion)
      override;
  void add(const platform::NotificationRequest& request,
           platform::ErrorCompletion completion) override;

  enum class Authorization { kGranted, kDeclined, kFailing };
  Authorization authorization = Authorization::kGranted;
  std::string authorizationFailure = "Notifications are not allowed.";
  // Identifiers whose addition fails, with the message ("*": every one).
  std::map<std::string, std::string> addFailures;
  // Deliver the callbacks on threads of their own, as macOS may.
  bool callbacksOnOtherThreads = false;
  // Waits for callbacks running on other threads, and for those they start.
  void joinCallbacks();
  std::vector<platform::NotificationRequest> pendingRequests() const;

 private:
  void deliver(std::function<void()> callback);

  SimDispatch& dispatch_;
  OsLog& log_;
  SimHolds& holds_;
  mutable std::mutex mutex_;
  std::vector<platform::NotificationRequest> pending_;
  std::vector<std::thread> threads_;
};

// Real X25519 keys from the system's random source.
class SimKeys : public platform::WireGuardKeys {
 public:
  std::optional<platform::Key> generatePrivateKey() override;
  std::optional<platform::Key> publicKey(
      const platform::Key& privateKey) override;

  // Scripting: a working random source, one that fails, or one that breaks
  // the seam's contract by throwing.
  enum class Source { kWorking, kFailing, kThrowing };
  Source source = Source::kWorking;
};

}  // namespace movaro::sim

#endif  // MOVARO_PLATFORM_SIM_SIM_SERVICES_H_
