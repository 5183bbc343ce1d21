// The changes the simulated Mac makes on its own: status changes, saved
// profiles, extension outcomes, provider answers, failures, the user's
// decisions, the system version, the bundles in the app, tunnel timings,
// completions held back and released, and the engine going away.
#include "support/mesh_fixture.h"
#include "support/stress_scenario.h"
#include "support/tunnel_fixture.h"

namespace movaro::stress {
namespace {

using Mac = sim::SimulatedMac;
using Authorization = sim::SimNotificationCenter::Authorization;
using ItemStatus = platform::LoginItemStatus;

std::optional<std::string> failingIf(bool fails) {
  return fails ? std::optional<std::string>("It failed.") : std::nullopt;
}

// A setting of the Mac: its name, then the names of its values, and how
// the value with that index is set.
struct Knob {
  std::vector<const char*> names;
  void (*set)(Mac& mac, int value);
};

const std::vector<Knob>& knobs() {
  static const std::vector<Knob> kKnobs = {
      {{"mesh engine (HalvornEngineAvailable)", "\"1\"", "\"0\"", "1, a number",
        "removed"},
       [](Mac& m, int v) {
         m.fileManager.virtualBundles.erase(
             m.extensionPath(testing::kMeshProvider));
         const Value kFlags[] = {"1", "0", 1};
         if (v < 3) {
           m.installExtension(".mesh-extension",
                              dict({{"HalvornEngineAvailable", kFlags[v]}}));
         }
       }},
      {{"tunnel extension", "installed", "removed"},
       [](Mac& m, int v) {
         m.fileManager.virtualBundles.erase(
             m.extensionPath(testing::kVpnProvider));
         if (v == 0) {
           m.installExtension(".network-extension");
         }
       }},
      {{"notification authorisation", "granted", "declined", "failing"},
       [](Mac& m, int v) { m.notifications.authorization = Authorization(v); }},
      {{"notification additions", "work", "fail", "fail for reminder 2"},
       [](Mac& m, int v) {
         m.notifications.addFailures.clear();
         // No request has the identifier "".
         const char* const kFailing[] = {"", "*", "halvorn.subscription.2"};
         m.notifications.addFailures[kFailing[v]] = "No room.";
       }},
      {{"login item", "not registered", "enabled", "requires approval",
        "not found"},
       [](Mac& m, int v) { m.serviceManagement.status = ItemStatus(v); }},
      {{"login item registration", "works", "fails", "awaits approval"},
       [](Mac& m, int v) {
         m.serviceManagement.registerFailure = failingIf(v == 1);
         m.serviceManagement.statusAfterRegister =
             v == 2 ? ItemStatus::kRequiresApproval : ItemStatus::kEnabled;
       }},
      {{"login item removal", "works", "fails"},
       [](Mac& m, int v) {
         m.serviceManagement.unregisterFailure = failingIf(v == 1);
       }},
      {{"login helper", "refuses the switch", "accepts"},
       [](Mac& m, int v) { m.serviceManagement.helperAccepts = v == 1; }},
      {{"macOS version", "12", "13", "14"},
       [](Mac& m, int v) {
         m.system.version = {12 + v, 0, 0};
       }},
      {{"the user's location decision", "0", "1", "2", "3", "4"},
       [](Mac& m, int v) { m.location.decide(v); }}};
  return kKnobs;
}

Step set(const Knob& knob, int value) {
  return changeStep(
      std::string(knob.names[0]) + " := " + knob.names[size_t(value) + 1],
      [&knob, value](Mac& mac) { knob.set(mac, value); });
}

Step knob(Rng& rng, Bias) {
  const Knob& knob = rng.pick(knobs());
  return set(knob, rng.below(int(knob.names.size()) - 1));
}

bool leansMesh(Rng& rng, Bias bias) {
  return rng.chance(bias == kMesh ? 0.85 : bias == kTunnel ? 0.15 : 0.5);
}

int tunnelStatus(Rng& rng) {
  int index = rng.weighted({8, 20, 15, 25, 10, 12, 5});
  return index < 6 ? index : rng.pick(std::vector<int>{6, -1, 99});
}

// The status of the saved VPN or mesh profile, or of any saved profile.
Step status(Rng& rng, Bias bias) {
  const int target = rng.chance(0.15) ? 2 : leansMesh(rng, bias) ? 1 : 0;
  const int status = tunnelStatus(rng);
  const size_t index = size_t(rng.below(4));
  const char* const kTargets[] = {"the VPN", "the mesh", "a saved"};
  return changeStep(std::string(kTargets[target]) +
                        " profile's status := " + std::to_string(status),
                    [target, status, index](Mac& mac) {
                      auto& ne = mac.networkExtension;
                      auto& saved = ne.saved();
                      sim::SavedProfile* profile =
                          target == 0
                              ? ne.savedProfileFor(testing::kVpnProvider)
                          : target == 1
                              ? ne.savedProfileFor(testing::kMeshProvider)
                          : saved.empty() ? nullptr
                                          : &saved[index % saved.size()];
                      if (profile) {
                        profile->connection->setStatus(status);
                      }
                    });
}

Step profile(Rng& rng, Bias bias) {
  struct Kind {
    const char* text;
    const char* provider;
    std::optional<ValueMap> configuration;
  };
  static const std::vector<Kind> kKinds = {
      {"vpn", testing::kVpnProvider,
       dict({{"wgQuickConfig", testing::kValidConfig},
             {"trustedWifiSsids", ValueList{}}})},
      {"mesh", testing::kMeshProvider,
       dict({{"accountNamespace", testing::kNamespace}})},
      {"mesh with an upper-case namespace", testing::kMeshProvider,
       dict({{"accountNamespace", std::string(64, 'A')}})},
      {"mesh without provider configuration", testing::kMeshProvider,
       std::nullopt},
      {"other provider", "com.example.other.provider", ValueMap{}}};
  const Kind& kind =
      bias == kMesh && rng.chance(0.6) ? kKinds[1] : rng.pick(kKinds);
  const int status =
      rng.chance(0.6) ? platform::kVpnStatusDisconnected : tunnelStatus(rng);
  return changeStep(
      std::string("add saved profile: ") + kind.text + ", status " +
          std::to_string(status),
      [&kind, status](Mac& mac) {
        sim::ProfileFields fields;
        fields.description = "added";
        fields.enabled = true;
        fields.protocol = platform::TunnelProtocol{
            true, kind.provider, "vpn.example.com", false, kind.configuration};
        auto& saved = mac.networkExtension.addSavedProfile(fields);
        if (status != platform::kVpnStatusDisconnected) {
          saved.connection->setStatus(status);
        }
      });
}

Step extensionAnswer(Rng& rng, Bias bias) {
  static const char* const kOutcomes[] = {"needs approval", "completed",
                                          "will complete after reboot",
                                          "failed", "asks to replace"};
  const bool mesh = leansMesh(rng, bias);
  const int outcome = rng.weighted({35, 30, 10, 15, 10});
  const int age = rng.weighted({70, 20, 10});
  Step step = makeStep(
      Step::Kind::kAnswer,
      "system extensions answer the " +
          (age == 0 ? "latest" : std::to_string(age) + "-back") +
          (mesh ? " mesh" : " tunnel") + " request: " + kOutcomes[outcome]);
  step.mesh = mesh;
  step.age = age;
  step.outcome = static_cast<sim::ActivationOutcome>(outcome);
  return step;
}

Step providerAnswer(Rng& rng, Bias) {
  static const std::vector<std::string> kJson = {
      R"({"state":"connected","selfName":"laptop",)"
      R"("selfAddresses":["100.64.0.1"],"peers":[]})",
      R"({"identityCleared":true})",
      R"({"identityCleared":false})",
      R"({"identityCleared":"true","state":"connected"})",
      R"({})",
      R"({"unknown":1,"state":"connected","identityCleared":true})",
      "not json",
      "[1,2]",
      "\"a string\"",
      "42"};
  static const char* const kKinds[] = {"the default (no bytes)", "", "no bytes",
                                       "never", "the send fails"};
  const std::string command = std::vector<std::string>{
      "status", "logout", "*"}[size_t(rng.weighted({5, 3, 1}))];
  const int kind = rng.weighted({2, 12, 2, 3, 2});
  const std::string json = rng.pick(kJson);
  const double delay = rng.pick(std::vector<double>{0, 0, 0.5, 4.9, 5, 6, 12});
  return changeStep(
      "provider answers \"" + command + "\": " +
          (kind == 1 ? json : kKinds[kind]) + " after " + secondsText(delay),
      [command, kind, json, delay](Mac& mac) {
        auto& answers = mac.networkExtension.providerAnswers;
        answers[command] = sim::ProviderAnswer{
            std::nullopt, platform::seconds(delay), kind == 3, kind == 4};
        if (kind == 0) {
          answers.erase(command);
        } else if (kind == 1) {
          answers[command].reply = Bytes(json.begin(), json.end());
        }
      });
}

Step failure(Rng& rng, Bias) {
  const std::string operation =
      rng.pick(std::vector<std::string>{"loadAll", "save", "reload", "start"});
  const int times = rng.pick(std::vector<int>{1, 1, 2, 3, -1, 0, 0});
  return changeStep("\"" + operation + "\" fails " + std::to_string(times) +
                        " time(s) (0: works again, -1: until told)",
                    [operation, times](Mac& mac) {
                      auto& failures = mac.networkExtension.failures;
                      failures[operation] = sim::ScriptedFailure{
                          "The " + operation + " failed.", times};
                      if (times == 0) {
                        failures.erase(operation);
                      }
                    });
}

Step wifi(Rng& rng, Bias) {
  const bool interface = rng.chance(0.85);
  const std::string name =
      rng.pick(std::vector<std::string>{"Home", "", "Caf\xC3\xA9"});
  const auto ssid = rng.chance(0.6) ? std::optional(name) : std::nullopt;
  return changeStep(std::string("Wi-Fi: ") +
                        (interface ? "interface" : "no interface") +
                        (ssid ? ", network \"" + *ssid + "\"" : ", no network"),
                    [interface, ssid](Mac& mac) {
                      mac.wifi.hasInterface = interface;
                      mac.wifi.ssid = ssid;
                    });
}

// How long started tunnels take to connect, stopped ones to disconnect,
// and started ones to drop by themselves, leaving an error.
Step timing(Rng& rng, Bias) {
  using Error = platform::PlatformError;
  static const std::vector<std::pair<const char*, platform::MaybeError>>
      kDropErrors = {
          {"no error", std::nullopt},
          {"HalvornMesh 2", Error{"HalvornMesh", 2, "No identity.", {}}},
          {"session_expired", Error{"HalvornMesh", 1, "Expired.",
                                    dict({{"errorCode", "session_expired"}})}},
          {"an unknown code",
           Error{"HalvornMesh", 1, "Odd.", dict({{"errorCode", "weird"}})}},
          {"another domain",
           Error{"NEVPNConnectionErrorDomain", 7, "Gone.", {}}}};
  static const char* const kWhat[] = {"connect", "disconnect", "drop"};
  const int what = rng.below(3);
  const double seconds = rng.pick(std::vector<std::vector<double>>{
      {-1, 0, 0.5, 1, 3, 45}, {-1, 0, 1, 12, 20}, {-1, 0.5, 2, 30}}[what]);
  const auto& [errorText, error] = rng.pick(kDropErrors);
  const auto delay =
      seconds < 0 ? std::nullopt : std::optional(platform::seconds(seconds));
  return changeStep(std::string("tunnels ") + kWhat[what] + " after " +
                        (delay ? secondsText(seconds) : "never") +
                        (what == 2 ? std::string(" with ") + errorText : ""),
                    [what, delay, error = error](Mac& mac) {
                      auto& ne = mac.networkExtension;
                      (what == 0   ? ne.connectDelay
                       : what == 1 ? ne.stopDelay
                                   : ne.dropDelay) = delay;
                      ne.dropError = what == 2 ? error : ne.dropError;
                    });
}

Step hold(Rng& rng, Bias) {
  std::vector<std::string> operations = {"", ""};  // nothing held
  for (const std::string& operation : sim::SimHolds::operations()) {
    operations.push_back(operation);
  }
  const std::string operation = rng.pick(operations);
  return changeStep(
      operation.empty() ? "the Mac holds nothing more"
                        : "the Mac holds every \"" + operation + "\"",
      [operation](Mac& mac) {
        mac.holds.hold(operation.empty() ? std::set<std::string>()
                                         : std::set<std::string>{operation});
      });
}

Step release(Rng& rng, Bias) {
  const size_t which = size_t(rng.below(3));
  const std::optional<std::string> failure = failingIf(rng.chance(0.3));
  return changeStep(
      "the Mac releases held completion #" + std::to_string(which) +
          (failure ? " with a failure" : ""),
      [which, failure](Mac& mac) {
        if (auto held = mac.holds.held(); !held.empty()) {
          mac.holds.release(held[which % held.size()].id, failure);
        }
      });
}

Step teardown(Rng&, Bias) {
  return makeStep(Step::Kind::kTeardown,
                  "the engine goes away; new plugins are registered");
}

}  // namespace

const std::vector<StepKind>& macChanges() {
  static const std::vector<StepKind> kKinds = {{{36, 52, 53}, status},
                                               {{10, 12, 13}, profile},
                                               {{26, 17, 53}, extensionAnswer},
                                               {{26, 52, 7}, providerAnswer},
                                               {{26, 29, 33}, failure},
                                               {{57, 30, 51}, knob},
                                               {{10, 3, 10}, wifi},
                                               {{16, 29, 20}, timing},
                                               {{8, 9, 10}, hold},
                                               {{13, 15, 17}, release},
                                               {{3, 3, 3}, teardown}};
  return kKinds;
}

Step installExtension(bool mesh) {
  return set(knobs()[mesh ? 0 : 1], 0);
}

Step changeStep(std::string text, std::function<void(Mac&)> change) {
  Step step = makeStep(Step::Kind::kChange, std::move(text));
  step.change = std::move(change);
  return step;
}

}  // namespace movaro::stress
