// Byte-level messaging between the UI host's engine and the plugins.
#ifndef MOVARO_BRIDGE_BINARY_MESSENGER_H_
#define MOVARO_BRIDGE_BINARY_MESSENGER_H_

#include <functional>
#include <map>
#include <string>

#include "bridge/standard_codec.h"

namespace movaro {

// Answers one incoming message; empty bytes mean "not implemented".
using BinaryReply = std::function<void(const Bytes& reply)>;
using BinaryMessageHandler =
    std::function<void(const Bytes& message, const BinaryReply& reply)>;

class BinaryMessenger {
 public:
  virtual ~BinaryMessenger() = default;
  // Sends a message from the plugins to the engine (event channels).
  virtual void send(const std::string& channel, const Bytes& message) = 0;
  // Installs (or, with an empty handler, removes) the handler of a channel.
  // The messenger keeps the handler, and what it holds, alive.
  virtual void setMessageHandler(const std::string& channel,
                                 BinaryMessageHandler handler) = 0;
};

// The engine side in one process: the host and the tests deliver messages
// through it and receive what the plugins send.
class LocalMessenger : public BinaryMessenger {
 public:
  using EngineReceiver =
      std::function<void(const std::string& channel, const Bytes& message)>;

  explicit LocalMessenger(EngineReceiver receiver = nullptr)
      : receiver_(std::move(receiver)) {}

  void send(const std::string& channel, const Bytes& message) override;
  void setMessageHandler(const std::string& channel,
                         BinaryMessageHandler handler) override;

  // Delivers a message to the channel's handler; a channel without one
  // answers with empty bytes at once.
  void deliver(const std::string& channel,
               const Bytes& message,
               const BinaryReply& reply);
  bool hasHandler(const std::string& channel) const;
  // The engine going away: every handler, and so every plugin, is released.
  void removeAllHandlers();

 private:
  EngineReceiver receiver_;
  std::map<std::string, BinaryMessageHandler> handlers_;
};

}  // namespace movaro

#endif  // MOVARO_BRIDGE_BINARY_MESSENGER_H_
