// What a reply of each method may look like, and which events exist.
#ifndef MOVARO_TESTS_STRESS_REPLY_RULES_H_
#define MOVARO_TESTS_STRESS_REPLY_RULES_H_

#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "stress/random_steps.h"

namespace movaro::stress {

inline constexpr const char* kMeshMessage =
    "The private network operation could not be completed.";

inline const std::set<std::string>& mainMethods() {
  static const std::set<std::string> kMethods(kMainMethods.begin(),
                                              kMainMethods.end());
  return kMethods;
}

inline const std::set<std::string>& meshMethods() {
  static const std::set<std::string> kMethods(kMeshMethods.begin(),
                                              kMeshMethods.end());
  return kMethods;
}

// Methods answered before the call returns.
inline bool mustAnswerAtOnce(const std::string& channel,
                             const std::string& method) {
  if (channel == PluginHarness::kEvents) {
    return true;
  }
  if (channel == PluginHarness::kMesh) {
    return method == "capabilities" || meshMethods().count(method) == 0;
  }
  // Those that wait for the Mac; every other method, and every unknown
  // name, is answered at once.
  static const std::set<std::string> kDeferred = {"prepare",
                                                  "connect",
                                                  "disconnect",
                                                  "getAutoConnectPolicy",
                                                  "configureAutoConnect",
                                                  "getCurrentWifiSsid",
                                                  "syncSubscriptionReminders"};
  return kDeferred.count(method) == 0;
}

inline bool isKnownEvent(const Value& event) {
  static const std::set<std::pair<std::string, std::string>> kEvents = {
      {"disconnected", "Disconnected"},
      {"connecting", "Connecting"},
      {"connected", "Connected"},
      {"reconnecting", "Reconnecting"},
      {"disconnecting", "Disconnecting"},
      {"error", "The VPN configuration is unavailable"},
      {"error", "The VPN status is unavailable"},
      {"error", "Unable to load VPN configuration"}};
  const auto* map = event.getIf<ValueMap>();
  if (map == nullptr || map->size() != 2) {
    return false;
  }
  const Value* state = find(*map, "state");
  const Value* message = find(*map, "message");
  const auto* stateText = state ? state->getIf<std::string>() : nullptr;
  const auto* messageText = message ? message->getIf<std::string>() : nullptr;
  return stateText && messageText &&
         kEvents.count({*stateText, *messageText}) != 0;
}

inline Value replyValue(const testing::ReplyRecord& reply) {
  if (reply.envelope) {
    if (const auto* success = std::get_if<SuccessEnvelope>(&*reply.envelope)) {
      return success->value;
    }
  }
  return Value();
}

inline std::string describeReply(const testing::ReplyRecord& reply) {
  if (!reply.envelope) {
    return reply.answered() ? "an undecodable reply" : "no reply";
  }
  if (const auto* error = std::get_if<ErrorEnvelope>(&*reply.envelope)) {
    return "error " + error->code + " / " +
           error->message.value_or("(no message)") +
           (error->details.isNull() ? "" : " with details");
  }
  if (reply.notImplemented()) {
    return "not implemented";
  }
  return "value " + jsonOf(replyValue(reply));
}

namespace internal {

// An allowed error: its code and, when fixed, its message.
struct ErrorRule {
  const char* code;
  const char* message;  // nullptr: the platform's wording, or none
};

inline const std::map<std::string, std::vector<ErrorRule>>& mainErrors() {
  static const char* const kApproval =
      "Allow Halvorn VPN in System Settings > General > Login Items & "
      "Extensions > Network Extensions, then connect again.";
  static const char* const kRestart =
      "Restart this Mac to finish enabling Halvorn VPN, then connect again.";
  static const char* const kActivation =
      "macOS could not enable the Halvorn VPN network extension. Check its "
      "permission in System Settings and try again.";
  static const std::map<std::string, std::vector<ErrorRule>> kRules = {
      {"pushConfig", {{"NO_CONFIG", "No configuration provided"}}},
      {"connect",
       {{"NO_CONFIG", "No configuration provided"},
        {"CONNECT_CANCELED", "The connection was canceled."},
        {"EXTENSION_APPROVAL_REQUIRED", kApproval},
        {"EXTENSION_RESTART_REQUIRED", kRestart},
        {"EXTENSION_ACTIVATION_FAILED", kActivation},
        {"LOAD_FAILED", "Failed to load VPN manager"},
        {"INVALID_CONFIG", nullptr},
        {"SAVE_FAILED", nullptr},
        {"RELOAD_FAILED", nullptr},
        {"START_FAILED", nullptr}}},
      {"disconnect", {{"DISCONNECT_FAILED", nullptr}}},
      {"ensureDesktopStartup",
       {{"STARTUP_FAILED", "Launch at login could not be configured."}}},
      {"configureDesktopStartup",
       {{"STARTUP_FAILED", "Launch at login could not be changed."}}},
      {"getAutoConnectPolicy",
       {{"LOAD_FAILED", "Unable to load VPN settings"}}},
      // Enabling before any connect has saved a tunnel is refused with
      // NO_CONFIG: what happens then is ours to choose.
      {"configureAutoConnect",
       {{"LOAD_FAILED", "Unable to load VPN settings"},
        {"SAVE_FAILED", nullptr},
        {"NO_CONFIG", "No configuration provided"}}},
      {"getCurrentWifiSsid",
       {{"LOCATION_AUTH_IN_PROGRESS",
         "Wi-Fi authorization is already in progress"}}},
      {"syncSubscriptionReminders",
       {{"NOTIFICATION_PERMISSION_DENIED", nullptr},
        {"REMINDER_SCHEDULE_FAILED", nullptr}}}};
  return kRules;
}

inline const std::map<std::string, std::set<std::string>>& meshErrors() {
  static const std::set<std::string> kNine = {
      "runtime_missing",    "permission_denied", "invalid_request",
      "cleanup_failed",     "identity_missing",  "session_expired",
      "connection_timeout", "connection_failed", "engine_failed"};
  static const std::map<std::string, std::set<std::string>> kRules = {
      {"login", kNine},
      {"down", {"engine_failed", "cleanup_failed"}},
      {"logout", {"engine_failed", "cleanup_failed"}},
      {"status", {"engine_failed"}}};
  return kRules;
}

inline bool isStringMap(const Value& value,
                        const std::vector<std::string>& keys) {
  const auto* map = value.getIf<ValueMap>();
  if (map == nullptr || map->size() != keys.size()) {
    return false;
  }
  return std::all_of(keys.begin(), keys.end(), [map](const std::string& key) {
    const Value* entry = find(*map, key);
    return entry && entry->is<std::string>();
  });
}

inline bool isBoolMap(const Value& value,
                      const std::vector<std::string>& keys) {
  const auto* map = value.getIf<ValueMap>();
  if (map == nullptr || map->size() != keys.size()) {
    return false;
  }
  return std::all_of(keys.begin(), keys.end(), [map](const std::string& key) {
    const Value* entry = find(*map, key);
    return entry && entry->is<bool>();
  });
}

inline bool mainValueFits(const std::string& method, const Value& value) {
  if (method == "prepare" || method == "disconnect") {
    return value.is<bool>();
  }
  if (method == "pushConfig" || method == "connect" ||
      method == "setProtectionVerified" || method == "openVpnSettings" ||
      method == "configureAutoConnect" ||
      method == "syncSubscriptionReminders") {
    return value == Value(true);
  }
  if (method == "getPlatformVersion") {
    const auto* text = value.getIf<std::string>();
    return text && text->rfind("macOS ", 0) == 0;
  }
  if (method == "getDesktopStartup" || method == "ensureDesktopStartup") {
    return isBoolMap(value, {"enabled", "requiresApproval", "configured"});
  }
  if (method == "configureDesktopStartup" ||
      method == "openDesktopStartupSettings") {
    return value.isNull();
  }
  if (method == "getAppInfo") {
    return isStringMap(value,
                       {"platform", "version", "buildNumber", "packageName"});
  }
  if (method == "generateKeyPair") {
    if (!isStringMap(value, {"privateKey", "publicKey"})) {
      return false;
    }
    const auto& map = *value.getIf<ValueMap>();
    return find(map, "privateKey")->getIf<std::string>()->size() == 44 &&
           find(map, "publicKey")->getIf<std::string>()->size() == 44;
  }
  if (method == "listLaunchableApps") {
    return value.is<ValueList>();
  }
  if (method == "getAutoConnectPolicy") {
    const auto* map = value.getIf<ValueMap>();
    if (map == nullptr || map->size() != 3) {
      return false;
    }
    const Value* enabled = find(*map, "enabled");
    const Value* trusted = find(*map, "trustedWifiSsids");
    const Value* cached = find(*map, "hasCachedConfig");
    return enabled && enabled->is<bool>() && trusted &&
           trusted->is<ValueList>() && cached && cached->is<bool>();
  }
  if (method == "getCurrentWifiSsid") {
    return value.isNull() || value.is<std::string>();
  }
  return false;
}

inline bool meshValueFits(const std::string& method, const Value& value) {
  if (method == "prepareVpn") {
    return value.is<bool>();
  }
  if (method == "login" || method == "down" || method == "logout") {
    return value == Value(true);
  }
  if (method == "capabilities") {
    const auto* map = value.getIf<ValueMap>();
    if (map == nullptr || map->size() != 2) {
      return false;
    }
    const Value* available = find(*map, "available");
    const Value* reason = find(*map, "reasonCode");
    return available && available->is<bool>() && reason &&
           (*reason == Value("ready") || *reason == Value("runtime_missing") ||
            *reason == Value("requires_macos_13")) &&
           (*available == Value(true)) == (*reason == Value("ready"));
  }
  if (method == "status") {
    static const std::set<std::string> kAllowed = {
        "state",          "selfName",         "selfAddresses",
        "peers",          "sessionExpiresAt", "errorCode",
        "identityCleared"};
    const auto* map = value.getIf<ValueMap>();
    if (map == nullptr) {
      return false;
    }
    return std::all_of(map->begin(), map->end(), [](const auto& entry) {
      const auto* key = entry.first.template getIf<std::string>();
      return key && kAllowed.count(*key) != 0;
    });
  }
  return false;
}

}  // namespace internal

// Why a reply does not fit its method; nothing when it fits.
inline std::optional<std::string> replyProblem(
    const std::string& channel,
    const std::string& method,
    const testing::ReplyRecord& reply) {
  if (!reply.envelope) {
    return "the reply could not be decoded";
  }
  const std::string got = "answered " + describeReply(reply);
  const bool mesh = channel == PluginHarness::kMesh;
  const bool known = channel == PluginHarness::kEvents
                         ? method == "listen" || method == "cancel"
                     : mesh ? meshMethods().count(method) != 0
                            : mainMethods().count(method) != 0;
  if (!known) {
    return reply.notImplemented()
               ? std::nullopt
               : std::optional<std::string>(got + ", expected not implemented");
  }
  if (reply.notImplemented()) {
    return got;
  }
  if (const ErrorEnvelope* error = reply.error()) {
    if (!error->details.isNull()) {
      return got + ": errors carry no details";
    }
    if (channel == PluginHarness::kEvents) {
      return method == "cancel" && error->code == "error"
                 ? std::nullopt
                 : std::optional<std::string>(got);
    }
    if (mesh) {
      auto rules = internal::meshErrors().find(method);
      if (rules == internal::meshErrors().end() ||
          rules->second.count(error->code) == 0) {
        return got + ", a code this method never answers";
      }
      if (error->message != kMeshMessage) {
        return got + ", without the mesh plugin's one message";
      }
      return std::nullopt;
    }
    auto rules = internal::mainErrors().find(method);
    if (rules != internal::mainErrors().end()) {
      for (const internal::ErrorRule& rule : rules->second) {
        if (error->code == rule.code) {
          if (rule.message && error->message != rule.message) {
            return got + ", with the wrong message";
          }
          return std::nullopt;
        }
      }
    }
    return got + ", a code this method never answers";
  }
  const Value value = replyValue(reply);
  if (channel == PluginHarness::kEvents) {
    return value.isNull() ? std::nullopt : std::optional<std::string>(got);
  }
  bool fits = mesh ? internal::meshValueFits(method, value)
                   : internal::mainValueFits(method, value);
  return fits ? std::nullopt
              : std::optional<std::string>(got +
                                           ", not a reply this "
                                           "method gives");
}

}  // namespace movaro::stress

#endif  // MOVARO_TESTS_STRESS_REPLY_RULES_H_
