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

class MethodChannel {
 public:
  MethodChannel(BinaryMessenger& messenger, std::string name)
      : messenger_(messenger), name_(std::move(name)) {}

  const std::string& name() const { return name_; }
  // Messages that do not decode as a method call are answered as not
  // implemented.
  void setMethodCallHandler(MethodCallHandler handler);

 private:
  BinaryMessenger& messenger_;
  std::string name_;
};

}  // namespace movaro

#endif  // MOVARO_BRIDGE_METHOD_CHANNEL_H_
