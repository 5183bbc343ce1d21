#include "support/stress_rules.h"

#include <map>
#include <set>

#include "support/mesh_fixture.h"
#include "support/stress_scenario.h"

namespace movaro::stress {
namespace {

// An allowed error: its code and, when fixed, its message.
struct ErrorRule {
  const char* code;
  const char* message;  // nullptr: the platform's wording, or none
};

struct MethodRule {
  bool atOnce;
  Value shape;  // of a value answer, as `fits` reads it
  std::vector<ErrorRule> errors;
};

// Whether `value` has the shape: a map of exactly the shape's keys, each
// fitting; or, named by a text: "bool", "true", "null", "text", "text or
// null", "list", "key" (44 characters), "macOS" (a version text) or
// "status" (a map of keys a provider's status may pass on).
bool fits(const Value& shape, const Value& value) {
  static const std::set<Value> kStatusKeys = {
      "state",          "selfName",         "selfAddresses",
      "peers",          "sessionExpiresAt", "errorCode",
      "identityCleared"};
  const auto* map = value.getIf<ValueMap>();
  if (const auto* keys = shape.getIf<ValueMap>()) {
    return map && map->size() == keys->size() &&
           std::all_of(keys->begin(), keys->end(), [map](const auto& key) {
             auto entry = map->find(key.first);
             return entry != map->end() && fits(key.second, entry->second);
           });
  }
  const std::string& name = *shape.getIf<std::string>();
  const auto* text = value.getIf<std::string>();
  if (name == "status") {
    return map && std::all_of(map->begin(), map->end(), [](const auto& entry) {
             return kStatusKeys.count(entry.first) != 0;
           });
  }
  return name == "bool"    ? value.is<bool>()
         : name == "true"  ? value == Value(true)
         : name == "null"  ? value.isNull()
         : name == "text"  ? text != nullptr
         : name == "list"  ? value.is<ValueList>()
         : name == "key"   ? text && text->size() == 44
         : name == "macOS" ? text && text->rfind("macOS ", 0) == 0
                           : name == "text or null" && (text || value.isNull());
}

std::vector<ErrorRule> meshErrors(std::vector<const char*> codes) {
  std::vector<ErrorRule> rules;
  for (const char* code : codes) {
    rules.push_back({code, testing::kMeshMessage});
  }
  return rules;
}

const std::map<std::string, MethodRule>& methodRules() {
  static const char* const kApproval =
      "Allow Halvorn VPN in System Settings > General > Login Items & "
      "Extensions > Network Extensions, then connect again.";
  static const char* const kRestart =
      "Restart this Mac to finish enabling Halvorn VPN, then connect again.";
  static const char* const kActivation =
      "macOS could not enable the Halvorn VPN network extension. Check its "
      "permission in System Settings and try again.";
  static const ErrorRule kNoConfig = {"NO_CONFIG", "No configuration provided"};
  static const ErrorRule kSettings = {"LOAD_FAILED",
                                      "Unable to load VPN settings"};
  static const Value kStartup = dict({{"enabled", "bool"},
                                      {"requiresApproval", "bool"},
                                      {"configured", "bool"}});
  static const std::map<std::string, MethodRule> kRules = {
      {"main.prepare", {false, "bool", {}}},
      {"main.pushConfig", {true, "true", {kNoConfig}}},
      {"main.connect",
       {false,
        "true",
        {kNoConfig,
         {"CONNECT_CANCELED", "The connection was canceled."},
         {"EXTENSION_APPROVAL_REQUIRED", kApproval},
         {"EXTENSION_RESTART_REQUIRED", kRestart},
         {"EXTENSION_ACTIVATION_FAILED", kActivation},
         {"LOAD_FAILED", "Failed to load VPN manager"},
         {"INVALID_CONFIG", nullptr},
         {"SAVE_FAILED", nullptr},
         {"RELOAD_FAILED", nullptr},
         {"START_FAILED", nullptr}}}},
      {"main.disconnect", {false, "bool", {{"DISCONNECT_FAILED", nullptr}}}},
      {"main.setProtectionVerified", {true, "true", {}}},
      {"main.getPlatformVersion", {true, "macOS", {}}},
      {"main.getDesktopStartup", {true, kStartup, {}}},
      {"main.ensureDesktopStartup",
       {true,
        kStartup,
        {{"STARTUP_FAILED", "Launch at login could not be configured."}}}},
      {"main.configureDesktopStartup",
       {true,
        "null",
        {{"STARTUP_FAILED", "Launch at login could not be changed."}}}},
      {"main.openDesktopStartupSettings", {true, "null", {}}},
      {"main.getAppInfo",
       {true,
        dict({{"platform", "text"},
              {"version", "text"},
              {"buildNumber", "text"},
              {"packageName", "text"}}),
        {}}},
      {"main.generateKeyPair",
       {true, dict({{"privateKey", "key"}, {"publicKey", "key"}}), {}}},
      {"main.listLaunchableApps", {true, "list", {}}},
      {"main.openVpnSettings", {true, "true", {}}},
      {"main.getAutoConnectPolicy",
       {false,
        dict({{"enabled", "bool"},
              {"trustedWifiSsids", "list"},
              {"hasCachedConfig", "bool"}}),
        {kSettings}}},
      // Enabling before any connect has saved a tunnel is refused with
      // NO_CONFIG: what happens then is ours to choose.
      {"main.configureAutoConnect",
       {false, "true", {kSettings, {"SAVE_FAILED", nullptr}, kNoConfig}}},
      {"main.getCurrentWifiSsid",
       {false,
        "text or null",
        {{"LOCATION_AUTH_IN_PROGRESS",
          "Wi-Fi authorization is already in progress"}}}},
      {"main.syncSubscriptionReminders",
       {false,
        "true",
        {{"NOTIFICATION_PERMISSION_DENIED", nullptr},
         {"REMINDER_SCHEDULE_FAILED", nullptr}}}},
      // The driver checks the exact capabilities.
      {"mesh.capabilities",
       {true, dict({{"available", "bool"}, {"reasonCode", "text"}}), {}}},
      {"mesh.prepareVpn", {false, "bool", {}}},
      {"mesh.login",
       {false, "true",
        meshErrors({"runtime_missing", "permission_denied", "invalid_request",
                    "cleanup_failed", "identity_missing", "session_expired",
                    "connection_timeout", "connection_failed",
                    "engine_failed"})}},
      {"mesh.down",
       {false, "true", meshErrors({"engine_failed", "cleanup_failed"})}},
      {"mesh.logout",
       {false, "true", meshErrors({"engine_failed", "cleanup_failed"})}},
      {"mesh.status", {false, "status", meshErrors({"engine_failed"})}},
      {"events.listen", {true, "null", {}}},
      {"events.cancel", {true, "null", {{"error", nullptr}}}}};
  return kRules;
}

}  // namespace

bool answersAtOnce(const std::string& name) {
  auto rule = methodRules().find(name);
  return rule == methodRules().end() || rule->second.atOnce;
}

bool isKnownEvent(const Value& event) {
  using testing::statusEvent;
  static const std::set<Value> kEvents = {
      statusEvent("disconnected", "Disconnected"),
      statusEvent("connecting", "Connecting"),
      statusEvent("connected", "Connected"),
      statusEvent("reconnecting", "Reconnecting"),
      statusEvent("disconnecting", "Disconnecting"),
      statusEvent("error", "The VPN configuration is unavailable"),
      statusEvent("error", "The VPN status is unavailable"),
      statusEvent("error", "Unable to load VPN configuration")};
  return kEvents.count(event) != 0;
}

Value replyValue(const testing::ReplyRecord& reply) {
  const auto* success =
      reply.envelope ? std::get_if<SuccessEnvelope>(&*reply.envelope) : nullptr;
  return success ? success->value : Value();
}

std::string describeReply(const testing::ReplyRecord& reply) {
  if (!reply.envelope) {
    return reply.answered() ? "an undecodable reply" : "no reply";
  }
  if (const ErrorEnvelope* error = reply.error()) {
    return "error " + error->code + " / " +
           error->message.value_or("(no message)") +
           (error->details.isNull() ? "" : " with details");
  }
  return reply.notImplemented() ? "not implemented"
                                : "value " + jsonOf(replyValue(reply));
}

std::optional<std::string> replyProblem(const std::string& name,
                                        const testing::ReplyRecord& reply) {
  if (!reply.envelope) {
    return "the reply could not be decoded";
  }
  const std::string got = "answered " + describeReply(reply);
  auto rule = methodRules().find(name);
  const bool known = rule != methodRules().end();
  if (!known || reply.notImplemented()) {
    // Only unknown methods are not implemented.
    return known == reply.notImplemented()
               ? std::optional(got +
                               (known ? "" : ", expected not implemented"))
               : std::nullopt;
  }
  if (const ErrorEnvelope* error = reply.error()) {
    if (!error->details.isNull()) {
      return got + ": errors carry no details";
    }
    for (const ErrorRule& allowed : rule->second.errors) {
      if (error->code == allowed.code) {
        return !allowed.message || error->message == allowed.message
                   ? std::nullopt
                   : std::optional(got + ", with the wrong message");
      }
    }
    return got + ", a code this method never answers";
  }
  return fits(rule->second.shape, replyValue(reply))
             ? std::nullopt
             : std::optional(got + ", not a reply this method gives");
}

std::optional<platform::Duration> meshBound(const std::string& name) {
  // Unheld, profile loads, saves and reloads answer at once in the
  // simulation.
  static const std::map<std::string, platform::Duration> kBounds = {
      // One provider message, which times out after 5 s.
      {"mesh.status", platform::seconds(5.0)},
      // The 40 s start deadline, the 1 s grace before a stopped tunnel
      // counts as failed, and 5 s of margin.
      {"mesh.login", platform::seconds(40.0 + 1.0 + 5.0)},
      // The 10 s stop deadline, and one 0.1 s poll.
      {"mesh.down", platform::seconds(10.0 + 0.1)},
      // 15 s waiting for a running operation, 5 s for the "logout" message,
      // 15 s of clean-up, up to 5 s for a "status" message still out at
      // that deadline and one 0.1 s poll (40.1 s), rounded up to 41 s.
      {"mesh.logout", platform::seconds(41.0)}};
  auto bound = kBounds.find(name);
  return bound == kBounds.end() ? std::nullopt : std::optional(bound->second);
}

Value expectedCapabilities(int macosMajor, bool engine) {
  const bool old = macosMajor < 13;
  return dict({{"available", !old && engine},
               {"reasonCode", old      ? "requires_macos_13"
                              : engine ? "ready"
                                       : "runtime_missing"}});
}

std::optional<std::pair<std::string, std::string>> loginProblem(
    const LoginState& state,
    const testing::ReplyRecord& reply) {
  // The first rule whose condition holds applies.
  static const char* const kRules[][2] = {
      {"engine", "without the engine must be refused with runtime_missing"},
      {"second",
       "while another login runs must be refused with connection_failed"},
      {"invalid", "with a rule broken must be refused with invalid_request"},
      {"busy",
       "with valid arguments while no login or logout runs must be accepted "
       "(the busy flag must be clear)"},
      {"during-logout",
       "with valid arguments during a logout is accepted or refused with "
       "connection_failed"}};
  const bool sync = reply.answered();
  const std::string code = !sync           ? ""
                           : reply.error() ? reply.error()->code
                                           : "a value";
  const bool busy = code == "connection_failed";
  const size_t rule = !state.engine          ? 0
                      : state.otherLoginRuns ? 1
                      : !state.valid         ? 2
                      : !state.meshBusy      ? 3
                                             : 4;
  const bool kept[] = {code == "runtime_missing", busy,
                       code == "invalid_request" || (state.meshBusy && busy),
                       !sync, !sync || busy};
  if (kept[rule]) {
    return std::nullopt;
  }
  return std::pair(std::string("login:") + kRules[rule][0],
                   std::string("mesh.login ") + kRules[rule][1] +
                       ", but it was " +
                       (sync ? "answered at once with " + code : "accepted"));
}

}  // namespace movaro::stress
