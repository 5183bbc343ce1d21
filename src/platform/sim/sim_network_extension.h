// The simulated Mac's saved tunnel profiles, their connections, the status
// notification and the provider's answers to messages.
#ifndef MOVARO_PLATFORM_SIM_SIM_NETWORK_EXTENSION_H_
#define MOVARO_PLATFORM_SIM_SIM_NETWORK_EXTENSION_H_

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/network_extension.h"
#include "platform/sim/os_log.h"
#include "platform/sim/sim_dispatch.h"
#include "platform/sim/sim_holds.h"

namespace movaro::sim {

class SimConnection;
class SimNetworkExtension;

// What a profile holds, saved or not.
struct ProfileFields {
  std::optional<platform::TunnelProtocol> protocol;
  std::string description;
  bool enabled = false;
  bool onDemandEnabled = false;
  std::vector<platform::OnDemandRule> rules;
};

Value profileFieldsToValue(const ProfileFields& fields);
// Reads the fields written by profileFieldsToValue; unknown keys ignored.
ProfileFields profileFieldsFromValue(const Value& value);

// A scripted failure: the next `times` calls fail with this message
// (times < 0: until cleared).
struct ScriptedFailure {
  std::string message;
  int times = -1;
};

// What the provider answers to one command.
struct ProviderAnswer {
  std::optional<Bytes> reply;  // absent: the handler gets no bytes
  Duration delay{0};
  bool silent = false;    // never calls the response handler
  bool failSend = false;  // the send fails at once
};

class SimConnection : public platform::TunnelConnection,
                      public std::enable_shared_from_this<SimConnection> {
 public:
  SimConnection(SimNetworkExtension& owner, int status)
      : owner_(owner), status_(status) {}

  int status() const override { return status_; }
  platform::MaybeError startVPNTunnel(
      const std::optional<ValueMap>& options) override;
  void stopVPNTunnel() override;
  void fetchLastDisconnectError(platform::ErrorCompletion completion) override;
  bool isProviderSession() const override { return providerSession; }
  platform::MaybeError sendProviderMessage(
      const Bytes& message,
      std::function<void(const std::optional<Bytes>&)> responseHandler)
      override;

  // Changes the status and posts the notification to its observers.
  void setStatus(int status);
  // A saved profile's connection reads disconnected rather than invalid.
  void becomeSaved() {
    if (status_ == platform::kVpnStatusInvalid) {
      status_ = platform::kVpnStatusDisconnected;
    }
  }

  int64_t profileId = 0;
  bool providerSession = true;
  platform::MaybeError lastDisconnectError;

 private:
  // Forgets what an earlier start or stop had scripted.
  void restartScript();
  // Moves to `status` once the held or timed transition comes, unless a
  // later start or stop has come first.
  void transition(const std::string& operation,
                  const std::optional<Duration>& delay,
                  int status,
                  int onFailure);

  SimNetworkExtension& owner_;
  int status_;
  std::vector<TimerHandle> scripted_;
  // Counts starts, stops and drops; a held transition of an earlier one is
  // stale.
  int64_t script_ = 0;
};

class SimTunnelProfile : public platform::TunnelProfile,
                         public std::enable_shared_from_this<SimTunnelProfile> {
 public:
  SimTunnelProfile(SimNetworkExtension& owner,
                   std::optional<int64_t> savedId,
                   ProfileFields fields,
                   std::shared_ptr<SimConnection> connection)
      : owner_(owner),
        savedId_(savedId),
        fields_(std::move(fields)),
        connection_(std::move(connection)) {}

  std::optional<platform::TunnelProtocol> protocolConfiguration()
      const override {
    return fields_.protocol;
  }
  void setProtocolConfiguration(
      const std::optional<platform::TunnelProtocol>& protocol) override {
    fields_.protocol = protocol;
  }
  std::string localizedDescription() const override {
    return fields_.description;
  }
  void setLocalizedDescription(const std::string& description) override {
    fields_.description = description;
  }
  bool isEnabled() const override { return fields_.enabled; }
  void setEnabled(bool enabled) override { fields_.enabled = enabled; }
  bool isOnDemandEnabled() const override { return fields_.onDemandEnabled; }
  void setOnDemandEnabled(bool enabled) override {
    fields_.onDemandEnabled = enabled;
  }
  std::vector<platform::OnDemandRule> onDemandRules() const override {
    return fields_.rules;
  }
  void setOnDemandRules(
      const std::vector<platform::OnDemandRule>& rules) override {
    fields_.rules = rules;
  }
  void saveToPreferences(platform::ErrorCompletion completion) override;
  void loadFromPreferences(platform::ErrorCompletion completion) override;
  std::shared_ptr<platform::TunnelConnection> connection() override {
    return connection_;
  }

  std::optional<int64_t> savedId() const { return savedId_; }
  const ProfileFields& fields() const { return fields_; }

 private:
  SimNetworkExtension& owner_;
  std::optional<int64_t> savedId_;
  ProfileFields fields_;
  std::shared_ptr<SimConnection> connection_;
};

struct SavedProfile {
  int64_t id = 0;
  ProfileFields fields;
  std::shared_ptr<SimConnection> connection;
};

class SimNetworkExtension : public platform::NetworkExtension {
 public:
  SimNetworkExtension(SimDispatch& dispatch, OsLog& log, SimHolds& holds)
      : dispatch_(dispatch), log_(log), holds_(holds) {}

