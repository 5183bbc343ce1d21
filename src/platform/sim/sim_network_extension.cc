#include "platform/sim/sim_network_extension.h"

#include <thread>

#include "bridge/arguments.h"

namespace movaro::sim {
namespace {

using platform::MaybeError;
using platform::OnDemandRule;
using platform::PlatformError;
using platform::TunnelProtocol;

Value protocolToValue(const TunnelProtocol& protocol) {
  if (!protocol.isTunnelProvider) {
    return dict({{"kind", "other"}});
  }
  ValueMap map = dict({{"kind", "tunnelProvider"},
                       {"includeAllNetworks", protocol.includeAllNetworks}});
  if (protocol.providerBundleIdentifier) {
    map[Value("providerBundleIdentifier")] = *protocol.providerBundleIdentifier;
  }
  if (protocol.serverAddress) {
    map[Value("serverAddress")] = *protocol.serverAddress;
  }
  if (protocol.providerConfiguration) {
    map[Value("providerConfiguration")] = *protocol.providerConfiguration;
  }
  return map;
}

TunnelProtocol protocolFromValue(const Arguments& fields) {
  TunnelProtocol protocol;
  protocol.isTunnelProvider =
      fields.string("kind").value_or("tunnelProvider") == "tunnelProvider";
  protocol.providerBundleIdentifier = fields.string("providerBundleIdentifier");
  protocol.serverAddress = fields.string("serverAddress");
  protocol.includeAllNetworks =
      fields.boolean("includeAllNetworks").value_or(false);
  if (auto config = fields.raw("providerConfiguration");
      config && isStringKeyedMap(*config)) {
    protocol.providerConfiguration = *config->getIf<ValueMap>();
  }
  return protocol;
}

Value rulesToValue(const std::vector<OnDemandRule>& rules) {
  ValueList list;
  for (const OnDemandRule& rule : rules) {
    ValueMap map =
        dict({{"action", rule.action == OnDemandRule::Action::kConnect
                             ? "connect"
                             : "disconnect"}});
    if (!rule.ssidMatch.empty()) {
      ValueList ssids(rule.ssidMatch.begin(), rule.ssidMatch.end());
      map[Value("ssidMatch")] = std::move(ssids);
    }
    list.emplace_back(std::move(map));
  }
  return list;
}

std::vector<OnDemandRule> rulesFromValue(const Value* value) {
  std::vector<OnDemandRule> rules;
  const auto* list = value ? value->getIf<ValueList>() : nullptr;
  for (const Value& element : list ? *list : ValueList()) {
    Arguments rule(element);
    OnDemandRule parsed;
    parsed.action = rule.string("action").value_or("connect") == "disconnect"
                        ? OnDemandRule::Action::kDisconnect
                        : OnDemandRule::Action::kConnect;
    if (auto ssids = rule.raw("ssidMatch")) {
      if (const auto* names = ssids->getIf<ValueList>()) {
        for (const Value& name : *names) {
          if (const auto* s = name.getIf<std::string>()) {
            parsed.ssidMatch.push_back(*s);
          }
        }
      }
    }
    rules.push_back(parsed);
  }
  return rules;
}

// Removes its observer when destroyed, as the notification centre's token
// does on macOS.
class SimObserverToken : public platform::ObserverToken {
 public:
  explicit SimObserverToken(
      std::weak_ptr<SimNetworkExtension::Observers> observers)
      : observers_(std::move(observers)) {}
  ~SimObserverToken() override {
    if (auto observers = observers_.lock()) {
      if (std::this_thread::get_id() != madeOn_) {
        ++observers->removedOffThread;
      }
      std::erase_if(observers->list,
                    [this](const auto& o) { return o.token == this; });
    }
  }

