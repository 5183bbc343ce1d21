#include "platform/sim/sim_network_extension.h"

#include <thread>

namespace movaro::sim {
namespace {

using platform::MaybeError;
using platform::PlatformError;

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

PlatformError configurationError(const std::string& message) {
  return PlatformError{"NEConfigurationErrorDomain", 1, message, {}};
}

}  // namespace

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
  restartScript();
  setStatus(platform::kVpnStatusConnecting);
  auto weak = weak_from_this();
  if (owner_.dropDelay) {
    scripted_.push_back(owner_.dispatch().postAfter(
        *owner_.dropDelay, [weak, error = owner_.dropError] {
          if (auto self = weak.lock()) {
            self->lastDisconnectError = error;
            self->restartScript();
            self->setStatus(platform::kVpnStatusDisconnected);
          }
        }));
  }
  transition("start", owner_.connectDelay, platform::kVpnStatusConnected,
             platform::kVpnStatusDisconnected);
  return std::nullopt;
}

void SimConnection::restartScript() {
  scripted_.clear();
  ++script_;
}

void SimConnection::transition(const std::string& operation,
                               const std::optional<Duration>& delay,
                               int status,
                               int onFailure) {
  auto weak = weak_from_this();
  if (!owner_.holds().holds(operation)) {
    if (delay) {
      scripted_.push_back(owner_.dispatch().postAfter(*delay, [weak, status] {
        if (auto self = weak.lock()) {
          self->setStatus(status);
        }
      }));
    }
    return;
  }
  owner_.holds().passOnMain(
      operation, dict({{"profile", profileId}}),
      [weak, operation, script = script_, status,
       onFailure](const SimHolds::Failure& failure) {
        auto self = weak.lock();
        if (!self || self->script_ != script) {
          return;
        }
        // A start that fails leaves its error for fetchLastDisconnectError.
        if (failure && operation == "start") {
          self->lastDisconnectError =
              PlatformError{"NEVPNConnectionErrorDomain", 1, *failure, {}};
        }
        self->setStatus(failure ? onFailure : status);
      });
}

void SimConnection::stopVPNTunnel() {
  owner_.log().record("ne.stop", dict({{"profile", profileId}}));
  if (status_ == platform::kVpnStatusDisconnected ||
      status_ == platform::kVpnStatusInvalid) {
    return;
  }
  // A stop released with a failure leaves the tunnel as it was.
  int before = status_;
  restartScript();
  setStatus(platform::kVpnStatusDisconnecting);
  transition("stop", owner_.stopDelay, platform::kVpnStatusDisconnected,
             before);
}

void SimConnection::fetchLastDisconnectError(
    platform::ErrorCompletion completion) {
  owner_.log().record("ne.fetchLastDisconnectError",
                      dict({{"profile", profileId}}));
  owner_.holds().passOnMain(
      "lastDisconnectError", dict({{"profile", profileId}}),
      [completion = std::move(completion),
       error = lastDisconnectError](const SimHolds::Failure& failure) {
        completion(failure ? MaybeError(PlatformError{
                                 "NEVPNErrorDomain", 1, *failure, {}})
                           : error);
      });
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
  if (owner_.holds().holds("providerMessage")) {
    // Released with a failure, the handler gets no bytes.
    owner_.holds().passOnMain(
        "providerMessage", dict({{"profile", profileId}, {"message", text}}),
        [handler = std::move(responseHandler),
         reply = answer.reply](const SimHolds::Failure& failure) {
          handler(failure ? std::nullopt : reply);
        });
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
  details.erase(Value("fields"));
  // What is saved is the profile as it was when asked; it is written when
  // the completion comes.
  owner_.holds().passOnMain(
      "save", std::move(details),
      [self = shared_from_this(), fields = fields_, failure,
       completion = std::move(completion)](const SimHolds::Failure& released) {
        MaybeError error = released ? configurationError(*released) : failure;
        if (!error) {
          self->savedId_ =
              self->owner_.save(self->savedId_, fields, self->connection_);
        }
        completion(error);
      });
}

void SimTunnelProfile::loadFromPreferences(
    platform::ErrorCompletion completion) {
  MaybeError failure = owner_.takeFailure("reload");
  ValueMap details = savedId_ ? dict({{"profile", *savedId_}}) : ValueMap();
  owner_.log().record("ne.reload", details);
  owner_.holds().passOnMain(
      "reload", std::move(details),
      [self = shared_from_this(), failure,
       completion = std::move(completion)](const SimHolds::Failure& released) {
        MaybeError error = released ? configurationError(*released) : failure;
        if (!error && self->savedId_) {
          if (SavedProfile* saved =
                  self->owner_.savedProfile(*self->savedId_)) {
            self->fields_ = saved->fields;
          }
        }
        completion(error);
      });
}

void SimNetworkExtension::loadAllFromPreferences(
    std::function<void(const std::optional<platform::TunnelProfiles>&,
                       const MaybeError&)> completion) {
  log_.record("ne.loadAll");
  MaybeError failure = takeFailure("loadAll");
  // The profiles are read when the completion comes.
  holds_.passOnMain(
      "loadAll", {},
      [this, failure,
       completion = std::move(completion)](const SimHolds::Failure& released) {
        MaybeError error = released ? configurationError(*released) : failure;
        std::optional<platform::TunnelProfiles> profiles;
        if (!error) {
          profiles.emplace();
          for (const SavedProfile& saved : saved_) {
            profiles->push_back(std::make_shared<SimTunnelProfile>(
                *this, saved.id, saved.fields, saved.connection));
          }
        }
        completion(profiles, error);
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
  PlatformError error = configurationError(it->second.message);
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
