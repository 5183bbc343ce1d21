#include "bridge/registrar.h"

namespace movaro {

void Registrar::addMethodCallDelegate(
    std::shared_ptr<MethodCallDelegate> delegate,
    MethodChannel& channel) {
  PluginError failure = delegate->internalError();
  channel.setMethodCallHandler(
      [delegate = std::move(delegate)](
          const MethodCall& call, const std::shared_ptr<MethodResult>& result) {
        delegate->handle(call, result);
      },
      std::move(failure));
}

}  // namespace movaro
