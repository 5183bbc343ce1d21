// Both plugins registered on a simulated Mac, driven through their channels
// with the engine's own codec, as the UI host drives them.
#ifndef MOVARO_TESTS_SUPPORT_PLUGIN_HARNESS_H_
#define MOVARO_TESTS_SUPPORT_PLUGIN_HARNESS_H_

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "bridge/binary_messenger.h"
#include "bridge/registrar.h"
#include "platform/sim/simulated_mac.h"

namespace movaro {
// Values print as JSON in test failures.
void PrintTo(const Value& value, std::ostream* out);
}  // namespace movaro

namespace movaro::testing {

// Everything a call was answered with. A second answer is a test failure.
struct ReplyRecord {
  int count = 0;
  std::optional<Envelope> envelope;

  bool answered() const { return count > 0; }
  bool notImplemented() const;
  // The success value; fails the test when the reply is something else.
  Value value() const;
  const ErrorEnvelope* error() const;
};
using ReplyPtr = std::shared_ptr<ReplyRecord>;

class PluginHarness {
 public:
  static constexpr const char* kMain = "movaro_platform";
  static constexpr const char* kMesh = "com.quillfen.halvorn/mesh";
  static constexpr const char* kEvents = "movaro_platform/events";

  PluginHarness();
  virtual ~PluginHarness() = default;

  ReplyPtr call(const std::string& channel,
                const std::string& method,
                const Value& arguments = Value());
  ReplyPtr callMain(const std::string& method,
                    const Value& arguments = Value()) {
    return call(kMain, method, arguments);
  }
  ReplyPtr callMesh(const std::string& method,
                    const Value& arguments = Value()) {
    return call(kMesh, method, arguments);
  }
  ReplyPtr listen() { return call(kEvents, "listen"); }
  ReplyPtr cancel() { return call(kEvents, "cancel"); }
  // Drops every plugin, as when the engine goes away.
  void teardown() { messenger_.removeAllHandlers(); }
  // New plugins on the same Mac, as a new engine registers them.
  void registerPlugins();

  // The oldest held completion of the operation; fails the test when none.
  int64_t heldId(const std::string& operation);
  // Holds nothing more, then releases everything held, oldest first, and
  // whatever that sets going, running the main queue after each.
  void releaseAll();

  void advance(double seconds) { mac.advance(seconds); }
  void runUntilIdle() { mac.runUntilIdle(); }

  // Events received on the event channel, in order.
  std::vector<Value> events;
  sim::SimulatedMac mac;

 private:
  LocalMessenger messenger_;
  Registrar registrar_;
};

void PrintTo(const ReplyRecord& reply, std::ostream* out);

// {"state": state, "message": message}
Value statusEvent(const std::string& state, const std::string& message);

}  // namespace movaro::testing

#endif  // MOVARO_TESTS_SUPPORT_PLUGIN_HARNESS_H_
