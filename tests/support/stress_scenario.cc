#include "support/stress_scenario.h"

#include <cstdio>

#include "host/json_values.h"
#include "support/mesh_fixture.h"
#include "support/method_names.h"
#include "support/tunnel_fixture.h"

namespace movaro::stress {
namespace {

using testing::PluginHarness;

Step call(const char* channel,
          const std::string& method,
          Value arguments = Value()) {
  Step step = makeStep(Step::Kind::kCall, "");
  step.channel = channel;
  step.method = method;
  step.arguments = std::move(arguments);
  return step;
}

Step mainCall(Rng& rng, Bias) {
  const std::string method = testing::kMainMethods[size_t(
      rng.weighted({6, 7, 18, 12, 2, 2, 2, 3, 3, 2, 2, 2, 2, 2, 6, 6, 5, 4}))];
  return call(PluginHarness::kMain, method, mainArguments(rng, method));
}

Step meshCall(Rng& rng, Bias) {
  const std::string method =
      testing::kMeshMethods[size_t(rng.weighted({1, 3, 9, 5, 5, 7}))];
  if (method != "login") {
    return call(PluginHarness::kMesh, method,
                rng.chance(0.2) ? junkArguments(rng) : Value());
  }
  LoginArguments login = loginArguments(rng);
  Step step = call(PluginHarness::kMesh, method, login.arguments);
  step.validLogin = login.valid;
  step.text = login.text;
  return step;
}

Step stream(Rng& rng, Bias) {
  return call(PluginHarness::kEvents, rng.chance(0.6) ? "listen" : "cancel");
}

Step unknownMethod(Rng& rng, Bias) {
  const char* const kNames[] = {"Connect", "connectTunnel", "",
                                "Status",  "ping",          "login "};
  const int index = rng.below(6);
  return call(index < 3 ? PluginHarness::kMain : PluginHarness::kMesh,
              kNames[index]);
}

Step idle(Rng&, Bias) {
  return makeStep(Step::Kind::kIdle, "run the main queue until idle");
}

Step advance(Rng& rng, Bias) {
  const double seconds = std::vector<double>{
      0, rng.below(10) / 10.0 + 0.1, rng.below(51) / 10.0 + 1,
      rng.chance(0.8) ? 5.0 + rng.below(41) : rng.below(4001) / 100.0 + 5,
      40.0 + rng.below(211)}[size_t(rng.weighted({5, 35, 25, 20, 15}))];
  Step step = makeStep(Step::Kind::kAdvance, "advance " + secondsText(seconds));
  step.seconds = seconds;
  return step;
}

}  // namespace

Scenario generateScenario(uint64_t seed, bool otherThreads) {
  // Each scenario draws from its own source, seeded with its seed, so a
  // seed alone replays it.
  Rng rng(seed);
  Scenario scenario{seed, rng.chance(0.3), otherThreads, {}};
  const Bias bias = Bias(rng.weighted({4, 3, 3}));
  // A stage fitting the bias: the mesh engine, the tunnel extension.
  auto maybe = [&](double chance, Step step) {
    if (rng.chance(chance)) {
      scenario.steps.push_back(std::move(step));
    }
  };
  if (bias == kMesh) {
    maybe(0.9, installExtension(true));
  } else if (bias == kTunnel) {
    maybe(0.7, installExtension(false));
    maybe(0.5, call(PluginHarness::kEvents, "listen"));
    maybe(0.5, call(PluginHarness::kMain, "pushConfig",
                    dict({{"config", testing::kValidConfig}})));
  }
  std::vector<StepKind> kinds = {
      {{300, 60, 340}, mainCall}, {{150, 340, 50}, meshCall},
      {{40, 10, 60}, stream},     {{10, 10, 10}, unknownMethod},
      {{150, 150, 150}, idle},    {{120, 180, 120}, advance}};
  kinds.insert(kinds.end(), macChanges().begin(), macChanges().end());
  std::vector<int> weights;
  for (const StepKind& kind : kinds) {
    weights.push_back(kind.weights[bias]);
  }
  for (int count = 30 + rng.below(51); int(scenario.steps.size()) < count;) {
    scenario.steps.push_back(
        kinds[size_t(rng.weighted(weights))].draw(rng, bias));
  }
  return scenario;
}

std::string methodName(const Step& step) {
  return (step.channel == PluginHarness::kMesh     ? "mesh."
          : step.channel == PluginHarness::kEvents ? "events."
                                                   : "main.") +
         step.method;
}

std::string describe(const Step& step) {
  if (step.kind != Step::Kind::kCall) {
    return step.text;
  }
  return methodName(step) + (!step.text.empty() ? " " + step.text
                             : step.arguments.isNull()
                                 ? std::string()
                                 : " " + jsonOf(step.arguments));
}

std::string jsonOf(const Value& value) {
  static const std::string kConfig =
      host::dumpLine(host::valueToJson(Value(testing::kValidConfig)));
  const auto* text = value.getIf<std::string>();
  if (text && text->size() > 40 && *text != testing::kValidConfig) {
    return jsonOf(text->substr(0, 12)) + "... (" +
           std::to_string(text->size()) + " characters)";
  }
  std::string json = host::dumpLine(host::valueToJson(value));
  for (size_t at; (at = json.find(kConfig)) != std::string::npos;) {
    json.replace(at, kConfig.size(), "\"<valid config>\"");
  }
  return json.size() > 400 ? json.substr(0, 400) + "..." : json;
}

std::string secondsText(double seconds) {
  char buffer[32];
  std::snprintf(buffer, sizeof buffer, "%.2f s", seconds);
  return buffer;
}

Step makeStep(Step::Kind kind, std::string text) {
  Step step;
  step.kind = kind;
  step.text = std::move(text);
  return step;
}

ValueMap baseLogin() {
  return dict({{"accountNamespace", testing::kNamespace},
               {"controlUrl", "https://control.example.com:8443/m"},
               {"authKey", "tskey-auth-secret"},
               {"hostname", "work-laptop"},
               {"sessionExpiresAt", "2031-01-01T00:00:00Z"}});
}

}  // namespace movaro::stress
