// NetworkExtension: NETunnelProviderManager profiles, their connection (a
// NETunnelProviderSession for tunnel-provider profiles) and the
// NEVPNStatusDidChangeNotification observation. Completions of profile loads
// and saves and of the last-disconnect error are moved to the main queue
// and released there; provider replies are handed on from whatever queue
// they arrive on. No exception leaves a block.
#include "platform/network_extension.h"

#import <Foundation/Foundation.h>
#import <NetworkExtension/NetworkExtension.h>

#include "platform/apple/adapters_apple.h"
#include "platform/apple/conversions_apple.h"

NS_ASSUME_NONNULL_BEGIN

namespace movaro::platform::apple {
namespace {

using ErrorBlock = void (^)(NSError* _Nullable error);

// The framework's completion handler, converting on its queue and
// delivering on the main queue.
ErrorBlock deliverError(ErrorCompletion completion) {
  MainQueueCompletion<const MaybeError&> onMain =
      onMainQueue(std::move(completion));
  return ^(NSError* _Nullable error) {
    guarded([&] { onMain(toMaybeError(error)); });
  };
}

class AppleConnection : public TunnelConnection {
 public:
  explicit AppleConnection(NEVPNConnection* connection)
      : connection_(connection) {}

  NEVPNConnection* object() const { return connection_; }

  int status() const override { return static_cast<int>(connection_.status); }

  MaybeError startVPNTunnel(const std::optional<ValueMap>& options) override {
    NSError* error = nil;
    const BOOL started =
        options
            ? [connection_
                  startVPNTunnelWithOptions:toStringKeyedDictionary(*options)
                             andReturnError:&error]
            : [connection_ startVPNTunnelAndReturnError:&error];
    return started ? std::nullopt : MaybeError(toPlatformError(error));
  }

  void stopVPNTunnel() override { [connection_ stopVPNTunnel]; }

  void fetchLastDisconnectError(ErrorCompletion completion) override {
    if (@available(macOS 13, *)) {
      [connection_
          fetchLastDisconnectErrorWithCompletionHandler:deliverError(
                                                            completion)];
    } else {
      onMainQueue(std::move(completion))(std::nullopt);
    }
  }

  bool isProviderSession() const override {
    return [connection_ isKindOfClass:[NETunnelProviderSession class]];
  }

  MaybeError sendProviderMessage(
      const Bytes& message,
      std::function<void(const std::optional<Bytes>& reply)> responseHandler)
      override {
    if (!isProviderSession()) {
      return PlatformError{toStdString(NEVPNErrorDomain),
                           NEVPNErrorConfigurationInvalid,
                           "The connection carries no provider messages.",
                           {}};
    }
    NETunnelProviderSession* session =
        static_cast<NETunnelProviderSession*>(connection_);
    NSError* error = nil;
    const BOOL sent = [session
        sendProviderMessage:toNSData(message)
                returnError:&error
            responseHandler:^(NSData* _Nullable reply) {
              guarded([&] {
                responseHandler(reply ? std::optional<Bytes>(toBytes(reply))
                                      : std::nullopt);
              });
            }];
    return sent ? std::nullopt : MaybeError(toPlatformError(error));
  }

 private:
  NEVPNConnection* connection_;
};

class AppleProfile : public TunnelProfile {
 public:
  explicit AppleProfile(NETunnelProviderManager* manager) : manager_(manager) {}

  std::optional<TunnelProtocol> protocolConfiguration() const override {
    NEVPNProtocol* configured = manager_.protocolConfiguration;
    if (!configured) {
      return std::nullopt;
    }
    TunnelProtocol protocol;
    if (![configured isKindOfClass:[NETunnelProviderProtocol class]]) {
      protocol.isTunnelProvider = false;
      return protocol;
    }
    NETunnelProviderProtocol* provider =
        static_cast<NETunnelProviderProtocol*>(configured);
    protocol.providerBundleIdentifier =
        toOptionalString(provider.providerBundleIdentifier);
    protocol.serverAddress = toOptionalString(provider.serverAddress);
    protocol.includeAllNetworks = provider.includeAllNetworks;
    if (provider.providerConfiguration) {
      protocol.providerConfiguration =
          toStringKeyedMap(provider.providerConfiguration);
    }
    return protocol;
  }

  // A protocol of another kind cannot be built from these fields; the
  // profile then keeps the protocol it has.
  void setProtocolConfiguration(
      const std::optional<TunnelProtocol>& protocol) override {
    if (!protocol) {
      manager_.protocolConfiguration = nil;
      return;
    }
    if (!protocol->isTunnelProvider) {
      return;
    }
    NETunnelProviderProtocol* provider =
        [[NETunnelProviderProtocol alloc] init];
    provider.providerBundleIdentifier =
        toNSString(protocol->providerBundleIdentifier);
    provider.serverAddress = toNSString(protocol->serverAddress);
    provider.includeAllNetworks = protocol->includeAllNetworks;
    if (protocol->providerConfiguration) {
      provider.providerConfiguration =
          toStringKeyedDictionary(*protocol->providerConfiguration);
    }
    manager_.protocolConfiguration = provider;
  }

