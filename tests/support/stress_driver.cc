#include "support/stress_driver.h"

#include <gtest/gtest-spi.h>

#include <algorithm>

#include "support/mesh_fixture.h"
#include "support/stress_rules.h"
#include "support/tunnel_fixture.h"

namespace movaro::stress {
namespace {

using platform::Duration;
using testing::PluginHarness;
using testing::ReplyPtr;

std::string secondsOf(Duration duration) {
  return secondsText(std::chrono::duration<double>(duration).count());
}

class ScenarioRun : public PluginHarness {
 public:
  ScenarioRun(const ::testing::TestPartResultArray& failures, bool otherThreads)
      : failures_(failures) {
    mac.notifications.callbacksOnOtherThreads = otherThreads;
  }

  RunResult run(const Scenario& scenario) {
    RunResult result;
    for (const Step& step : scenario.steps) {
      if (violation_) {
        break;
      }
      ++stepIndex_;
      apply(step);
      ++result.stepsRun;
    }
    if (!violation_) {
      finish(scenario.earlyTeardown);
    }
    result.violation = violation_;
    return result;
  }

 private:
  struct Call {
    size_t step = 0;
    std::string name;  // "main.connect"
    Duration madeAt{0};
    ReplyPtr reply;
    int engine = 0;         // the engine whose plugins took it
    bool accepted = false;  // a login that got past its checks
    bool checked = false;   // its answer has been looked at
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

  void fail(const std::string& kind, const std::string& message) {
    if (!violation_) {
      violation_ = Violation{stepIndex_, kind, message};
    }
  }

  static std::string at(const Call& call) {
    return call.name + " (step " + std::to_string(call.step) + ")";
  }

  bool engineAvailable() const {
    auto& bundles = mac.fileManager.virtualBundles;
    auto bundle = bundles.find(mac.extensionPath(testing::kMeshProvider));
    return mac.system.version.major >= 13 && bundle != bundles.end() &&
           find(bundle->second.info, "HalvornEngineAvailable") &&
           *find(bundle->second.info, "HalvornEngineAvailable") == Value("1");
  }

  // Whether a call to the current plugins is still unanswered.
  bool outstanding(const std::string& name, bool acceptedOnly = false) const {
    return std::any_of(calls_.begin(), calls_.end(), [&](const Call& c) {
      return c.engine == engine_ && !c.reply->answered() &&
             (acceptedOnly ? c.accepted : c.name == name);
    });
  }

  void apply(const Step& step) {
    // Callbacks still running on other threads finish before the step
    // changes anything they read.
    mac.notifications.joinCallbacks();
    switch (step.kind) {
      case Step::Kind::kCall:
        makeCall(step);
        break;
      case Step::Kind::kAdvance:
        mac.advance(step.seconds);
        [[fallthrough]];
      case Step::Kind::kIdle:
        settle(*this);
        break;
      case Step::Kind::kAnswer:
        answerExtension(step);
        break;
      case Step::Kind::kTeardown:
        // Calls the old plugins took may still be answered, once, by a
        // chain that goes on without them, but need not be. A connect past
        // its profile load holds its plugin until the Mac answers, so the
        // plugin of an unanswered connect may live on, with its observer
        // and its status events, while the Mac holds that connect back.
        oldPluginMayLive_ = oldPluginMayLive_ || outstanding("main.connect");
        teardown();
        registerPlugins();
        ++engine_;
        model_ = Model{};
        break;
      case Step::Kind::kChange:
        step.change(mac);
        break;
    }
    check(step.kind == Step::Kind::kIdle || step.kind == Step::Kind::kAdvance);
  }