 private:
  std::weak_ptr<SimNetworkExtension::Observers> observers_;
  const std::thread::id madeOn_ = std::this_thread::get_id();
};

}  // namespace

Value profileFieldsToValue(const ProfileFields& fields) {
  ValueMap map = dict({{"localizedDescription", fields.description},
                       {"isEnabled", fields.enabled},
                       {"isOnDemandEnabled", fields.onDemandEnabled},
                       {"onDemandRules", rulesToValue(fields.rules)}});
  map[Value("protocolConfiguration")] =
      fields.protocol ? protocolToValue(*fields.protocol) : Value();
  return map;
}

ProfileFields profileFieldsFromValue(const Value& value) {
  Arguments fields(value);
  ProfileFields result;
  if (auto protocol = fields.raw("protocolConfiguration")) {
    result.protocol = protocolFromValue(Arguments(*protocol));
  }
  result.description = fields.string("localizedDescription").value_or("");
  result.enabled = fields.boolean("isEnabled").value_or(false);
  result.onDemandEnabled = fields.boolean("isOnDemandEnabled").value_or(false);
  result.rules = rulesFromValue(find(fields.map(), "onDemandRules"));
  return result;
}

MaybeError SimConnection::startVPNTunnel(
    const std::optional<ValueMap>& options) {
  ValueMap details = dict({{"profile", profileId}});
  if (options) {
    details[Value("options")] = *options;
  }
  owner_.log().record("ne.start", details);
  if (MaybeError failure = owner_.takeFailure("start")) {
    return failure;
  }
  scripted_.clear();
  setStatus(platform::kVpnStatusConnecting);
  auto weak = weak_from_this();
  if (owner_.dropDelay) {
    scripted_.push_back(owner_.dispatch().postAfter(
        *owner_.dropDelay, [weak, error = owner_.dropError] {
          if (auto self = weak.lock()) {
            self->lastDisconnectError = error;
            self->scripted_.clear();
            self->setStatus(platform::kVpnStatusDisconnected);
          }
        }));
  }
  if (owner_.connectDelay) {
    scripted_.push_back(
        owner_.dispatch().postAfter(*owner_.connectDelay, [weak] {
          if (auto self = weak.lock()) {
            self->setStatus(platform::kVpnStatusConnected);
          }
        }));
  }
  return std::nullopt;
}

void SimConnection::stopVPNTunnel() {
  owner_.log().record("ne.stop", dict({{"profile", profileId}}));
  if (status_ == platform::kVpnStatusDisconnected ||
      status_ == platform::kVpnStatusInvalid) {
    return;
  }
  scripted_.clear();
  setStatus(platform::kVpnStatusDisconnecting);
  auto weak = weak_from_this();
  if (owner_.stopDelay) {
    scripted_.push_back(owner_.dispatch().postAfter(*owner_.stopDelay, [weak] {
      if (auto self = weak.lock()) {
        self->setStatus(platform::kVpnStatusDisconnected);
      }
    }));
  }
}

void SimConnection::fetchLastDisconnectError(
    platform::ErrorCompletion completion) {
  owner_.log().record("ne.fetchLastDisconnectError",
                      dict({{"profile", profileId}}));
  owner_.dispatch().post([completion = std::move(completion),
                          error = lastDisconnectError] { completion(error); });
}

MaybeError SimConnection::sendProviderMessage(
    const Bytes& message,
    std::function<void(const std::optional<Bytes>&)> responseHandler) {
  std::string text(message.begin(), message.end());
  owner_.log().record("ne.sendProviderMessage",
                      dict({{"profile", profileId}, {"message", text}}));
  // The request is {"command":"..."}; the command picks the answer.
  std::string command;
  const std::string prefix = "{\"command\":\"";
  if (text.rfind(prefix, 0) == 0 && text.size() >= prefix.size() + 2) {
    command = text.substr(prefix.size(), text.size() - prefix.size() - 2);
  }
  auto it = owner_.providerAnswers.find(command);
  if (it == owner_.providerAnswers.end()) {
    it = owner_.providerAnswers.find("*");
  }
  ProviderAnswer answer =
      it == owner_.providerAnswers.end() ? ProviderAnswer{} : it->second;
  if (answer.failSend) {
    return PlatformError{
        "NEVPNErrorDomain", 1, "The provider message could not be sent.", {}};
  }
  if (answer.silent) {
    return std::nullopt;
  }
  owner_.dispatch()
      .postAfter(answer.delay, [handler = std::move(responseHandler),
                                reply = answer.reply] { handler(reply); })
      .release();
  return std::nullopt;
}

void SimConnection::setStatus(int status) {
  status_ = status;
  owner_.notifyStatus(*this);
}

void SimTunnelProfile::saveToPreferences(platform::ErrorCompletion completion) {
  MaybeError failure = owner_.takeFailure("save");
  ValueMap details = dict({{"fields", profileFieldsToValue(fields_)}});
  if (savedId_) {
    details[Value("profile")] = *savedId_;
  }
  owner_.log().record("ne.save", details);
  if (!failure) {
    savedId_ = owner_.save(savedId_, fields_, connection_);
  }
  owner_.dispatch().post(
      [completion = std::move(completion), failure] { completion(failure); });
}

void SimTunnelProfile::loadFromPreferences(
    platform::ErrorCompletion completion) {
  MaybeError failure = owner_.takeFailure("reload");
  owner_.log().record("ne.reload",
                      savedId_ ? dict({{"profile", *savedId_}}) : ValueMap());
  if (!failure && savedId_) {
    if (SavedProfile* saved = owner_.savedProfile(*savedId_)) {
      fields_ = saved->fields;
    }
  }
  owner_.dispatch().post(
      [completion = std::move(completion), failure] { completion(failure); });
}

void SimNetworkExtension::loadAllFromPreferences(
    std::function<void(const std::optional<platform::TunnelProfiles>&,
                       const MaybeError&)> completion) {
  log_.record("ne.loadAll");
  MaybeError failure = takeFailure("loadAll");
  std::optional<platform::TunnelProfiles> profiles;
  if (!failure) {
    profiles.emplace();
    for (const SavedProfile& saved : saved_) {
      profiles->push_back(std::make_shared<SimTunnelProfile>(
          *this, saved.id, saved.fields, saved.connection));
    }
  }
  dispatch_.post([completion = std::move(completion), profiles, failure] {
    completion(profiles, failure);
  });
}

std::shared_ptr<platform::TunnelProfile> SimNetworkExtension::makeProfile() {
  return std::make_shared<SimTunnelProfile>(
      *this, std::nullopt, ProfileFields{},
      std::make_shared<SimConnection>(*this, platform::kVpnStatusInvalid));
}

std::shared_ptr<platform::ObserverToken> SimNetworkExtension::addStatusObserver(
    const std::shared_ptr<platform::TunnelConnection>& connection,
    std::function<void()> block) {
  auto token = std::make_shared<SimObserverToken>(observers_);
  observers_->list.push_back(Observer{
      token.get(), dynamic_cast<const SimConnection*>(connection.get()),
      std::move(block)});
  return token;
}

SavedProfile& SimNetworkExtension::addSavedProfile(ProfileFields fields) {
  auto connection =
      std::make_shared<SimConnection>(*this, platform::kVpnStatusDisconnected);
  connection->profileId = nextId_;
  saved_.push_back(SavedProfile{nextId_++, std::move(fields), connection});
  return saved_.back();
}

SavedProfile* SimNetworkExtension::savedProfile(int64_t id) {
  for (SavedProfile& saved : saved_) {
    if (saved.id == id) {
      return &saved;
    }
  }
  return nullptr;
}

SavedProfile* SimNetworkExtension::savedProfileFor(
    const std::string& providerIdentifier) {
  for (SavedProfile& saved : saved_) {
    const auto& protocol = saved.fields.protocol;
    if (protocol && protocol->isTunnelProvider &&
        protocol->providerBundleIdentifier == providerIdentifier) {
      return &saved;
    }
  }
  return nullptr;
}

MaybeError SimNetworkExtension::takeFailure(const std::string& operation) {
  auto it = failures.find(operation);
  if (it == failures.end()) {
    return std::nullopt;
  }
  PlatformError error{"NEConfigurationErrorDomain", 1, it->second.message, {}};
  if (it->second.times > 0 && --it->second.times == 0) {
    failures.erase(it);
  }
  return error;
}

void SimNetworkExtension::notifyStatus(const SimConnection& connection) {
  for (const Observer& observer : observers_->list) {
    if (observer.connection == &connection) {
      dispatch_.post(observer.block);
    }
  }
}

int64_t SimNetworkExtension::save(
    std::optional<int64_t> id,
    const ProfileFields& fields,
    const std::shared_ptr<SimConnection>& connection) {
  if (id) {
    if (SavedProfile* saved = savedProfile(*id)) {
      saved->fields = fields;
      return *id;
    }
  }
  // A first save: the profile's connection becomes the saved one's.
  connection->profileId = nextId_;
  connection->becomeSaved();
  saved_.push_back(SavedProfile{nextId_++, fields, connection});
  return saved_.back().id;
}

}  // namespace movaro::sim