  void loadAllFromPreferences(
      std::function<void(const std::optional<platform::TunnelProfiles>&,
                         const platform::MaybeError&)> completion) override;
  std::shared_ptr<platform::TunnelProfile> makeProfile() override;
  // The token removes the observer when it is destroyed.
  std::shared_ptr<platform::ObserverToken> addStatusObserver(
      const std::shared_ptr<platform::TunnelConnection>& connection,
      std::function<void()> block) override;

  // Scripting and observation.
  SavedProfile& addSavedProfile(ProfileFields fields);
  SavedProfile* savedProfile(int64_t id);
  // The first saved profile whose provider bundle identifier matches.
  SavedProfile* savedProfileFor(const std::string& providerIdentifier);
  std::vector<SavedProfile>& saved() { return saved_; }
  size_t observerCount() const { return observers_->list.size(); }
  // Observer tokens destroyed on another thread than the one that made them
  // (the main queue's): their owner, a plugin, died there.
  int observersRemovedOffThread() const { return observers_->removedOffThread; }

  struct Observer {
    const platform::ObserverToken* token;
    const SimConnection* connection;
    std::function<void()> block;
  };
  struct Observers {
    std::vector<Observer> list;
    std::atomic<int> removedOffThread{0};
  };

  // Operations that can fail: "loadAll", "save", "reload", "start".
  std::map<std::string, ScriptedFailure> failures;
  // After a start: connecting at once, then connected after this delay
  // (absent: stays connecting). After a stop: disconnecting at once, then
  // disconnected after stopDelay (absent: stays disconnecting).
  std::optional<Duration> connectDelay = std::chrono::seconds(1);
  std::optional<Duration> stopDelay = std::chrono::seconds(1);
  // After a start: goes down by itself after this delay, leaving dropError
  // as the connection's last disconnect error.
  std::optional<Duration> dropDelay;
  platform::MaybeError dropError;
  // The provider's answers by command; "*" answers any other command.
  std::map<std::string, ProviderAnswer> providerAnswers;

  // Internal to the simulation.
  platform::MaybeError takeFailure(const std::string& operation);
  void notifyStatus(const SimConnection& connection);
  SimDispatch& dispatch() { return dispatch_; }
  OsLog& log() { return log_; }
  SimHolds& holds() { return holds_; }
  int64_t save(std::optional<int64_t> id,
               const ProfileFields& fields,
               const std::shared_ptr<SimConnection>& connection);

 private:
  SimDispatch& dispatch_;
  OsLog& log_;
  SimHolds& holds_;
  int64_t nextId_ = 1;
  std::vector<SavedProfile> saved_;
  // Shared with the tokens, which may outlive this object.
  std::shared_ptr<Observers> observers_ = std::make_shared<Observers>();
};

}  // namespace movaro::sim

#endif  // MOVARO_PLATFORM_SIM_SIM_NETWORK_EXTENSION_H_
