// The changes a step makes to the simulated Mac on its own: status changes,
// saved profiles, provider answers, failures, the user's decisions, the
// system version, the extension bundles in the app and tunnel timings.
#ifndef MOVARO_TESTS_STRESS_MAC_CHANGES_H_
#define MOVARO_TESTS_STRESS_MAC_CHANGES_H_

#include <memory>
#include <optional>
#include <set>
#include <string>

#include "stress/random_steps.h"

namespace movaro::stress {

using SimConnectionPtr = std::shared_ptr<sim::SimConnection>;

// The connection of the first saved VPN or mesh profile, or of any saved
// profile by position.
inline SimConnectionPtr connectionOf(sim::SimulatedMac& mac,
                                     const std::string& target,
                                     int index) {
  if (target == "vpn") {
    auto* saved = mac.networkExtension.savedProfileFor(testing::kVpnProvider);
    return saved ? saved->connection : nullptr;
  }
  if (target == "mesh") {
    auto* saved = mac.networkExtension.savedProfileFor(testing::kMeshProvider);
    return saved ? saved->connection : nullptr;
  }
  auto& saved = mac.networkExtension.saved();
  if (saved.empty()) {
    return nullptr;
  }
  return saved[static_cast<size_t>(index) % saved.size()].connection;
}

inline void addProfile(sim::SimulatedMac& mac,
                       const std::string& kind,
                       int status) {
  sim::ProfileFields fields;
  fields.description = "added";
  fields.enabled = true;
  if (kind == "vpn") {
    fields.protocol = platform::TunnelProtocol{
        true, testing::kVpnProvider, "vpn.example.com:51820", false,
        dict({{"wgQuickConfig", testing::kValidConfig},
              {"trustedWifiSsids", ValueList{}}})};
  } else if (kind == "mesh") {
    fields.protocol = platform::TunnelProtocol{
        true, testing::kMeshProvider, "Halvorn Private Network", false,
        dict({{"accountNamespace", testing::kNamespace}})};
  } else if (kind == "mesh with an upper-case namespace") {
    fields.protocol = platform::TunnelProtocol{
        true, testing::kMeshProvider, "Halvorn Private Network", false,
        dict({{"accountNamespace", std::string(64, 'A')}})};
  } else if (kind == "mesh without provider configuration") {
    fields.protocol = platform::TunnelProtocol{true, testing::kMeshProvider,
                                               "Halvorn Private Network", false,
                                               std::nullopt};
  } else {
    fields.protocol = platform::TunnelProtocol{
        true, "com.example.other.provider", "elsewhere", false, ValueMap{}};
  }
  sim::SavedProfile& saved = mac.networkExtension.addSavedProfile(fields);
  if (status != platform::kVpnStatusDisconnected) {
    saved.connection->setStatus(status);
  }
}

inline void setProviderAnswer(sim::SimulatedMac& mac, const Step& step) {
  auto& answers = mac.networkExtension.providerAnswers;
  sim::ProviderAnswer answer;
  answer.delay = platform::seconds(step.seconds);
  switch (step.value) {
    case kAnswerRemoved:
      answers.erase(step.text);
      return;
    case kAnswerJson:
      answer.reply = Bytes(step.json.begin(), step.json.end());
      break;
    case kAnswerNoBytes:
      break;
    case kAnswerSilent:
      answer.silent = true;
      break;
    default:
      answer.failSend = true;
      break;
  }
  answers[step.text] = answer;
}

inline void setNotifications(sim::SimulatedMac& mac, int change) {
  auto& center = mac.notifications;
  using Authorization = sim::SimNotificationCenter::Authorization;
  switch (change) {
    case kGrant:
      center.authorization = Authorization::kGranted;
      break;
    case kDecline:
      center.authorization = Authorization::kDeclined;
      break;
    case kAuthorizationFails:
      center.authorization = Authorization::kFailing;
      break;
    case kEveryAdditionFails:
      center.addFailures["*"] = "The notification could not be added.";
      break;
    case kOneAdditionFails:
      center.addFailures["halvorn.subscription.2"] = "Slot 2 is broken.";
      break;
    case kAdditionsWork:
      center.addFailures.clear();
      break;
    case kCallbacksOnThreads:
      center.callbacksOnOtherThreads = true;
      break;
    default:
      center.callbacksOnOtherThreads = false;
      break;
  }
}

inline void setLoginItem(sim::SimulatedMac& mac, int change) {
  auto& management = mac.serviceManagement;
  using Status = platform::LoginItemStatus;
  switch (change) {
    case kItemNotRegistered:
      management.status = Status::kNotRegistered;
      break;
    case kItemEnabled:
      management.status = Status::kEnabled;
      break;
    case kItemRequiresApproval:
      management.status = Status::kRequiresApproval;
      break;
    case kItemNotFound:
      management.status = Status::kNotFound;
      break;
    case kRegisterFails:
      management.registerFailure = "The login item could not be added.";
      break;
    case kRegisterWorks:
      management.registerFailure.reset();
      break;
    case kUnregisterFails:
      management.unregisterFailure = "The login item could not be removed.";
      break;
    case kUnregisterWorks:
      management.unregisterFailure.reset();
      break;
    case kHelperRefuses:
      management.helperAccepts = false;
      break;
    case kRegisterAwaitsApproval:
      management.statusAfterRegister = Status::kRequiresApproval;
      break;
    default:
      management.helperAccepts = true;
      break;
  }
}

inline void setBundle(sim::SimulatedMac& mac, int change) {
  auto& bundles = mac.fileManager.virtualBundles;
  switch (change) {
    case kInstallTunnel:
      mac.installExtension(".network-extension");
      break;
    case kRemoveTunnel:
      bundles.erase(mac.extensionPath(testing::kVpnProvider));
      break;
    case kInstallEngine:
      mac.installExtension(".mesh-extension",
                           dict({{"HalvornEngineAvailable", "1"}}));
      break;
    case kInstallEngineSwitchedOff:
      mac.installExtension(".mesh-extension",
                           dict({{"HalvornEngineAvailable", "0"}}));
      break;
    case kInstallEngineAsNumber:
      mac.installExtension(".mesh-extension",
                           dict({{"HalvornEngineAvailable", 1}}));
      break;
    default:
      bundles.erase(mac.extensionPath(testing::kMeshProvider));
      break;
  }
}

inline void setTiming(sim::SimulatedMac& mac, const Step& step) {
  auto& ne = mac.networkExtension;
  std::optional<platform::Duration> delay;
  if (step.seconds >= 0) {
    delay = platform::seconds(step.seconds);
  }
  if (step.text == "connect") {
    ne.connectDelay = delay;
  } else if (step.text == "stop") {
    ne.stopDelay = delay;
  } else {
    ne.dropDelay = delay;
    switch (step.value) {
      case kDropIdentityMissing:
        ne.dropError = platform::PlatformError{
            "HalvornMesh", 2, "The identity is missing.", {}};
        break;
      case kDropSessionExpired:
        ne.dropError =
            platform::PlatformError{"HalvornMesh", 1, "The session expired.",
                                    dict({{"errorCode", "session_expired"}})};
        break;
      case kDropUnknownCode:
        ne.dropError = platform::PlatformError{"HalvornMesh", 1, "Odd.",
                                               dict({{"errorCode", "weird"}})};
        break;
      case kDropOtherDomain:
        ne.dropError = platform::PlatformError{
            "NEVPNConnectionErrorDomain", 7, "Gone.", {}};
        break;
      default:
        ne.dropError.reset();
        break;
    }
  }
}

// Applies a step that changes the Mac (every kind but calls, the passage of
// time and extension answers, which the driver models itself).
inline void applyMacChange(sim::SimulatedMac& mac, const Step& step) {
  switch (step.op) {
    case Op::kSetStatus:
      if (SimConnectionPtr connection =
              connectionOf(mac, step.text, step.extra)) {
        connection->setStatus(step.value);
      }
      break;
    case Op::kAddProfile:
      addProfile(mac, step.text, step.value);
      break;
    case Op::kProviderAnswer:
      setProviderAnswer(mac, step);
      break;
    case Op::kFailure:
      if (step.value == 0) {
        mac.networkExtension.failures.erase(step.text);
      } else {
        mac.networkExtension.failures[step.text] =
            sim::ScriptedFailure{"The " + step.text + " failed.", step.value};
      }
      break;
    case Op::kDecideLocation:
      mac.location.decide(step.value);
      break;
    case Op::kWifi:
      mac.wifi.hasInterface = step.value != 0;
      mac.wifi.ssid = step.extra != 0 ? std::optional(step.text) : std::nullopt;
      break;
    case Op::kNotifications:
      setNotifications(mac, step.value);
      break;
    case Op::kLoginItem:
      setLoginItem(mac, step.value);
      break;
    case Op::kOsVersion:
      mac.system.version = platform::OsVersion{step.value, 0, 0};
      break;
    case Op::kBundle:
      setBundle(mac, step.value);
      break;
    case Op::kTiming:
      setTiming(mac, step);
      break;
    case Op::kHold:
      mac.holds.hold(step.text.empty() ? std::set<std::string>()
                                       : std::set<std::string>{step.text});
      break;
    case Op::kRelease:
      if (auto held = mac.holds.held(); !held.empty()) {
        mac.holds.release(
            held[static_cast<size_t>(step.value) % held.size()].id,
            step.extra != 0 ? std::optional<std::string>("The Mac said no.")
                            : std::nullopt);
      }
      break;
    default:
      break;
  }
}

}  // namespace movaro::stress

#endif  // MOVARO_TESTS_STRESS_MAC_CHANGES_H_
