// Random scenarios over both plugins: calls on the three channels with
// valid, boundary and wrong-typed arguments, changes the simulated Mac makes
// on its own, extension answers, the passing of virtual time and the engine
// going away. A scenario is its seed and its list of steps; replaying the
// list replays the run, so a failing list can be shortened step by step.
// Below the scenarios, what they are drawn from.
#ifndef MOVARO_TESTS_SUPPORT_STRESS_SCENARIO_H_
#define MOVARO_TESTS_SUPPORT_STRESS_SCENARIO_H_

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "platform/sim/simulated_mac.h"

namespace movaro::stress {

struct Step {
  enum class Kind { kCall, kIdle, kAdvance, kAnswer, kTeardown, kChange };
  Kind kind = Kind::kIdle;
  // kCall; `validLogin`: a mesh "login" whose arguments pass every rule.
  std::string channel;
  std::string method;
  Value arguments;
  bool validLogin = false;
  // kAdvance
  double seconds = 0;
  // kAnswer: the mesh or tunnel extension request `age` back from the
  // latest is given `outcome`.
  bool mesh = false;
  int age = 0;
  sim::ActivationOutcome outcome = sim::ActivationOutcome::kCompleted;
  // kChange
  std::function<void(sim::SimulatedMac&)> change;
  // How the step reads in a report (a call without it: its arguments).
  std::string text;
};

struct Scenario {
  uint64_t seed = 0;
  // Tear the plugins down right after the last step, rather than once
  // everything has settled.
  bool earlyTeardown = false;
  // The notification center calls back on threads of its own.
  bool otherThreads = false;
  std::vector<Step> steps;
};

Scenario generateScenario(uint64_t seed, bool otherThreads);
Step makeStep(Step::Kind kind, std::string text);
// One readable line.
std::string describe(const Step& step);
// A call's method as "main.connect", "mesh.login" or "events.listen".
std::string methodName(const Step& call);
// A value on one line, the fixtures' configuration named.
std::string jsonOf(const Value& value);
// "1.50 s"
std::string secondsText(double seconds);
// The arguments of a login that passes every rule.
ValueMap baseLogin();

// splitmix64: small, fast and the same on every platform.
class Rng {
 public:
  explicit Rng(uint64_t seed) : state_(seed) {}
  uint64_t next();
  int below(int bound) { return static_cast<int>(next() % unsigned(bound)); }
  bool chance(double probability);
  // An index drawn with the given weights.
  int weighted(const std::vector<int>& weights);
  template <typename T>
  const T& pick(const std::vector<T>& items) {
    return items[static_cast<size_t>(below(static_cast<int>(items.size())))];
  }

 private:
  uint64_t state_;
};

// Where a scenario puts its weight.
enum Bias { kMixed, kMesh, kTunnel };

// A kind of step: its weights in a mixed, a mesh and a tunnel scenario, and
// how one is drawn.
struct StepKind {
  std::array<int, 3> weights;
  Step (*draw)(Rng& rng, Bias bias);
};

// The changes the Mac makes on its own, the engine going away among them.
const std::vector<StepKind>& macChanges();
// The mesh engine's bundle or the tunnel extension's installed.
Step installExtension(bool mesh);
Step changeStep(std::string text,
                std::function<void(sim::SimulatedMac&)> change);

Value junkArguments(Rng& rng);
// For a method of the main channel.
Value mainArguments(Rng& rng, const std::string& method);

struct LoginArguments {
  Value arguments;
  std::string text;  // how they differ from the base login
  bool valid = false;
};
LoginArguments loginArguments(Rng& rng);

}  // namespace movaro::stress

#endif  // MOVARO_TESTS_SUPPORT_STRESS_SCENARIO_H_
