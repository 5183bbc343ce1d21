#include "platform/sim/sim_services.h"

#include <stdexcept>

#include "platform/wireguard/x25519_keys.h"

namespace movaro::sim {

platform::MaybeError SimServiceManagement::registerMainApp() {
  log_.record("sm.register");
  if (registerFailure) {
    return platform::PlatformError{
        "SMAppServiceErrorDomain", 1, *registerFailure, {}};
  }
  status = statusAfterRegister;
  return std::nullopt;
}

platform::MaybeError SimServiceManagement::unregisterMainApp() {
  log_.record("sm.unregister");
  if (unregisterFailure) {
    return platform::PlatformError{
        "SMAppServiceErrorDomain", 1, *unregisterFailure, {}};
  }
  status = platform::LoginItemStatus::kNotRegistered;
  return std::nullopt;
}

bool SimServiceManagement::setLoginItemEnabled(
    const std::string& helperIdentifier,
    bool enabled) {
  log_.record("sm.setLoginItemEnabled",
              dict({{"identifier", helperIdentifier}, {"enabled", enabled}}));
  if (helperAccepts) {
    helperEnabled = enabled;
  }
  return helperAccepts;
}

void SimServiceManagement::openSystemSettingsLoginItems() {
  log_.record("sm.openSystemSettingsLoginItems");
}

std::optional<std::string> SimWifi::currentSsid() const {
  bool authorised = location_.status == platform::kLocationAuthorizedAlways ||
                    location_.status == platform::kLocationAuthorizedWhenInUse;
  if (!hasInterface || (system_.version.major >= 14 && !authorised)) {
    return std::nullopt;
  }
  return ssid;
}

std::shared_ptr<platform::LocationManager> SimLocation::makeLocationManager() {
  auto manager = std::make_shared<SimLocationManager>(*this);
  managers_.push_back(manager);
  return manager;
}

void SimLocation::decide(int decision) {
  holds_.pass("locationDecision", dict({{"status", decision}}),
              [this, decision](const SimHolds::Failure& failure) {
                status = failure ? platform::kLocationDenied : decision;
                std::erase_if(managers_,
                              [](const auto& weak) { return weak.expired(); });
                for (const auto& weak : managers_) {
                  notify(weak.lock());
                }
              });
}

void SimLocation::notify(const std::shared_ptr<SimLocationManager>& manager) {
  dispatch_.post([weakManager = std::weak_ptr<SimLocationManager>(manager)] {
    auto strong = weakManager.lock();
    if (!strong) {
      return;
    }
    if (auto delegate = strong->delegate.lock()) {
      delegate->locationManagerDidChangeAuthorization(*strong);
    }
  });
}

void SimLocationManager::setDelegate(
    std::weak_ptr<platform::LocationManagerDelegate> newDelegate) {
  delegate = std::move(newDelegate);
  // macOS reports the current status once a delegate is set.
  owner_.notify(shared_from_this());
}

void SimNotificationCenter::removePendingNotificationRequests(
    const std::vector<std::string>& identifiers) {
  ValueList ids(identifiers.begin(), identifiers.end());
  log_.record("un.removePending", dict({{"identifiers", ids}}));
  std::lock_guard<std::mutex> lock(mutex_);
  std::erase_if(pending_, [&identifiers](const auto& request) {
    return std::find(identifiers.begin(), identifiers.end(),
                     request.identifier) != identifiers.end();
  });
}

void SimNotificationCenter::requestAuthorization(
    platform::AuthorizationOptions options,
    std::function<void(bool, const platform::MaybeError&)> completion) {
  log_.record("un.requestAuthorization", dict({{"alert", options.alert},
                                               {"sound", options.sound},
                                               {"badge", options.badge}}));
  bool granted = authorization == Authorization::kGranted;
  std::optional<std::string> failure;
  if (authorization == Authorization::kFailing) {
    failure = authorizationFailure;
  }
  holds_.pass("notificationAuthorization", {},
              [this, completion = std::move(completion), granted,
               failure](const SimHolds::Failure& released) {
                platform::MaybeError error;
                if (released || failure) {
                  error = platform::PlatformError{
                      "UNErrorDomain", 1, released.value_or(*failure), {}};
                }
                deliver([completion, granted = granted && !released, error] {
                  completion(granted, error);
                });
              });
}

void SimNotificationCenter::add(const platform::NotificationRequest& request,
                                platform::ErrorCompletion completion) {
  log_.record("un.add", dict({{"identifier", request.identifier},
                              {"title", request.title},
                              {"body", request.body},
                              {"sound", request.defaultSound},
                              {"interval", request.timeInterval},
                              {"repeats", request.repeats}}));
  holds_.pass(
      "notificationAdd", dict({{"identifier", request.identifier}}),
      [this, request,
       completion = std::move(completion)](const SimHolds::Failure& released) {
        std::optional<std::string> failure = released;
        {
          std::lock_guard<std::mutex> lock(mutex_);
          auto scripted = addFailures.find(request.identifier);
          if (scripted == addFailures.end()) {
            scripted = addFailures.find("*");
          }
          if (!failure && scripted != addFailures.end()) {
            failure = scripted->second;
          }
          if (!failure) {
            std::erase_if(pending_, [&request](const auto& p) {
              return p.identifier == request.identifier;
            });
            pending_.push_back(request);
          }
        }
        platform::MaybeError error;
        if (failure) {
          error = platform::PlatformError{"UNErrorDomain", 2, *failure, {}};
        }
        deliver([completion, error] { completion(error); });
      });
}

std::vector<platform::NotificationRequest>
SimNotificationCenter::pendingRequests() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return pending_;
}

void SimNotificationCenter::deliver(std::function<void()> callback) {
  if (!callbacksOnOtherThreads) {
    dispatch_.post(std::move(callback));
    return;
  }
  std::lock_guard<std::mutex> lock(mutex_);
  threads_.emplace_back(std::move(callback));
}

void SimNotificationCenter::joinCallbacks() {
  while (true) {
    std::vector<std::thread> running;
    {
      std::lock_guard<std::mutex> lock(mutex_);
      running.swap(threads_);
    }
    if (running.empty()) {
      return;
    }
    for (std::thread& thread : running) {
      thread.join();
    }
  }
}

std::optional<platform::Key> SimKeys::generatePrivateKey() {
  if (source == Source::kThrowing) {
    throw std::runtime_error("the random source broke");
  }
  if (source == Source::kFailing) {
    return std::nullopt;
  }
  return platform::generatePrivateKey();
}

std::optional<platform::Key> SimKeys::publicKey(
    const platform::Key& privateKey) {
  return platform::publicKeyFor(privateKey);
}

}  // namespace movaro::sim
