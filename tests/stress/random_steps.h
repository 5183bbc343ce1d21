// The steps of a random scenario: calls on the three channels, changes the
// simulated Mac makes on its own (status changes, extension outcomes,
// provider answers, failures, the user's decisions) and the passing of
// virtual time. A scenario is a seed and its list of steps; replaying the
// list replays the run, so a failing list can be shortened step by step.
#ifndef MOVARO_TESTS_STRESS_RANDOM_STEPS_H_
#define MOVARO_TESTS_STRESS_RANDOM_STEPS_H_

#include <cstdint>
#include <cstdio>
#include <initializer_list>
#include <string>
#include <vector>

#include "host/json_values.h"
#include "platform/sim/simulated_mac.h"
#include "support/mesh_fixture.h"
#include "support/method_names.h"
#include "support/tunnel_fixture.h"

namespace movaro::stress {

using sim::ActivationOutcome;
using testing::kMainMethods;
using testing::kMeshMethods;
using testing::PluginHarness;

// splitmix64: small, fast and the same on every platform.
class Rng {
 public:
  explicit Rng(uint64_t seed) : state_(seed) {}
  uint64_t next() {
    uint64_t z = (state_ += 0x9E3779B97F4A7C15ull);
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
    return z ^ (z >> 31);
  }
  int below(int bound) {
    return static_cast<int>(next() % static_cast<uint64_t>(bound));
  }
  int between(int low, int high) { return low + below(high - low + 1); }
  double unit() { return static_cast<double>(next() >> 11) * 0x1.0p-53; }
  bool chance(double probability) { return unit() < probability; }
  // An index drawn with the given weights.
  int weighted(std::initializer_list<int> weights) {
    int total = 0;
    for (int weight : weights) {
      total += weight;
    }
    int draw = below(total);
    int index = 0;
    for (int weight : weights) {
      if (draw < weight) {
        return index;
      }
      draw -= weight;
      ++index;
    }
    return index - 1;
  }
  template <typename T>
  const T& pick(const std::vector<T>& items) {
    return items[static_cast<size_t>(below(static_cast<int>(items.size())))];
  }

