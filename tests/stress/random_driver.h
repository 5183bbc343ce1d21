// Runs a scenario on a fresh pair of plugins and checks, after every step,
// the rules every run must keep: one answer per call and in the right
// shape, events of the known kinds and only while listening, one status
// observer at most, every call answered by its deadline, and nothing
// answered, sent or left pending once the plugins are gone.
#ifndef MOVARO_TESTS_STRESS_RANDOM_DRIVER_H_
#define MOVARO_TESTS_STRESS_RANDOM_DRIVER_H_

#include <gtest/gtest-spi.h>

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include "stress/mac_changes.h"
#include "stress/random_steps.h"
#include "stress/reply_rules.h"
#include "stress/scenario_generator.h"

namespace movaro::stress {

using platform::Duration;
using testing::ReplyPtr;

// How long a mesh call may stay unanswered, counted from the call or from
// the last moment the Mac held a completion back, whichever is later.
// Unheld, profile loads, saves and reloads answer at once in the
// simulation.
struct MeshBounds {
  // One provider message, which times out after 5 s.
  static constexpr double kStatus = 5.0;
  // The 40 s start deadline, the 1 s grace before a stopped tunnel counts
  // as failed, and 5 s of margin.
  static constexpr double kLogin = 40.0 + 1.0 + 5.0;
  // The 10 s stop deadline, and one 0.1 s poll.
  static constexpr double kDown = 10.0 + 0.1;
  // 15 s waiting for a running operation, 5 s for the "logout" message,
  // 15 s of clean-up, up to 5 s for a "status" message still out at that
  // deadline and one 0.1 s poll (40.1 s), rounded up to 41 s.
  static constexpr double kLogout = 41.0;
};

struct Violation {
  size_t step = 0;   // steps done when it was found
  std::string kind;  // stable across replays, for shrinking
  std::string message;
};

struct RunResult {
  std::optional<Violation> violation;
  size_t stepsRun = 0;
};

class ScenarioRun : public testing::PluginHarness {
 public:
  explicit ScenarioRun(const ::testing::TestPartResultArray& harnessFailures)
      : harnessFailures_(harnessFailures) {}

  RunResult run(const Scenario& scenario) {
    RunResult result;
    for (const Step& step : scenario.steps) {
      ++stepIndex_;
      apply(step);
      ++result.stepsRun;
      if (violation_) {
        break;
      }
    }
    if (!violation_) {
      finish(scenario.earlyTeardown);
    }
    result.violation = violation_;
    return result;
  }

 private:
  struct TrackedCall {
    size_t step = 0;
    std::string channel;
    std::string method;
    Duration madeAt{0};
    ReplyPtr reply;
    bool validLogin = false;
    bool accepted = false;  // a login that got past its checks
    bool checked = false;   // its answer has been looked at
    int engine = 0;         // the engine whose plugins took it
  };

  // What the simulated Mac was told and the plugins must follow.
  struct Model {
    // The tunnel's extension request a connect waits for, and that connect.
    std::optional<size_t> tunnelRequest;
    std::optional<size_t> tunnelWaiter;
    // The mesh extension request in flight, the "prepareVpn" waiting for
    // it, and when the system last asked for approval.
    std::optional<size_t> meshRequest;
    std::optional<size_t> meshWaiter;
    std::optional<Duration> approvalAt;
    bool listening = false;
  };

  Duration now() const { return mac.dispatch.elapsed(); }
  double nowSeconds() const {
    return std::chrono::duration<double>(now()).count();
  }

  void fail(const std::string& kind, const std::string& message) {
    if (!violation_) {
      violation_ = Violation{stepIndex_, kind, message};
    }
  }

  bool isMesh(const TrackedCall& call) const { return call.channel == kMesh; }

  std::string name(const TrackedCall& call) const {
    return (isMesh(call)              ? "mesh."
            : call.channel == kEvents ? "events."
                                      : "main.") +
           call.method;
  }

  // Lets callbacks on other threads finish, then runs what they posted.
  void settle() {
    for (int round = 0; round < 100; ++round) {
      mac.notifications.joinCallbacks();
      mac.runUntilIdle();
      mac.notifications.joinCallbacks();
      std::optional<Duration> next = mac.dispatch.nextDueIn();
      if (!next || *next > Duration::zero()) {
        return;
      }
    }
  }