  std::string localizedDescription() const override {
    return toStdString(manager_.localizedDescription);
  }
  void setLocalizedDescription(const std::string& description) override {
    manager_.localizedDescription = toNSString(description);
  }

  bool isEnabled() const override { return manager_.enabled; }
  void setEnabled(bool enabled) override { manager_.enabled = enabled; }

  bool isOnDemandEnabled() const override { return manager_.onDemandEnabled; }
  void setOnDemandEnabled(bool enabled) override {
    manager_.onDemandEnabled = enabled;
  }

  // Rules of other kinds (ignore, evaluate connection) read as connect rules.
  std::vector<OnDemandRule> onDemandRules() const override {
    std::vector<OnDemandRule> rules;
    for (NEOnDemandRule* rule in manager_.onDemandRules) {
      OnDemandRule converted;
      converted.action = rule.action == NEOnDemandRuleActionDisconnect
                             ? OnDemandRule::Action::kDisconnect
                             : OnDemandRule::Action::kConnect;
      converted.ssidMatch = toStringVector(rule.SSIDMatch);
      rules.push_back(std::move(converted));
    }
    return rules;
  }

  // An empty SSID list leaves the rule without an SSID condition.
  void setOnDemandRules(const std::vector<OnDemandRule>& rules) override {
    NSMutableArray<NEOnDemandRule*>* converted =
        [NSMutableArray arrayWithCapacity:rules.size()];
    for (const OnDemandRule& rule : rules) {
      NEOnDemandRule* onDemandRule = nil;
      if (rule.action == OnDemandRule::Action::kDisconnect) {
        onDemandRule = [[NEOnDemandRuleDisconnect alloc] init];
      } else {
        onDemandRule = [[NEOnDemandRuleConnect alloc] init];
      }
      if (!rule.ssidMatch.empty()) {
        onDemandRule.SSIDMatch = toNSStringArray(rule.ssidMatch);
      }
      [converted addObject:onDemandRule];
    }
    manager_.onDemandRules = converted;
  }

  void saveToPreferences(ErrorCompletion completion) override {
    [manager_ saveToPreferencesWithCompletionHandler:deliverError(completion)];
  }

  void loadFromPreferences(ErrorCompletion completion) override {
    [manager_
        loadFromPreferencesWithCompletionHandler:deliverError(completion)];
  }

  // The same wrapper for as long as the manager keeps its connection object,
  // so that observers and callers see one identity.
  std::shared_ptr<TunnelConnection> connection() override {
    NEVPNConnection* current = manager_.connection;
    if (!current) {
      return nullptr;
    }
    if (!connection_ || connection_->object() != current) {
      connection_ = std::make_shared<AppleConnection>(current);
    }
    return connection_;
  }

 private:
  NETunnelProviderManager* manager_;
  std::shared_ptr<AppleConnection> connection_;
};

// Removes the observation when destroyed.
class AppleObserverToken : public ObserverToken {
 public:
  explicit AppleObserverToken(id<NSObject> observer) : observer_(observer) {}
  ~AppleObserverToken() override {
    [NSNotificationCenter.defaultCenter removeObserver:observer_];
  }

 private:
  id<NSObject> observer_;
};

class AppleNetworkExtension : public NetworkExtension {
 public:
  void loadAllFromPreferences(
      std::function<void(const std::optional<TunnelProfiles>& profiles,
                         const MaybeError& error)> completion) override {
    auto onMain = onMainQueue(std::move(completion));
    [NETunnelProviderManager
        loadAllFromPreferencesWithCompletionHandler:^(
            NSArray<NETunnelProviderManager*>* _Nullable managers,
            NSError* _Nullable error) {
          guarded([&] {
            // No saved profile arrives as nil managers without an error.
            const MaybeError failure = toMaybeError(error);
            std::optional<TunnelProfiles> profiles;
            if (!failure) {
              profiles.emplace();
              for (NETunnelProviderManager* manager in managers) {
                profiles->push_back(std::make_shared<AppleProfile>(manager));
              }
            }
            onMain(profiles, failure);
          });
        }];
  }

  std::shared_ptr<TunnelProfile> makeProfile() override {
    return std::make_shared<AppleProfile>(
        [[NETunnelProviderManager alloc] init]);
  }

  std::shared_ptr<ObserverToken> addStatusObserver(
      const std::shared_ptr<TunnelConnection>& connection,
      std::function<void()> block) override {
    const auto* apple = dynamic_cast<const AppleConnection*>(connection.get());
    id<NSObject> observer = [NSNotificationCenter.defaultCenter
        addObserverForName:NEVPNStatusDidChangeNotification
                    object:apple ? apple->object() : nil
                     queue:NSOperationQueue.mainQueue
                usingBlock:^(NSNotification*) {
                  guarded(block);
                }];
    return std::make_shared<AppleObserverToken>(observer);
  }
};

}  // namespace

std::unique_ptr<NetworkExtension> makeNetworkExtension() {
  return std::make_unique<AppleNetworkExtension>();
}

}  // namespace movaro::platform::apple

NS_ASSUME_NONNULL_END