  void makeCall(const Step& step) {
    const std::string name = methodName(step);
    const LoginState login{
        engineAvailable(), step.validLogin,
        outstanding("", /*acceptedOnly=*/true),
        outstanding("mesh.login") || outstanding("mesh.logout")};
    const auto& submitted = mac.systemExtensions.submitted();
    const size_t requestsBefore = submitted.size();
    Call made{stepIndex_, name, now(),
              call(step.channel, step.method, step.arguments), engine_};
    const testing::ReplyRecord& reply = *made.reply;
    const bool sync = reply.answered();
    const size_t id = calls_.size();
    if (!sync && answersAtOnce(name)) {
      fail("sync:" + name, name + " was not answered before the call returned");
    }
    const size_t request = submitted.size() - 1;
    auto submittedFor = [&](const char* identifier) {
      return submitted.size() > requestsBefore &&
             submitted.back().request->identifier() == identifier;
    };
    if (step.channel == kEvents) {
      model_.listening = step.method == "listen";
    } else if (submittedFor(testing::kVpnProvider)) {
      model_.tunnelRequest = request;
      model_.tunnelWaiter = sync ? std::nullopt : std::optional(id);
    } else if (name == "main.disconnect") {
      model_.tunnelWaiter.reset();
    } else if (name == "mesh.login") {
      if (auto broken = loginProblem(login, reply)) {
        fail(broken->first, broken->second);
      }
      made.accepted = !sync;
    } else if (name == "mesh.prepareVpn") {
      if (login.engine == sync ||
          (!login.engine && replyValue(reply) != Value(false))) {
        fail("prepare",
             "mesh.prepareVpn must wait for its request with the "
             "engine, and be answered false at once without it; it "
             "was " +
                 describeReply(reply));
      }
      if (submittedFor(testing::kMeshProvider)) {
        model_.meshRequest = request;
        model_.approvalAt.reset();
      }
      model_.meshWaiter = sync ? model_.meshWaiter : id;
    } else if (name == "mesh.down" || name == "mesh.logout") {
      model_.meshWaiter.reset();
    } else if (name == "mesh.capabilities" && sync) {
      const Value expected =
          expectedCapabilities(mac.system.version.major, login.engine);
      if (replyValue(reply) != expected) {
        fail("capabilities", "mesh.capabilities answered " +
                                 describeReply(reply) + ", expected " +
                                 jsonOf(expected));
      }
    }
    calls_.push_back(std::move(made));
  }

  void answerExtension(const Step& step) {
    const char* identifier =
        step.mesh ? testing::kMeshProvider : testing::kVpnProvider;
    // The request `age` back from the latest of that extension.
    const auto& submitted = mac.systemExtensions.submitted();
    std::optional<size_t> index;
    for (size_t i = submitted.size(), age = 0; i-- > 0 && !index;) {
      if (submitted[i].request->identifier() == identifier &&
          age++ == size_t(step.age)) {
        index = i;
      }
    }
    if (!index) {
      return;
    }
    mac.systemExtensions.answer(*index, step.outcome);
    const bool approval =
        step.outcome == sim::ActivationOutcome::kNeedsApproval;
    const bool ends =
        !approval && step.outcome != sim::ActivationOutcome::kReplace;
    if (step.mesh && model_.meshRequest == index && (approval || ends)) {
      model_.approvalAt = now();
      if (ends) {
        dropMeshRequest();
      }
    }
    if (!step.mesh && model_.tunnelRequest == index && (approval || ends)) {
      model_.tunnelWaiter.reset();
      if (ends) {
        model_.tunnelRequest.reset();
      }
    }
  }

  void dropMeshRequest() {
    model_.meshRequest.reset();
    model_.meshWaiter.reset();
    model_.approvalAt.reset();
  }

  // Whether an unanswered call may still wait, by what the Mac was told.
  bool mayWait(size_t id) const {
    const std::string& name = calls_[id].name;
    if (name == "main.getCurrentWifiSsid") {
      // Only the first waiting request, while the user has not decided.
      return std::none_of(calls_.begin(), calls_.begin() + long(id),
                          [this](const Call& c) {
                            return c.engine == engine_ &&
                                   c.name == "main.getCurrentWifiSsid" &&
                                   !c.reply->answered();
                          }) &&
             mac.location.status == platform::kLocationNotDetermined;
    }
    return (name == "main.connect" && model_.tunnelWaiter == id) ||
           (name == "mesh.prepareVpn" && model_.meshWaiter == id &&
            model_.meshRequest.has_value());
  }

  void checkHarness() {
    if (size_t(failures_.size()) > failuresSeen_) {
      std::string message =
          failures_.GetTestPartResult(int(failuresSeen_)).message();
      failuresSeen_ = size_t(failures_.size());
      if (message.rfind("Failed\n", 0) == 0) {
        message.erase(0, 7);
      }
      std::replace(message.begin(), message.end(), '\n', ' ');
      fail("harness:" + message, "the harness reported: " + message);
    }
  }