  bool engineAvailable() const {
    if (mac.system.version.major < 13) {
      return false;
    }
    std::string path = mac.extensionPath(testing::kMeshProvider);
    auto bundle = mac.fileManager.virtualBundles.find(path);
    if (bundle == mac.fileManager.virtualBundles.end()) {
      return false;
    }
    const Value* flag = find(bundle->second.info, "HalvornEngineAvailable");
    return flag != nullptr && *flag == Value("1");
  }

  // Indices of the submitted requests of one extension, oldest first.
  std::vector<size_t> requestsOf(const std::string& identifier) const {
    std::vector<size_t> indices;
    const auto& submitted = mac.systemExtensions.submitted();
    for (size_t i = 0; i < submitted.size(); ++i) {
      if (submitted[i].request->identifier() == identifier) {
        indices.push_back(i);
      }
    }
    return indices;
  }

  // Whether a call to the current plugins is still unanswered.
  bool outstanding(const char* channel, const std::string& method) const {
    return std::any_of(calls_.begin(), calls_.end(), [&](const auto& c) {
      return c.engine == engine_ && c.channel == channel &&
             c.method == method && !c.reply->answered();
    });
  }

  // The engine goes: calls the old plugins took may still be answered,
  // once, by a chain that goes on without them, but need not be. A connect
  // past its profile load holds its plugin until the Mac answers, so the
  // plugin of an unanswered connect may live on, with its observer and its
  // status events, for as long as the Mac holds that connect back.
  void newEngine() {
    oldPluginMayLive_ = oldPluginMayLive_ || outstanding(kMain, "connect");
    teardown();
    registerPlugins();
    ++engine_;
    model_ = Model{};
  }

  // ---- Steps ----

  void apply(const Step& step) {
    // Callbacks still running on other threads finish before the step
    // changes anything they read.
    mac.notifications.joinCallbacks();
    bool loopRan = false;
    switch (step.op) {
      case Op::kCall:
        makeCall(step);
        break;
      case Op::kIdle:
        settle();
        loopRan = true;
        break;
      case Op::kAdvance:
        mac.advance(step.seconds);
        settle();
        loopRan = true;
        break;
      case Op::kAnswerExtension:
        answerExtension(step);
        break;
      case Op::kTeardown:
        newEngine();
        break;
      default:
        applyMacChange(mac, step);
        break;
    }
    check(loopRan);
  }

  void makeCall(const Step& step) {
    TrackedCall tracked;
    tracked.step = stepIndex_;
    tracked.channel = step.channel;
    tracked.method = step.method;
    tracked.madeAt = now();
    tracked.validLogin = step.validLogin;
    tracked.engine = engine_;
    const bool engine = engineAvailable();
    const bool meshOperationRunning =
        outstanding(kMesh, "login") || outstanding(kMesh, "logout");
    const bool loginAccepted =
        std::any_of(calls_.begin(), calls_.end(), [this](const auto& c) {
          return c.engine == engine_ && c.accepted && !c.reply->answered();
        });
    const size_t submittedBefore = mac.systemExtensions.submitted().size();

    tracked.reply = call(step.channel, step.method, step.arguments);
    const bool sync = tracked.reply->answered();
    const size_t id = calls_.size();

    if (!sync && mustAnswerAtOnce(step.channel, step.method)) {
      fail("sync:" + name(tracked),
           name(tracked) + " was not answered before the call returned");
    }
    const auto& submitted = mac.systemExtensions.submitted();
    bool submittedOne = submitted.size() > submittedBefore;
    std::string identifier =
        submittedOne ? submitted.back().request->identifier() : "";

    if (step.channel == kEvents) {
      model_.listening = step.method == "listen";
    } else if (step.channel == kMain) {
      if (submittedOne && identifier == testing::kVpnProvider) {
        model_.tunnelRequest = submitted.size() - 1;
        model_.tunnelWaiter = sync ? std::nullopt : std::optional(id);
      }
      if (step.method == "disconnect") {
        model_.tunnelWaiter.reset();
      }
    } else if (step.method == "login") {
      checkLoginAtOnce(tracked, sync, engine, meshOperationRunning,
                       loginAccepted);
      tracked.accepted = !sync;
    } else if (step.method == "prepareVpn") {
      if (!engine && !(sync && tracked.reply->envelope &&
                       replyValue(*tracked.reply) == Value(false))) {
        fail("prepare:engine",
             "mesh.prepareVpn without the engine was not answered false at "
             "once");
      }
      if (engine && sync) {
        fail("prepare:wait",
             "mesh.prepareVpn with the engine answered before its request "
             "had an outcome: " +
                 describeReply(*tracked.reply));
      }
      if (submittedOne && identifier == testing::kMeshProvider) {
        model_.meshRequest = submitted.size() - 1;
        model_.approvalAt.reset();
      }
      if (!sync) {
        model_.meshWaiter = id;
      }
    } else if (step.method == "down" || step.method == "logout") {
      model_.meshWaiter.reset();
    } else if (step.method == "capabilities" && sync) {
      Value expected =
          mac.system.version.major < 13
              ? Value(dict({{"available", false},
                            {"reasonCode", "requires_macos_13"}}))
              : Value(dict(
                    {{"available", engine},
                     {"reasonCode", engine ? "ready" : "runtime_missing"}}));
      if (tracked.reply->envelope && replyValue(*tracked.reply) != expected) {
        fail("capabilities", "mesh.capabilities answered " +
                                 describeReply(*tracked.reply) + ", expected " +
                                 jsonOf(expected));
      }
    }
    calls_.push_back(std::move(tracked));
  }

