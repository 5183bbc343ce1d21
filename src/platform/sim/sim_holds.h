// Completions the script holds back. While an operation is held, each of
// its completions waits, with an id, until the script releases it, with
// success or with a failure message, at whatever virtual time it has
// reached; released completions are then delivered as the OS would have
// delivered them. Completions of operations not held go out at once.
#ifndef MOVARO_PLATFORM_SIM_SIM_HOLDS_H_
#define MOVARO_PLATFORM_SIM_SIM_HOLDS_H_

#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "bridge/value.h"
#include "platform/sim/sim_dispatch.h"

namespace movaro::sim {

class SimHolds {
 public:
  // Absent: success.
  using Failure = std::optional<std::string>;
  // Delivers a completion (posting it where the OS would) as released.
  using Delivery = std::function<void(const Failure& failure)>;

  struct Held {
    int64_t id = 0;
    std::string operation;
    // What the completion is for: the profile, the message, the request.
    ValueMap details;
    // When it was held back.
    Duration since{0};
  };

  // Every operation that can be held: the profile's "loadAll", "save" and
  // "reload"; the tunnel's "start" (its coming up) and "stop" (its going
  // down); "lastDisconnectError"; "providerMessage" (the reply);
  // "notificationAuthorization"; "notificationAdd"; "locationDecision".
  static const std::set<std::string>& operations();

  explicit SimHolds(SimDispatch& dispatch) : dispatch_(dispatch) {}
  SimHolds(const SimHolds&) = delete;
  SimHolds& operator=(const SimHolds&) = delete;

  // From now on, completions of these operations are held.
  void hold(std::set<std::string> operations);
  std::set<std::string> holding() const;
  bool holds(const std::string& operation) const;

  // Hands `delivery` a success at once, or keeps it until released.
  void pass(const std::string& operation, ValueMap details, Delivery delivery);
  // The same for a completion that runs on the main queue.
  void passOnMain(const std::string& operation,
                  ValueMap details,
                  Delivery completion);
  // Delivers a held completion; false when none has that id.
  bool release(int64_t id, const Failure& failure = std::nullopt);
  // Everything held, oldest first.
  std::vector<Held> held() const;

 private:
  SimDispatch& dispatch_;
  // Notification completions are passed on other threads too.
  mutable std::mutex mutex_;
  std::set<std::string> holding_;
  int64_t nextId_ = 1;
  std::vector<std::pair<Held, Delivery>> held_;
};

}  // namespace movaro::sim

#endif  // MOVARO_PLATFORM_SIM_SIM_HOLDS_H_