  void check(bool loopRan) {
    checkHarness();
    if (model_.approvalAt &&
        now() >= *model_.approvalAt + std::chrono::seconds(240)) {
      // The approval deadline has passed: the request is given up.
      dropMeshRequest();
    }
    // While the Mac holds a completion back, a call may wait on it.
    const bool holding = !mac.holds.held().empty();
    heldUntil_ = holding ? now() : heldUntil_;
    for (size_t id = 0; id < calls_.size(); ++id) {
      Call& call = calls_[id];
      if (call.reply->answered() && !call.checked) {
        call.checked = true;
        if (auto problem = replyProblem(call.name, *call.reply)) {
          fail("shape:" + call.name, at(call) + ": " + *problem);
        }
      }
      if (call.reply->answered() || call.engine != engine_) {
        continue;
      }
      if (std::optional<Duration> bound = meshBound(call.name)) {
        if (now() - std::max(call.madeAt, heldUntil_) > *bound) {
          fail("late:" + call.name,
               at(call) + " made at " + secondsOf(call.madeAt) +
                   " is still unanswered at " + secondsOf(now()) + " (bound " +
                   secondsOf(*bound) + ")");
        }
      } else if (loopRan && !holding && !mayWait(id)) {
        fail("unanswered:" + call.name,
             at(call) + " is unanswered although the main queue is idle");
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
    const size_t observers = mac.networkExtension.observerCount();
    if (observers > (oldPluginMayLive_ ? 1u + size_t(engine_) : 1u)) {
      fail("observers",
           std::to_string(observers) + " status observers are registered");
    }
    expectSettled("");
  }

  // Nothing pending (unless `when` is empty) and the main queue settles.
  void expectSettled(const std::string& when) {
    if (!when.empty() && mac.dispatch.pendingCount() != 0) {
      fail("pending:" + when, std::to_string(mac.dispatch.pendingCount()) +
                                  " task(s) still pending " + when);
    }
    if (mac.dispatch.stalled()) {
      fail("stalled", "the main queue never settles " + when);
    }
  }

  void finish(bool early) {
    // The Mac delivers what it still holds.
    releaseAll();
    settle(*this);
    if (!early) {
      mac.advance(600);
      settle(*this);
    }
    check(true);
    if (!early && !violation_) {
      expectSettled("600 s after the last step");
      // With every login and logout over, nothing may hold the busy flag:
      // a valid login must be accepted rather than refused at once.
      ++stepIndex_;
      Step probe;
      probe.kind = Step::Kind::kCall;
      probe.channel = kMesh;
      probe.method = "login";
      probe.arguments = baseLogin();
      probe.validLogin = true;
      apply(probe);
      mac.advance(600);
      settle(*this);
      check(true);
      expectSettled("600 s after the busy-flag probe");
    }
    if (violation_) {
      return;
    }
    std::vector<int> counts;
    for (const Call& call : calls_) {
      counts.push_back(call.reply->count);
    }
    const size_t eventsBefore = events.size();
    teardown();
    deliverEverything(*this);
    for (size_t id = 0; id < calls_.size(); ++id) {
      if (calls_[id].reply->count != counts[id]) {
        fail("after-teardown:" + calls_[id].name,
             at(calls_[id]) + " was answered after the plugins were gone: " +
                 describeReply(*calls_[id].reply));
      }
    }
    if (events.size() != eventsBefore) {
      fail("after-teardown:event", "event " + jsonOf(events[eventsBefore]) +
                                       " was sent after the plugins were gone");
    }
    if (mac.networkExtension.observerCount() != 0) {
      fail("observers:after-teardown",
           "a status observer is still registered after the plugins went");
    }
    expectSettled("after the plugins were gone");
    checkHarness();
  }

  const ::testing::TestPartResultArray& failures_;
  size_t failuresSeen_ = 0;
  std::vector<Call> calls_;
  size_t eventsSeen_ = 0;
  size_t stepIndex_ = 0;
  int engine_ = 0;
  bool oldPluginMayLive_ = false;
  // The last check at which the Mac held a completion back.
  Duration heldUntil_{-1};
  Model model_;
  std::optional<Violation> violation_;
};

}  // namespace

RunResult runScenario(const Scenario& scenario) {
  // The harness's own expectations are collected rather than reported, so
  // that a failing run can be replayed while it is shortened.
  ::testing::TestPartResultArray failures;
  ::testing::ScopedFakeTestPartResultReporter reporter(
      ::testing::ScopedFakeTestPartResultReporter::INTERCEPT_ALL_THREADS,
      &failures);
  return ScenarioRun(failures, scenario.otherThreads).run(scenario);
}

}  // namespace movaro::stress