  // What a login must have done before the call returned.
  void checkLoginAtOnce(const TrackedCall& call,
                        bool sync,
                        bool engine,
                        bool meshOperationRunning,
                        bool loginAccepted) {
    std::string code;
    if (sync) {
      const ErrorEnvelope* error = call.reply->error();
      code = error ? error->code : "(not an error)";
    }
    auto expect = [&](bool ok, const std::string& kind,
                      const std::string& rule) {
      if (!ok) {
        fail("login:" + kind, "mesh.login " + rule + ", but it was " +
                                  (sync ? "answered at once with " + code
                                        : std::string("accepted")));
      }
    };
    if (!engine) {
      expect(sync && code == "runtime_missing", "engine",
             "without the engine must be refused at once with "
             "runtime_missing");
    } else if (loginAccepted) {
      expect(sync && code == "connection_failed", "second",
             "while another login runs must be refused at once with "
             "connection_failed");
    } else if (!call.validLogin) {
      expect(sync && (code == "invalid_request" ||
                      (meshOperationRunning && code == "connection_failed")),
             "invalid",
             "with a rule broken must be refused at once with "
             "invalid_request");
    } else if (!meshOperationRunning) {
      expect(!sync, "busy",
             "with valid arguments while no login or logout runs must be "
             "accepted (the busy flag must be clear)");
    } else {
      expect(!sync || code == "connection_failed", "during-logout",
             "with valid arguments during a logout is accepted or refused "
             "with connection_failed");
    }
  }

  void answerExtension(const Step& step) {
    bool mesh = step.text == "mesh";
    std::vector<size_t> requests =
        requestsOf(mesh ? testing::kMeshProvider : testing::kVpnProvider);
    if (requests.size() <= static_cast<size_t>(step.extra)) {
      return;
    }
    size_t index =
        requests[requests.size() - 1 - static_cast<size_t>(step.extra)];
    auto outcome = static_cast<ActivationOutcome>(step.value);
    mac.systemExtensions.answer(index, outcome);
    bool ends = outcome == ActivationOutcome::kCompleted ||
                outcome == ActivationOutcome::kWillCompleteAfterReboot ||
                outcome == ActivationOutcome::kFailed;
    if (mesh && model_.meshRequest == index) {
      if (outcome == ActivationOutcome::kNeedsApproval) {
        model_.approvalAt = now();
      } else if (ends) {
        model_.meshRequest.reset();
        model_.meshWaiter.reset();
        model_.approvalAt.reset();
      }
    }
    if (!mesh && model_.tunnelRequest == index) {
      if (outcome == ActivationOutcome::kNeedsApproval) {
        model_.tunnelWaiter.reset();
      } else if (ends) {
        model_.tunnelRequest.reset();
        model_.tunnelWaiter.reset();
      }
    }
  }

  // ---- Invariants ----

  // Whether an unanswered call may still wait, by what the Mac was told.
  bool mayWait(size_t id) {
    const TrackedCall& call = calls_[id];
    if (call.channel == kMain && call.method == "connect") {
      return model_.tunnelWaiter == id;
    }
    if (call.channel == kMain && call.method == "getCurrentWifiSsid") {
      // Only the first waiting request, while the user has not decided.
      for (size_t i = 0; i < id; ++i) {
        if (calls_[i].engine == engine_ && calls_[i].channel == kMain &&
            calls_[i].method == "getCurrentWifiSsid" &&
            !calls_[i].reply->answered()) {
          return false;
        }
      }
      return mac.location.status == platform::kLocationNotDetermined;
    }
    if (call.channel == kMesh && call.method == "prepareVpn") {
      return model_.meshWaiter == id && model_.meshRequest.has_value();
    }
    return false;
  }

