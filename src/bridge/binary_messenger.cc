#include "bridge/binary_messenger.h"

namespace movaro {

void LocalMessenger::send(const std::string& channel, const Bytes& message) {
  if (receiver_) {
    receiver_(channel, message);
  }
}

void LocalMessenger::setMessageHandler(const std::string& channel,
                                       BinaryMessageHandler handler) {
  if (handler) {
    handlers_[channel] = std::move(handler);
  } else {
    handlers_.erase(channel);
  }
}

void LocalMessenger::deliver(const std::string& channel,
                             const Bytes& message,
                             const BinaryReply& reply) {
  auto it = handlers_.find(channel);
  if (it == handlers_.end()) {
    reply(Bytes());
    return;
  }
  // A copy, so that a handler may replace itself while it runs.
  BinaryMessageHandler handler = it->second;
  handler(message, reply);
}

bool LocalMessenger::hasHandler(const std::string& channel) const {
  return handlers_.count(channel) != 0;
}

void LocalMessenger::removeAllHandlers() {
  std::map<std::string, BinaryMessageHandler> released;
  released.swap(handlers_);
}

}  // namespace movaro
