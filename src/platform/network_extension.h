// NetworkExtension: saved tunnel profiles with their provider protocol, the
// tunnel connection, provider messages, on-demand rules and the status-change
// notification.
//
// Completions are delivered later, on the main queue, exactly once.
#ifndef MOVARO_PLATFORM_NETWORK_EXTENSION_H_
#define MOVARO_PLATFORM_NETWORK_EXTENSION_H_

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "bridge/value.h"
#include "platform/platform_error.h"

namespace movaro::platform {

// NEVPNStatus raw values. A connection may report other values too.
enum VpnStatus : int {
  kVpnStatusInvalid = 0,
  kVpnStatusDisconnected = 1,
  kVpnStatusConnecting = 2,
  kVpnStatusConnected = 3,
  kVpnStatusReasserting = 4,
  kVpnStatusDisconnecting = 5,
};

// A profile's protocol object. `isTunnelProvider` is false for the other
// kinds of protocol (IKEv2 and the like), which carry none of these fields.
struct TunnelProtocol {
  bool isTunnelProvider = true;
  std::optional<std::string> providerBundleIdentifier;
  std::optional<std::string> serverAddress;
  bool includeAllNetworks = false;
  std::optional<ValueMap> providerConfiguration;
};

struct OnDemandRule {
  enum class Action { kConnect, kDisconnect };
  Action action = Action::kConnect;
  // Empty: no SSID condition.
  std::vector<std::string> ssidMatch;
};

class TunnelConnection {
 public:
  virtual ~TunnelConnection() = default;
  virtual int status() const = 0;
  // startVPNTunnel(), or startVPNTunnel(options:) when options are given.
  // Fails at once or returns.
  virtual MaybeError startVPNTunnel(const std::optional<ValueMap>& options) = 0;
  virtual void stopVPNTunnel() = 0;
  // macOS 13 and later.
  virtual void fetchLastDisconnectError(ErrorCompletion completion) = 0;
  // Whether this connection is a provider session that carries messages.
  virtual bool isProviderSession() const = 0;
  // Hands the bytes to the running provider. Fails at once, or calls the
  // response handler later, on any queue, with the reply bytes or none.
  virtual MaybeError sendProviderMessage(
      const Bytes& message,
      std::function<void(const std::optional<Bytes>& reply)>
          responseHandler) = 0;
};

// NETunnelProviderManager.
class TunnelProfile {
 public:
  virtual ~TunnelProfile() = default;
  virtual std::optional<TunnelProtocol> protocolConfiguration() const = 0;
  virtual void setProtocolConfiguration(
      const std::optional<TunnelProtocol>& protocol) = 0;
  virtual std::string localizedDescription() const = 0;
  virtual void setLocalizedDescription(const std::string& description) = 0;
  virtual bool isEnabled() const = 0;
  virtual void setEnabled(bool enabled) = 0;
  virtual bool isOnDemandEnabled() const = 0;
  virtual void setOnDemandEnabled(bool enabled) = 0;
  virtual std::vector<OnDemandRule> onDemandRules() const = 0;
  virtual void setOnDemandRules(const std::vector<OnDemandRule>& rules) = 0;
  virtual void saveToPreferences(ErrorCompletion completion) = 0;
  virtual void loadFromPreferences(ErrorCompletion completion) = 0;
  // Null when the profile has none.
  virtual std::shared_ptr<TunnelConnection> connection() = 0;
};

using TunnelProfiles = std::vector<std::shared_ptr<TunnelProfile>>;

// The first saved profile whose tunnel-provider protocol names the provider
// bundle identifier; null when there is none.
std::shared_ptr<TunnelProfile> findTunnelProfile(
    const std::optional<TunnelProfiles>& profiles,
    const std::string& providerBundleIdentifier);

// A registration with the notification centre. Destroying the token
// removes it, so an owner that goes away leaves no observer behind.
class ObserverToken {
 public:
  virtual ~ObserverToken() = default;
};

class NetworkExtension {
 public:
  virtual ~NetworkExtension() = default;
  // All saved profiles of this application, in the system's order (possibly
  // none), or an error.
  virtual void loadAllFromPreferences(
      std::function<void(const std::optional<TunnelProfiles>& profiles,
                         const MaybeError& error)> completion) = 0;
  // A new, unsaved profile.
  virtual std::shared_ptr<TunnelProfile> makeProfile() = 0;
  // Observes the status-change notification of one connection, delivered on
  // the main queue, until the token is destroyed.
  virtual std::shared_ptr<ObserverToken> addStatusObserver(
      const std::shared_ptr<TunnelConnection>& connection,
      std::function<void()> block) = 0;
};

}  // namespace movaro::platform

#endif  // MOVARO_PLATFORM_NETWORK_EXTENSION_H_
