// Draws random scenarios: an opening that fits the scenario's bias, then
// calls, changes of the simulated Mac and the passing of time.
#ifndef MOVARO_TESTS_STRESS_SCENARIO_GENERATOR_H_
#define MOVARO_TESTS_STRESS_SCENARIO_GENERATOR_H_

#include <string>
#include <vector>

#include "stress/call_arguments.h"
#include "stress/random_steps.h"

namespace movaro::stress {

// Each scenario draws from its own generator, seeded with its seed, so a
// seed alone replays it.
class ScenarioGenerator {
 public:
  explicit ScenarioGenerator(uint64_t seed) : rng_(seed) {}

  Scenario scenario(uint64_t seed) {
    Scenario result;
    result.seed = seed;
    result.bias = static_cast<Bias>(rng_.weighted({4, 3, 3}));
    result.earlyTeardown = rng_.chance(0.3);
    bias_ = result.bias;
    opening(result.steps);
    int count = rng_.between(30, 80);
    while (static_cast<int>(result.steps.size()) < count) {
      result.steps.push_back(step());
    }
    return result;
  }

 private:
  // A stage fitting the bias: the mesh engine, the tunnel extension.
  void opening(std::vector<Step>& steps) {
    if (bias_ == Bias::kMesh) {
      if (rng_.chance(0.9)) {
        steps.push_back(bundle(kInstallEngine));
      }
      if (rng_.chance(0.3)) {
        steps.push_back(addProfile());
      }
    } else if (bias_ == Bias::kTunnel) {
      if (rng_.chance(0.7)) {
        steps.push_back(bundle(kInstallTunnel));
      }
      if (rng_.chance(0.5)) {
        steps.push_back(listen());
      }
      if (rng_.chance(0.5)) {
        Step push = call(PluginHarness::kMain, "pushConfig",
                         dict({{"config", testing::kValidConfig}}));
        steps.push_back(push);
      }
    } else {
      int count = rng_.below(3);
      for (int i = 0; i < count; ++i) {
        steps.push_back(platformEvent());
      }
    }
  }

  Step step() {
    int kind = 0;
    switch (bias_) {
      case Bias::kMixed:
        kind = rng_.weighted({30, 15, 4, 1, 15, 12, 23});
        break;
      case Bias::kMesh:
        kind = rng_.weighted({6, 34, 1, 1, 15, 18, 25});
        break;
      case Bias::kTunnel:
        kind = rng_.weighted({34, 5, 6, 1, 15, 12, 27});
        break;
    }
    switch (kind) {
      case 0:
        return mainCall();
      case 1:
        return meshCall();
      case 2:
        return rng_.chance(0.6) ? listen() : cancel();
      case 3:
        return unknownMethod();
      case 4: {
        Step idle;
        idle.op = Op::kIdle;
        return idle;
      }
      case 5:
        return advance();
      default:
        return platformEvent();
    }
  }

  static Step call(const char* channel,
                   const std::string& method,
                   Value arguments = Value()) {
    Step step;
    step.op = Op::kCall;
    step.channel = channel;
    step.method = method;
    step.arguments = std::move(arguments);
    return step;
  }
  static Step listen() { return call(PluginHarness::kEvents, "listen"); }
  static Step cancel() { return call(PluginHarness::kEvents, "cancel"); }

  Step unknownMethod() {
    static const std::vector<std::string> kMain = {"Connect", "connectTunnel",
                                                   ""};
    static const std::vector<std::string> kMesh = {"Status", "ping", "login "};
    return rng_.chance(0.5) ? call(PluginHarness::kMain, rng_.pick(kMain))
                            : call(PluginHarness::kMesh, rng_.pick(kMesh));
  }

  Step mainCall() {
    static const std::vector<std::string> kMethods(kMainMethods.begin(),
                                                   kMainMethods.end());
    int index = bias_ == Bias::kTunnel
                    ? rng_.weighted({6, 8, 25, 15, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1,
                                     6, 6, 3, 2})
                    : rng_.weighted({5, 6, 12, 8, 2, 2, 3, 4, 4, 2, 2, 2, 2, 2,
                                     5, 6, 6, 6});
    const std::string& method = kMethods[static_cast<size_t>(index)];
    return call(PluginHarness::kMain, method, mainArguments(rng_, method));
  }

