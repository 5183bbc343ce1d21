// The main plugin: the "movaro_platform" method channel and the
// "movaro_platform/events" stream. Its fields hold all of its state; each
// operation lives in the file of its concern.
#ifndef MOVARO_TUNNEL_MOVARO_PLATFORM_PLUGIN_H_
#define MOVARO_TUNNEL_MOVARO_PLATFORM_PLUGIN_H_

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "bridge/arguments.h"
#include "bridge/event_channel.h"
#include "bridge/registrar.h"
#include "platform/main_queue.h"
#include "platform/services.h"

namespace movaro {

using Reply = std::shared_ptr<MethodResult>;
using ExtensionCompletion =
    std::function<void(const std::optional<PluginError>& error)>;

class MovaroPlatformPlugin
    : public MethodCallDelegate,
      public StreamHandler,
      public platform::ActivationRequestDelegate,
      public platform::LocationManagerDelegate,
      public std::enable_shared_from_this<MovaroPlatformPlugin> {
  // Only create() can name it: a plugin always lives in a shared_ptr, so
  // its completions can hold it weakly.
  struct Passkey {
    explicit Passkey() = default;
  };

 public:
  static constexpr const char* kChannel = "movaro_platform";
  static constexpr const char* kEventChannel = "movaro_platform/events";
  static constexpr const char* kFallbackBundleIdentifier =
      "com.quillfen.movaro.macos";

  // Binds the mesh channel to a new mesh plugin, then both channels of this
  // plugin to one new object.
  static void registerWith(Registrar& registrar,
                           const platform::Services& services);
  static std::shared_ptr<MovaroPlatformPlugin> create(
      const platform::Services& services);

  MovaroPlatformPlugin(Passkey, const platform::Services& services);
  MovaroPlatformPlugin(const MovaroPlatformPlugin&) = delete;
  MovaroPlatformPlugin& operator=(const MovaroPlatformPlugin&) = delete;

  void handle(const MethodCall& call, const Reply& result) override;

  // Event stream.
  std::optional<PluginError> onListen(
      const Value& arguments,
      const std::shared_ptr<EventSink>& sink) override;
  std::optional<PluginError> onCancel(const Value& arguments) override;

  // Extension activation delegate.
  void requestNeedsUserApproval(
      const platform::ActivationRequest& request) override;
  platform::ReplacementAction actionForReplacingExtension(
      const platform::ActivationRequest& request,
      const platform::ExtensionProperties& existing,
      const platform::ExtensionProperties& replacement) override;
  void requestDidFinish(const platform::ActivationRequest& request,
                        platform::ActivationResult result) override;
  void requestDidFail(const platform::ActivationRequest& request,
                      const platform::PlatformError& error) override;

  // Location delegate.
  void locationManagerDidChangeAuthorization(
      platform::LocationManager& manager) override;

  // Read-only views for tests.
  const std::optional<std::string>& cachedConfigForTesting() const {
    return cachedConfig;
  }
  bool hasSavedConfigurationForTesting() const { return hasSavedConfiguration; }

 private:
  // Platform facts and settings panes (platform_info.cc).
  void getPlatformVersion(const Reply& result);
  void getAppInfo(const Reply& result);
  void generateKeyPair(const Reply& result);
  void openVpnSettings(const Reply& result);

  // Launch at login (launch_at_login.cc).
  void desktopStartup(bool ensure, const Reply& result);
  void configureDesktopStartup(const Arguments& args, const Reply& result);
  void openDesktopStartupSettings(const Reply& result);

  std::string extensionIdentifier() const;

  // Extension activation.
  void activateTunnelExtension(const Reply& result,
                               ExtensionCompletion completion);
  bool isPendingRequest(const platform::ActivationRequest& request) const;
  void finishExtensionWait(const std::optional<PluginError>& outcome);

  // Profile and connect (profile_connect.cc). The load's completion runs
  // only while the plugin lives, and is handed it.
  void prepare(const Reply& result);
  void pushConfig(const Arguments& args, const Reply& result);
  void connect(const Arguments& args, const Reply& result);
  using LoadCompletion =
      std::function<void(MovaroPlatformPlugin& self, bool loaded)>;
  void loadManager(LoadCompletion completion);
  void onProfilesLoaded(const LoadCompletion& completion,
                        const std::optional<platform::TunnelProfiles>& profiles,
                        const platform::MaybeError& error);
  void continueConnect(const std::string& configText,
                       const Value& arguments,
                       const std::string& verificationUrl,
                       bool splitTunnelEnabled,
                       const Reply& result);
  void connectTunnel(const std::string& configText,
                     bool enableOnDemand,
                     bool protectAllNetworks,
                     std::optional<int64_t> sessionEndsAtEpochMilliseconds,
                     const Reply& result);
  void writeProfileAndStart(const std::string& configText,
                            bool enableOnDemand,
                            bool protectAllNetworks,
                            std::optional<int64_t> sessionEnd,
                            const Reply& result,
                            bool loaded);
  void saveAndStart(const std::shared_ptr<platform::TunnelProfile>& profile,
                    const Reply& result);

  // Disconnect and events (disconnect_events.cc).
  void disconnect(const Reply& result);
  void disconnectTunnel(const Reply& result);
  void onListenLoaded(const std::shared_ptr<EventSink>& sink, bool loaded);

  // Status events.
  void observeStatus(const std::shared_ptr<platform::TunnelProfile>& profile);
  void pushStatus(int status);

  // Trusted Wi-Fi list.
  std::vector<std::string> storedTrustedWifiSsids() const;

  // Auto-connect and Wi-Fi name (auto_connect.cc).
  void getAutoConnectPolicy(const Reply& result);
  void configureAutoConnect(bool enabled,
                            const std::vector<std::string>& trustedWifiSsids,
                            const Reply& result);
  void currentWifiSsid(const Reply& result);

  // Launchable applications and reminders.
  ValueList launchableApplications() const;
  void syncSubscriptionReminders(const std::vector<ValueMap>& reminders,
                                 const Reply& result);
  void scheduleReminders(const std::vector<ValueMap>& reminders,
                         const Reply& result,
                         bool granted,
                         const platform::MaybeError& error);

  platform::Services services_;

  // The fields, in declaration order.
  std::shared_ptr<EventSink> eventSink;
  std::optional<std::string> cachedConfig;
  std::shared_ptr<platform::TunnelProfile> tunnelManager;
  bool hasSavedConfiguration = false;
  std::shared_ptr<platform::ObserverToken> statusObserver;
  std::shared_ptr<platform::LocationManager> locationManager;
  Reply pendingWifiResult;
  std::shared_ptr<platform::ActivationRequest> pendingExtensionRequest;
  ExtensionCompletion pendingExtensionCompletion;
};

}  // namespace movaro

#endif  // MOVARO_TUNNEL_MOVARO_PLATFORM_PLUGIN_H_