 private:
  uint64_t state_;
};

// Where a scenario puts its weight.
enum class Bias { kMixed, kMesh, kTunnel };

inline const char* biasName(Bias bias) {
  switch (bias) {
    case Bias::kMesh:
      return "mesh";
    case Bias::kTunnel:
      return "tunnel";
    case Bias::kMixed:
      break;
  }
  return "mixed";
}

enum class Op {
  kCall,             // channel, method, arguments
  kIdle,             // the main queue runs until idle
  kAdvance,          // seconds
  kSetStatus,        // text: "vpn", "mesh" or "saved"; value: status
  kAddProfile,       // text: profile kind; value: status
  kAnswerExtension,  // text: "tunnel" or "mesh"; value: outcome; extra: age
  kProviderAnswer,   // text: command; value: answer kind; json; seconds
  kFailure,          // text: operation; value: times (0 clears)
  kDecideLocation,   // value: authorisation status
  kWifi,             // value: interface (0/1); text: name; extra: has name
  kNotifications,    // value: change
  kLoginItem,        // value: change
  kOsVersion,        // value: major version
  kBundle,           // value: change
  kTiming,           // text: "connect", "stop" or "drop"; seconds; value
  kHold,             // text: the operation whose completions are held, or ""
  kRelease,          // value: which held completion; extra: 1 fails it
  kTeardown,         // the engine goes; new plugins on the same Mac
};

// Provider answer kinds.
enum ProviderAnswerKind {
  kAnswerRemoved,
  kAnswerJson,
  kAnswerNoBytes,
  kAnswerSilent,
  kAnswerSendFails,
};

// Notification changes.
enum NotificationChange {
  kGrant,
  kDecline,
  kAuthorizationFails,
  kEveryAdditionFails,
  kOneAdditionFails,
  kAdditionsWork,
  kCallbacksOnThreads,
  kCallbacksOnMain,
};

// Login item changes.
enum LoginItemChange {
  kItemNotRegistered,
  kItemEnabled,
  kItemRequiresApproval,
  kItemNotFound,
  kRegisterFails,
  kRegisterWorks,
  kUnregisterFails,
  kUnregisterWorks,
  kHelperRefuses,
  kHelperAccepts,
  kRegisterAwaitsApproval,
};

// Extension bundles inside the app.
enum BundleChange {
  kInstallTunnel,
  kRemoveTunnel,
  kInstallEngine,             // "HalvornEngineAvailable" = "1"
  kInstallEngineSwitchedOff,  // "0"
  kInstallEngineAsNumber,     // the number 1, which does not count
  kRemoveEngine,
};

// Last-disconnect errors left by a tunnel that drops by itself.
enum DropError {
  kDropWithoutError,
  kDropIdentityMissing,
  kDropSessionExpired,
  kDropUnknownCode,
  kDropOtherDomain,
};

struct Step {
  Op op = Op::kIdle;
  std::string channel;
  std::string method;
  Value arguments;
  // A mesh "login" whose arguments pass every rule.
  bool validLogin = false;
  std::string text;
  std::string json;
  int value = 0;
  int extra = 0;
  double seconds = 0;
};

struct Scenario {
  uint64_t seed = 0;
  Bias bias = Bias::kMixed;
  // Tear the plugins down at an idle moment right after the last step,
  // rather than once everything has settled.
  bool earlyTeardown = false;
  std::vector<Step> steps;
};

inline std::string shortened(std::string text, size_t limit = 160) {
  if (text.size() > limit) {
    text = text.substr(0, limit) + "... (" + std::to_string(text.size()) +
           " characters)";
  }
  return text;
}

// Long texts cut to their start and length, the fixtures' configuration
// named, so that a step fits on a line.
inline Value printable(const Value& value) {
  if (const auto* text = value.getIf<std::string>()) {
    if (*text == testing::kValidConfig) {
      return "<valid config>";
    }
    if (text->size() > 70) {
      return text->substr(0, 12) + "...(" + std::to_string(text->size()) +
             " characters)";
    }
    return value;
  }
  if (const auto* list = value.getIf<ValueList>()) {
    ValueList copy;
    for (const Value& element : *list) {
      copy.push_back(printable(element));
    }
    return copy;
  }
  if (const auto* map = value.getIf<ValueMap>()) {
    ValueMap copy;
    for (const auto& [key, element] : *map) {
      copy[key] = printable(element);
    }
    return copy;
  }
  return value;
}

inline std::string jsonOf(const Value& value) {
  return shortened(host::dumpLine(host::valueToJson(printable(value))), 400);
}

// The arguments of a login that passes every rule.
inline ValueMap baseLogin() {
  return dict({{"accountNamespace", testing::kNamespace},
               {"controlUrl", "https://control.example.com:8443/m"},
               {"authKey", "tskey-auth-secret"},
               {"hostname", "work-laptop"},
               {"sessionExpiresAt", "2031-01-01T00:00:00Z"}});
}

// A login's arguments as their difference from the base login.
inline std::string loginDifference(const Value& arguments) {
  const auto* map = arguments.getIf<ValueMap>();
  if (map == nullptr) {
    return jsonOf(arguments);
  }
  const ValueMap base = baseLogin();
  std::string text = "{base login";
  for (const auto& [key, value] : base) {
    auto it = map->find(key);
    if (it == map->end()) {
      text += ", without " + jsonOf(key);
    } else if (it->second != value) {
      text += ", " + jsonOf(key) + ": " + jsonOf(it->second);
    }
  }
  for (const auto& [key, value] : *map) {
    if (base.count(key) == 0) {
      text += ", " + jsonOf(key) + ": " + jsonOf(value);
    }
  }
  return text + "}";
}

inline std::string secondsText(double seconds) {
  char buffer[32];
  std::snprintf(buffer, sizeof buffer, "%.2f s", seconds);
  return buffer;
}

inline const char* outcomeName(int outcome) {
  switch (static_cast<ActivationOutcome>(outcome)) {
    case ActivationOutcome::kNeedsApproval:
      return "needs approval";
    case ActivationOutcome::kCompleted:
      return "completed";
    case ActivationOutcome::kWillCompleteAfterReboot:
      return "will complete after reboot";
    case ActivationOutcome::kFailed:
      return "failed";
    case ActivationOutcome::kReplace:
      return "asks to replace";
  }
  return "?";
}

// One readable line per step.
inline std::string describe(const Step& step) {
  switch (step.op) {
    case Op::kCall: {
      std::string name = step.channel == PluginHarness::kMesh     ? "mesh."
                         : step.channel == PluginHarness::kEvents ? "events."
                                                                  : "main.";
      std::string line = name + step.method;
      const bool login =
          step.channel == PluginHarness::kMesh && step.method == "login";
      if (login) {
        line += " " + loginDifference(step.arguments) +
                (step.validLogin ? "  (valid)" : "  (invalid)");
      } else if (!step.arguments.isNull()) {
        line += " " + jsonOf(step.arguments);
      }
      return line;
    }
    case Op::kIdle:
      return "run the main queue until idle";
    case Op::kAdvance:
      return "advance " + secondsText(step.seconds);
    case Op::kSetStatus:
      return step.text +
             " profile's connection status := " + std::to_string(step.value);
    case Op::kAddProfile:
      return "add saved profile: " + step.text + ", status " +
             std::to_string(step.value);
    case Op::kAnswerExtension:
      return std::string("system extensions answer the ") +
             (step.extra == 0 ? "latest"
                              : std::to_string(step.extra) + "-back") +
             " " + step.text + " request: " + outcomeName(step.value);
    case Op::kProviderAnswer: {
      std::string line = "provider answers \"" + step.text + "\": ";
      switch (step.value) {
        case kAnswerRemoved:
          return line + "default (no bytes)";
        case kAnswerJson:
          return line + shortened(step.json) + " after " +
                 secondsText(step.seconds);
        case kAnswerNoBytes:
          return line + "no bytes after " + secondsText(step.seconds);
        case kAnswerSilent:
          return line + "never";
        case kAnswerSendFails:
          return line + "the send fails";
        default:
          return line + "?";
      }
    }
    case Op::kFailure:
      return step.value == 0
                 ? "\"" + step.text + "\" works again"
                 : "\"" + step.text + "\" fails " +
                       (step.value < 0
                            ? std::string("until cleared")
                            : std::to_string(step.value) + " time(s)");
    case Op::kDecideLocation:
      return "the user decides location: status " + std::to_string(step.value);
    case Op::kWifi:
      if (step.value == 0) {
        return "Wi-Fi: no interface";
      }
      return step.extra != 0 ? "Wi-Fi: network \"" + step.text + "\""
                             : std::string("Wi-Fi: interface, no network");
    case Op::kNotifications: {
      static const char* const kNames[] = {
          "notifications: authorisation granted",
          "notifications: authorisation declined",
          "notifications: authorisation request fails",
          "notifications: every addition fails",
          "notifications: adding reminder 2 fails",
          "notifications: additions work",
          "notifications: callbacks on other threads",
          "notifications: callbacks on the main queue"};
      return kNames[step.value];
    }
    case Op::kLoginItem: {
      static const char* const kNames[] = {
          "login item: not registered",
          "login item: enabled",
          "login item: requires approval",
          "login item: not found",
          "login item: register fails",
          "login item: register works",
          "login item: unregister fails",
          "login item: unregister works",
          "login helper: refuses the switch",
          "login helper: accepts",
          "login item: a registration awaits approval"};
      return kNames[step.value];
    }
    case Op::kOsVersion:
      return "macOS version := " + std::to_string(step.value);
    case Op::kBundle: {
      static const char* const kNames[] = {
          "install the tunnel extension",
          "remove the tunnel extension",
          "install the mesh engine (HalvornEngineAvailable \"1\")",
          "install the mesh engine (HalvornEngineAvailable \"0\")",
          "install the mesh engine (HalvornEngineAvailable 1, a number)",
          "remove the mesh engine"};
      return kNames[step.value];
    }
    case Op::kHold:
      return step.text.empty() ? std::string("the Mac holds nothing more")
                               : "the Mac holds every \"" + step.text + "\"";
    case Op::kRelease:
      return "the Mac releases held completion #" + std::to_string(step.value) +
             (step.extra != 0 ? " with a failure" : "");
    case Op::kTeardown:
      return "the engine goes away; new plugins are registered";
    case Op::kTiming:
      if (step.text == "drop") {
        static const char* const kErrors[] = {
            "no error", "HalvornMesh 2", "HalvornMesh session_expired",
            "HalvornMesh unknown code", "another domain"};
        return step.seconds < 0
                   ? std::string("started tunnels stay up")
                   : "started tunnels drop after " + secondsText(step.seconds) +
                         " with " + kErrors[step.value];
      }
      if (step.text == "connect") {
        return step.seconds < 0 ? std::string("started tunnels stay connecting")
                                : "started tunnels connect after " +
                                      secondsText(step.seconds);
      }
      return step.seconds < 0
                 ? std::string("stopped tunnels stay disconnecting")
                 : "stopped tunnels disconnect after " +
                       secondsText(step.seconds);
  }
  return "?";
}

}  // namespace movaro::stress

#endif  // MOVARO_TESTS_STRESS_RANDOM_STEPS_H_