  Step login() {
    LoginArguments login = loginArguments(rng_);
    Step step = call(PluginHarness::kMesh, "login", login.arguments);
    step.validLogin = login.valid;
    return step;
  }

  Step meshCall() {
    static const std::vector<std::string> kMethods(kMeshMethods.begin(),
                                                   kMeshMethods.end());
    int index = bias_ == Bias::kMesh ? rng_.weighted({1, 3, 10, 5, 5, 8})
                                     : rng_.weighted({2, 4, 8, 4, 4, 6});
    const std::string& method = kMethods[static_cast<size_t>(index)];
    if (method == "login") {
      return login();
    }
    return call(PluginHarness::kMesh, method,
                rng_.chance(0.2) ? junkArguments(rng_) : Value());
  }

  Step advance() {
    Step step;
    step.op = Op::kAdvance;
    switch (rng_.weighted({5, 35, 25, 20, 15})) {
      case 0:
        step.seconds = 0;
        break;
      case 1:
        step.seconds = rng_.between(1, 10) / 10.0;
        break;
      case 2:
        step.seconds = rng_.between(10, 60) / 10.0;
        break;
      case 3:
        step.seconds = rng_.chance(0.8) ? rng_.between(5, 45)
                                        : rng_.between(500, 4500) / 100.0;
        break;
      default:
        step.seconds = rng_.between(40, 250);
        break;
    }
    return step;
  }

  int tunnelStatus() {
    static const std::vector<int> kOdd = {6, -1, 99};
    int index = rng_.weighted({8, 20, 15, 25, 10, 12, 5});
    return index < 6 ? index : rng_.pick(kOdd);
  }

  Step addProfile() {
    static const std::vector<std::string> kKinds = {
        "vpn", "mesh", "mesh with an upper-case namespace",
        "mesh without provider configuration", "other provider"};
    Step step;
    step.op = Op::kAddProfile;
    step.text = bias_ == Bias::kMesh && rng_.chance(0.6) ? kKinds[1]
                                                         : rng_.pick(kKinds);
    step.value = rng_.chance(0.6) ? 1 : tunnelStatus();
    return step;
  }

  static Step bundle(BundleChange change) {
    Step step;
    step.op = Op::kBundle;
    step.value = change;
    return step;
  }