  std::optional<double> meshBound(const std::string& method) const {
    if (method == "status") {
      return MeshBounds::kStatus;
    }
    if (method == "login") {
      return MeshBounds::kLogin;
    }
    if (method == "down") {
      return MeshBounds::kDown;
    }
    if (method == "logout") {
      return MeshBounds::kLogout;
    }
    return std::nullopt;
  }

  void check(bool loopRan) {
    if (static_cast<size_t>(harnessFailures_.size()) > harnessFailuresSeen_) {
      const auto& failure = harnessFailures_.GetTestPartResult(
          static_cast<int>(harnessFailuresSeen_));
      harnessFailuresSeen_ = static_cast<size_t>(harnessFailures_.size());
      fail("harness",
           std::string("the harness reported: ") + failure.message());
    }
    if (model_.approvalAt &&
        now() >= *model_.approvalAt + std::chrono::seconds(240)) {
      // The approval deadline has passed: the request is given up.
      model_.meshRequest.reset();
      model_.meshWaiter.reset();
      model_.approvalAt.reset();
    }
    // While the Mac holds a completion back, a call may wait on it.
    const bool holding = !mac.holds.held().empty();
    if (holding) {
      heldUntil_ = now();
    }
    for (size_t id = 0; id < calls_.size(); ++id) {
      TrackedCall& call = calls_[id];
      if (call.reply->count > 1) {
        fail("twice:" + name(call),
             name(call) + " (step " + std::to_string(call.step) +
                 ") was answered " + std::to_string(call.reply->count) +
                 " times");
      }
      if (call.reply->answered()) {
        if (!call.checked) {
          call.checked = true;
          if (std::optional<std::string> problem =
                  replyProblem(call.channel, call.method, *call.reply)) {
            fail("shape:" + name(call), name(call) + " (step " +
                                            std::to_string(call.step) +
                                            "): " + *problem);
          }
        }
        continue;
      }
      if (call.engine != engine_) {
        continue;
      }
      if (isMesh(call)) {
        if (std::optional<double> bound = meshBound(call.method)) {
          if (now() - std::max(call.madeAt, heldUntil_) >
              platform::seconds(*bound)) {
            fail("late:" + name(call),
                 name(call) + " made at " +
                     secondsText(
                         std::chrono::duration<double>(call.madeAt).count()) +
                     " is still unanswered at " + secondsText(nowSeconds()) +
                     " (bound " + secondsText(*bound) + ")");
          }
          continue;
        }
      }
      if (loopRan && !holding && !mayWait(id)) {
        fail("unanswered:" + name(call),
             name(call) + " (step " + std::to_string(call.step) +
                 ") is unanswered although the main queue is idle");
      }
    }
    for (; eventsSeen_ < events.size(); ++eventsSeen_) {
      const Value& event = events[eventsSeen_];
      if (!isKnownEvent(event)) {
        fail("event", "unknown event " + jsonOf(event));
      }
      if (!model_.listening && !oldPluginMayLive_) {
        fail("event:unheard",
             "event " + jsonOf(event) + " was sent while nobody listened");
      }
    }
    if (mac.networkExtension.observerCount() >
        (oldPluginMayLive_ ? 1u + static_cast<size_t>(engine_) : 1u)) {
      fail("observers", std::to_string(mac.networkExtension.observerCount()) +
                            " status observers are registered");
    }
    if (mac.dispatch.stalled()) {
      fail("stalled", "the main queue never settles");
    }
  }

  void expectNothingPending(const std::string& when) {
    size_t pending = mac.dispatch.pendingCount();
    if (pending != 0) {
      std::optional<Duration> next = mac.dispatch.nextDueIn();
      fail("pending:" + when,
           std::to_string(pending) + " task(s) still pending " + when +
               (next ? ", the next due in " +
                           secondsText(
                               std::chrono::duration<double>(*next).count())
                     : std::string()));
    }
  }

