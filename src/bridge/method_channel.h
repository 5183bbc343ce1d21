// A named channel of method calls, each answered once through the codec.
#ifndef MOVARO_BRIDGE_METHOD_CHANNEL_H_
#define MOVARO_BRIDGE_METHOD_CHANNEL_H_

#include <functional>
#include <memory>
#include <string>

#include "bridge/binary_messenger.h"
#include "bridge/method_call.h"
#include "bridge/method_result.h"

namespace movaro {

using MethodCallHandler =
    std::function<void(const MethodCall& call,
                       const std::shared_ptr<MethodResult>& result)>;

// Runs the handler for one call. A C++ exception that escapes it stops
// here: the call is answered with `failure` unless it was answered before,
// so it still gets exactly one reply, and nothing unwinds into the caller
// (the engine, or Objective-C).
void invokeGuarded(const MethodCallHandler& handler,
                   const MethodCall& call,
                   const std::shared_ptr<MethodResult>& result,
                   const PluginError& failure) noexcept;

class MethodChannel {
 public:
  MethodChannel(BinaryMessenger& messenger, std::string name)
      : messenger_(messenger), name_(std::move(name)) {}

  const std::string& name() const { return name_; }
  // Messages that do not decode as a method call are answered as not
  // implemented; a handler that throws answers `failure`.
  void setMethodCallHandler(MethodCallHandler handler,
                            PluginError failure = internalError());

 private:
  BinaryMessenger& messenger_;
  std::string name_;
};

}  // namespace movaro

#endif  // MOVARO_BRIDGE_METHOD_CHANNEL_H_