  Step platformEvent() {
    int kind = 0;
    switch (bias_) {
      case Bias::kMixed:
        kind = rng_.weighted({14, 4, 10, 10, 10, 5, 4, 5, 4, 3, 5, 6, 3, 5, 1});
        break;
      case Bias::kMesh:
        kind = rng_.weighted({18, 4, 6, 18, 10, 1, 1, 1, 1, 3, 4, 10, 3, 5, 1});
        break;
      case Bias::kTunnel:
        kind = rng_.weighted({16, 4, 16, 2, 10, 3, 3, 3, 2, 2, 5, 6, 3, 5, 1});
        break;
    }
    Step step;
    switch (kind) {
      case 0: {
        step.op = Op::kSetStatus;
        static const std::vector<std::string> kTargets = {"vpn", "mesh",
                                                          "saved"};
        if (bias_ == Bias::kMesh) {
          step.text = kTargets[static_cast<size_t>(rng_.weighted({1, 8, 1}))];
        } else if (bias_ == Bias::kTunnel) {
          step.text = kTargets[static_cast<size_t>(rng_.weighted({8, 1, 1}))];
        } else {
          step.text = kTargets[static_cast<size_t>(rng_.weighted({4, 4, 2}))];
        }
        step.value = tunnelStatus();
        step.extra = rng_.below(4);
        return step;
      }
      case 1:
        return addProfile();
      case 2: {
        step.op = Op::kAnswerExtension;
        bool mesh = bias_ == Bias::kMesh     ? rng_.chance(0.85)
                    : bias_ == Bias::kTunnel ? rng_.chance(0.15)
                                             : rng_.chance(0.5);
        step.text = mesh ? "mesh" : "tunnel";
        step.value = rng_.weighted({35, 30, 10, 15, 10});
        step.extra = rng_.weighted({70, 20, 10});
        return step;
      }
      case 3: {
        step.op = Op::kProviderAnswer;
        static const std::vector<std::string> kCommands = {"status", "logout",
                                                           "*"};
        step.text = kCommands[static_cast<size_t>(rng_.weighted({5, 3, 1}))];
        step.value = rng_.weighted({2, 12, 2, 3, 2});
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
        step.json = rng_.pick(kJson);
        static const std::vector<double> kDelays = {0, 0, 0.5, 4.9, 5, 6, 12};
        step.seconds = rng_.pick(kDelays);
        return step;
      }
      case 4: {
        step.op = Op::kFailure;
        static const std::vector<std::string> kOperations = {"loadAll", "save",
                                                             "reload", "start"};
        step.text = rng_.pick(kOperations);
        static const std::vector<int> kTimes = {1, 1, 2, 3, -1, 0, 0};
        step.value = rng_.pick(kTimes);
        return step;
      }
      case 5:
        step.op = Op::kDecideLocation;
        step.value = rng_.weighted({2, 1, 2, 3, 2});
        return step;
      case 6: {
        step.op = Op::kWifi;
        step.value = rng_.chance(0.85) ? 1 : 0;
        step.extra = rng_.chance(0.6) ? 1 : 0;
        static const std::vector<std::string> kNames = {"Home", "",
                                                        "Caf\xC3\xA9"};
        step.text = step.extra != 0 ? rng_.pick(kNames) : "";
        return step;
      }
      case 7:
        step.op = Op::kNotifications;
        step.value = rng_.below(8);
        return step;
      case 8:
        step.op = Op::kLoginItem;
        step.value = rng_.below(11);
        return step;
      case 9: {
        step.op = Op::kOsVersion;
        static const std::vector<int> kVersions = {12, 13, 14};
        step.value = rng_.pick(kVersions);
        return step;
      }
      case 10:
        return bundle(static_cast<BundleChange>(
            bias_ == Bias::kMesh ? rng_.pick(std::vector<int>{2, 2, 2, 3, 4, 5})
            : bias_ == Bias::kTunnel
                ? rng_.pick(std::vector<int>{0, 0, 0, 1, 2})
                : rng_.below(6)));
      case 12: {
        step.op = Op::kHold;
        static const std::vector<std::string> kHeld = {
            "",
            "",
            "loadAll",
            "save",
            "reload",
            "start",
            "stop",
            "lastDisconnectError",
            "providerMessage",
            "notificationAuthorization",
            "notificationAdd",
            "locationDecision"};
        step.text = rng_.pick(kHeld);
        return step;
      }
      case 13:
        step.op = Op::kRelease;
        step.value = rng_.below(3);
        step.extra = rng_.chance(0.3) ? 1 : 0;
        return step;
      case 14:
        step.op = Op::kTeardown;
        return step;
      default: {
        step.op = Op::kTiming;
        static const std::vector<std::string> kWhat = {"connect", "stop",
                                                       "drop"};
        step.text = rng_.pick(kWhat);
        if (step.text == "connect") {
          static const std::vector<double> kDelays = {-1, 0, 0.5, 1, 3, 45};
          step.seconds = rng_.pick(kDelays);
        } else if (step.text == "stop") {
          static const std::vector<double> kDelays = {-1, 0, 1, 12, 20};
          step.seconds = rng_.pick(kDelays);
        } else {
          static const std::vector<double> kDelays = {-1, 0.5, 2, 30};
          step.seconds = rng_.pick(kDelays);
          step.value = rng_.below(5);
        }
        return step;
      }
    }
  }

  Rng rng_;
  Bias bias_ = Bias::kMixed;
};

inline Scenario generateScenario(uint64_t seed) {
  return ScenarioGenerator(seed).scenario(seed);
}

}  // namespace movaro::stress

#endif  // MOVARO_TESTS_STRESS_SCENARIO_GENERATOR_H_