  // Everything the Mac could still deliver: every request answered, the
  // user's decision, status changes, callbacks on other threads, timers.
  void deliverEverything() {
    static const ActivationOutcome kOutcomes[] = {
        ActivationOutcome::kNeedsApproval, ActivationOutcome::kCompleted,
        ActivationOutcome::kFailed,
        ActivationOutcome::kWillCompleteAfterReboot};
    const size_t requests = mac.systemExtensions.submitted().size();
    for (size_t i = 0; i < requests; ++i) {
      mac.systemExtensions.answer(i, kOutcomes[i % 4]);
      mac.systemExtensions.answer(i, ActivationOutcome::kCompleted);
    }
    mac.location.decide(platform::kLocationAuthorizedAlways);
    for (auto& saved : mac.networkExtension.saved()) {
      saved.connection->setStatus(platform::kVpnStatusConnected);
    }
    settle();
    for (auto& saved : mac.networkExtension.saved()) {
      saved.connection->setStatus(platform::kVpnStatusDisconnected);
    }
    mac.advance(600);
    settle();
  }

  void finish(bool early) {
    // The Mac delivers what it still holds.
    releaseAll();
    settle();
    if (early) {
      settle();
      check(true);
    } else {
      mac.advance(600);
      settle();
      check(true);
      expectNothingPending("600 s after the last step");
      if (!violation_) {
        probeBusyFlag();
      }
    }
    if (violation_) {
      return;
    }
    std::vector<int> counts;
    for (const TrackedCall& call : calls_) {
      counts.push_back(call.reply->count);
    }
    const size_t eventsBefore = events.size();
    teardown();
    deliverEverything();
    for (size_t id = 0; id < calls_.size(); ++id) {
      if (calls_[id].reply->count != counts[id]) {
        fail("after-teardown:" + name(calls_[id]),
             name(calls_[id]) + " (step " + std::to_string(calls_[id].step) +
                 ") was answered after the plugins were gone: " +
                 describeReply(*calls_[id].reply));
      }
    }
    if (events.size() != eventsBefore) {
      fail("after-teardown:event", "event " + jsonOf(events[eventsBefore]) +
                                       " was sent after the plugins were gone");
    }
    expectNothingPending("after the plugins were gone");
    if (mac.networkExtension.observerCount() != 0) {
      fail("observers:after-teardown",
           "a status observer is still registered after the plugins went");
    }
    if (mac.dispatch.stalled()) {
      fail("stalled", "the main queue never settles after teardown");
    }
    if (static_cast<size_t>(harnessFailures_.size()) > harnessFailuresSeen_) {
      fail("harness",
           std::string("the harness reported: ") +
               harnessFailures_
                   .GetTestPartResult(static_cast<int>(harnessFailuresSeen_))
                   .message());
    }
  }

  // With every login and logout over, nothing may hold the busy flag: a
  // valid login must be accepted rather than refused at once.
  void probeBusyFlag() {
    ++stepIndex_;
    Step probe;
    probe.op = Op::kCall;
    probe.channel = kMesh;
    probe.method = "login";
    probe.arguments = baseLogin();
    probe.validLogin = true;
    mac.notifications.joinCallbacks();
    makeCall(probe);
    check(false);
    mac.advance(600);
    settle();
    check(true);
    expectNothingPending("600 s after the busy-flag probe");
  }

  const ::testing::TestPartResultArray& harnessFailures_;
  size_t harnessFailuresSeen_ = 0;
  std::vector<TrackedCall> calls_;
  size_t eventsSeen_ = 0;
  size_t stepIndex_ = 0;
  int engine_ = 0;
  bool oldPluginMayLive_ = false;
  // The last check at which the Mac held a completion back.
  Duration heldUntil_{-1};
  Model model_;
  std::optional<Violation> violation_;
};

// Runs one scenario on a fresh Mac. The harness's own expectations are
// collected rather than reported, so that a failing run can be replayed
// while it is shortened.
inline RunResult runScenario(const Scenario& scenario) {
  ::testing::TestPartResultArray failures;
  RunResult result;
  {
    ::testing::ScopedFakeTestPartResultReporter reporter(
        ::testing::ScopedFakeTestPartResultReporter::INTERCEPT_ALL_THREADS,
        &failures);
    ScenarioRun run(failures);
    result = run.run(scenario);
  }
  if (!result.violation && failures.size() > 0) {
    result.violation = Violation{result.stepsRun, "harness",
                                 std::string("the harness reported: ") +
                                     failures.GetTestPartResult(0).message()};
  }
  return result;
}

}  // namespace movaro::stress

#endif  // MOVARO_TESTS_STRESS_RANDOM_DRIVER_H_
