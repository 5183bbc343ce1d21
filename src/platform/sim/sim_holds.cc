#include "platform/sim/sim_holds.h"

namespace movaro::sim {

const std::set<std::string>& SimHolds::operations() {
  static const std::set<std::string> kOperations = {"loadAll",
                                                    "save",
                                                    "reload",
                                                    "start",
                                                    "stop",
                                                    "lastDisconnectError",
                                                    "providerMessage",
                                                    "notificationAuthorization",
                                                    "notificationAdd",
                                                    "locationDecision"};
  return kOperations;
}

void SimHolds::hold(std::set<std::string> operations) {
  std::lock_guard<std::mutex> lock(mutex_);
  holding_ = std::move(operations);
}

std::set<std::string> SimHolds::holding() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return holding_;
}

bool SimHolds::holds(const std::string& operation) const {
  std::lock_guard<std::mutex> lock(mutex_);
  return holding_.count(operation) != 0;
}

void SimHolds::pass(const std::string& operation,
                    ValueMap details,
                    Delivery delivery) {
  {
    std::lock_guard<std::mutex> lock(mutex_);
    if (holding_.count(operation) != 0) {
      held_.emplace_back(
          Held{nextId_++, operation, std::move(details), dispatch_.elapsed()},
          std::move(delivery));
      return;
    }
  }
  delivery(std::nullopt);
}

void SimHolds::passOnMain(const std::string& operation,
                          ValueMap details,
                          Delivery completion) {
  pass(operation, std::move(details),
       [&dispatch = dispatch_,
        completion = std::move(completion)](const Failure& failure) {
         dispatch.post([completion, failure] { completion(failure); });
       });
}

bool SimHolds::release(int64_t id, const Failure& failure) {
  Delivery delivery;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    auto it = std::find_if(held_.begin(), held_.end(), [id](const auto& entry) {
      return entry.first.id == id;
    });
    if (it == held_.end()) {
      return false;
    }
    delivery = std::move(it->second);
    held_.erase(it);
  }
  delivery(failure);
  return true;
}

std::vector<SimHolds::Held> SimHolds::held() const {
  std::lock_guard<std::mutex> lock(mutex_);
  std::vector<Held> list;
  for (const auto& entry : held_) {
    list.push_back(entry.first);
  }
  return list;
}

}  // namespace movaro::sim
