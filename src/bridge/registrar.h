// What a plugin's registration entry receives: the engine's messenger and
// the binding of plugins to channels.
#ifndef MOVARO_BRIDGE_REGISTRAR_H_
#define MOVARO_BRIDGE_REGISTRAR_H_

#include <memory>

#include "bridge/binary_messenger.h"
#include "bridge/method_channel.h"

namespace movaro {

class MethodCallDelegate {
 public:
  virtual ~MethodCallDelegate() = default;
  virtual void handle(const MethodCall& call,
                      const std::shared_ptr<MethodResult>& result) = 0;
  // The answer when handle() throws.
  virtual PluginError internalError() const { return movaro::internalError(); }
};

class Registrar {
 public:
  explicit Registrar(BinaryMessenger& messenger) : messenger_(messenger) {}

  BinaryMessenger& messenger() { return messenger_; }
  // Binds the delegate as the channel's method-call handler and keeps it
  // alive for as long as the channel's handler is installed.
  void addMethodCallDelegate(std::shared_ptr<MethodCallDelegate> delegate,
                             MethodChannel& channel);

 private:
  BinaryMessenger& messenger_;
};

}  // namespace movaro

#endif  // MOVARO_BRIDGE_REGISTRAR_H_
